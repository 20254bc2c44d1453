/// \file
/// Writing uncompressed BMP files: the members WriteBMP of MatByte, CubByte and MatShort, and
/// MatShort::WriteBMP8bpp.
///
/// - MatByte: 8-bit grey with a grey palette.
/// - CubByte: 24-bit colour from three planes red, green, blue.
/// - MatShort: 16 bits per pixel, the elements as they are, with the bit-field masks of 5-6-5 colour:
///   ordinary viewers show noise.
/// - WriteBMP8bpp: 8-bit grey from (element + offset) >> 4, cut to its low 8 bits without clamping.
///
/// Rows are padded with zeros to a multiple of 4 bytes. The headers' image and file sizes count the padding
/// once for each byte of a pixel, so that with padding, colour and 16-bit files are shorter than they say
/// and do not read back by ReadBMP.
///
/// Results: 0 written; 1 the file does not open, or no stream; 3 the array is empty (for a cube also: it
/// has not just three planes), which leaves an empty file; 5 a write failed, which leaves part of a file.
#ifndef KAVRIX_BMPWRITE_H
#define KAVRIX_BMPWRITE_H

#include <Kavrix/KXshort.h>

#endif

/// \file
/// Reading uncompressed BMP files: the members ReadBMP of MatByte, CubByte and MatShort.
///
/// - MatByte: 8 bits per pixel with a palette; grey pictures. The last pixel of each row keeps its palette
///   index.
/// - CubByte: 24 bits per pixel, into three planes red, green, blue.
/// - MatShort: 16 bits per pixel with bit-field masks, as MatShort::WriteBMP writes them.
///
/// Refused are compressed files, other header sizes than 40, sizes of 0, other depths, palettes of more
/// than 256 entries, and 16-bit files that do not give their image size.
///
/// Pixels and rows are looked for forward only: in a file whose data offset lies inside its headers or
/// palette, or whose image size is smaller than its pixels, they would lie beyond its end.
///
/// The array is resized to the file's size before pixels are read: after a failure it may be resized and
/// partly filled. A shared array of another size cannot be resized, which is the library's fail-stop.
///
/// Results: 0 loaded; 1 the file does not open, or no stream; 2 (CubByte) a BMP of another depth; 4 not a
/// BMP that the class takes, or too short.
#ifndef KAVRIX_BMPREAD_H
#define KAVRIX_BMPREAD_H

#include <Kavrix/KXshort.h>

#endif

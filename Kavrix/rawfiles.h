/// \file
/// Further forms of 8-bit grey pictures, members of MatByte. Every failure stops the program with the
/// message given; there are no result codes.
///
/// - MatByte::ReadRAW: plain bytes, row after row, after `nskip` bytes that are passed over. The matrix
///   becomes ncols x nrows; a size of 0 gives an empty matrix. "Cannot open raw image file", "ReadRAW: EOF
///   reached while reading an image" (also for a negative size).
/// - MatByte::WriteRAW: plain bytes, COLUMN after column: ReadRAW does not read them back as they were.
///   `nskip` above 0 first copies that many bytes of the file "header.tif" of the current folder; those
///   that it does not have become 0xFF. "Cannot open raw image file", "WriteRAW: Cannot read header file",
///   "WriteRAW: Write into a file failed".
/// - MatByte::WriteTIFF: minimal uncompressed TIFF, big-endian. No next-directory offset follows the twelve
///   entries: the pixels begin at offset 154, where readers look for it. "Cannot open TIFF file for write",
///   "Cannot save data into a TIFF file".
/// - MatByte::load_from_image_file: files named .IMG or .img: a first line "image <width>*<height>*8",
///   lines up to one that begins with "data", then the bytes, row after row. "load_from_image_file: file
///   not existing", "... file name doesn't contain a suffix", "... file format not recognized", "... file
///   doesn't contain "data"", "... file too small" (also for sizes that are negative or too large). Sizes
///   of 0, which a first line that does not match leaves, give an empty matrix.
#ifndef KAVRIX_RAWFILES_H
#define KAVRIX_RAWFILES_H

#include <Kavrix/KXubyte.h>

#include <cstdio>

/// Writes the low 16 (32) bits of a number, most significant byte first; the result is not checked.
/// @{
KAVRIX_EXPORT void fwriteSGshort(unsigned short value, std::FILE* f);
KAVRIX_EXPORT void fwriteSGlong(unsigned long value, std::FILE* f);
/// @}

#endif

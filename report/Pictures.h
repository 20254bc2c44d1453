// The picture files of a run: what telvane-report reads of each kind, and what it says where a file is
// another. Every reader takes the bytes of a whole file and returns nothing, or what is wrong with them. Want
// of memory is nothing that is wrong with a file: it meets the fail-stop.
#ifndef REPORT_PICTURES_H
#define REPORT_PICTURES_H

#include <Kavrix/KXshort.h>
#include <Kavrix/KXubyte.h>

#include <string>

namespace telvane {

/// A 16-bit picture as MatShort::WriteBMP makes it, of this size: rows of (2 * width + 3) & ~3 bytes from the
/// data offset on, the bottom one first. MatShort::ReadBMP trusts the image size of the header, which counts
/// the padding of odd widths twice; here nothing but the file's own length is trusted.
std::string ReadShortPicture(const std::string& file, int width, int height, MatShort& picture);

/// A frame of this size: an 8-bit BMP, by MatByte::ReadBMP. A header that promises more pixels than there are
/// bytes is refused before it is given room.
std::string ReadFrame(const std::string& file, int width, int height, MatByte& frame);

/// A whole JPEG file of this size, grey or in colour, of which the brightness is taken. Its size is judged
/// before anything is decoded.
/// \param frame  may be partly filled where the file is refused
std::string ReadJpegFrame(const std::string& file, int width, int height, MatByte& frame);

/// A grey picture as the bytes of a JPEG file.
std::string GreyJpeg(const MatByte& picture);

} // namespace telvane

#endif

// Pictures as cameras hand them out, and the one form that the program reads: blue, green, red.
#ifndef CAMERA_LIBCAMERA_PICTURECONVERT_H
#define CAMERA_LIBCAMERA_PICTURECONVERT_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace telvane::camera {

/// Which weights of red, green and blue a luma value was made with: ITU-R BT.601, BT.709 or BT.2020.
enum class LumaWeights { rec601, rec709, rec2020 };

/// How the bytes of a picture lie and what they mean.
struct PictureFormat {
    /// The pixel format's code as DRM has it. Its names give a pixel as a little-endian number: 'RG24',
    /// called RGB888, lies in memory as blue, green, red.
    std::uint32_t fourcc = 0;
    int width = 0, height = 0; ///< pixels, 1 or more
    /// Bytes from one row of the first plane to the next. The other planes follow from it: a plane of U or V
    /// alone has half of it, where U and V take turns it is the same.
    std::size_t stride = 0;
    LumaWeights weights = LumaWeights::rec601; ///< of Y, U and V; has no meaning for the others
    /// Y, U, V of 0..255; otherwise Y of 16..235 and U, V of 16..240.
    bool fullRange = false;
};

/// The planes of a picture, empty ones at the end where it has fewer.
using Planes = std::array<std::span<const unsigned char>, 3>;

/// The formats that can be converted, the cheapest and truest first: the bytes as they are wanted, the same
/// with a filling byte, in another order, then those with less colour than pixels.
std::span<const std::uint32_t> ConvertibleFormats();

/// Whether pictures of that format can be converted and their rows lie within the planes. The last row of a
/// plane need not be followed by its padding.
bool CanConvert(const PictureFormat& format, const Planes& planes);

/// Writes a picture as blue, green, red, row after row without padding. A filling byte and an alpha value are
/// left out, a grey becomes all three. Y, U, V are converted as their weights and range say, to the nearest
/// value and within 0..255; a U and V that several pixels share goes to each of them.
/// \param bgr  receives width * height * 3 bytes
/// \return false where CanConvert says no; nothing is written then
bool ConvertToBgr(const PictureFormat& format, const Planes& planes, unsigned char* bgr);

} // namespace telvane::camera

#endif

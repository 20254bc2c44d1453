// The 3 x 3 filters and the box filters, one step after the other, each step cut to the width of an element.
#pragma once

#include <tests/reference/Picture.h>

namespace reference {

/// The grey picture of rows of pixels of 3 bytes, which weigh 1, 4 and 3 eighths in their order.
Picture<std::uint8_t> GreyOf(const std::vector<std::uint8_t>& bytes, int width, int height);

// Result (x, y) belongs to input (x + 1, y + 1): two columns and two rows smaller than the input, which must
// be at least 3 x 3 (FailStop otherwise).
Picture<std::int16_t> SmoothByte(const Picture<std::uint8_t>& m);  ///< 1 2 1 / 2 4 2 / 1 2 1, not divided
Picture<std::int16_t> SmoothShort(const Picture<std::int16_t>& m); ///< the same kernel, divided by 16
Picture<std::int16_t> LapAve(const Picture<std::int16_t>& m);      ///< neighbours: edges 1/6, corners 1/12
Picture<std::int16_t> Laplace(const Picture<std::int16_t>& m);     ///< LapAve - centre + 2048
Picture<std::int16_t> SobelX(const Picture<std::int16_t>& m);      ///< right - left + 2048
Picture<std::int16_t> SobelY(const Picture<std::int16_t>& m);      ///< below - above + 2048

/// Works in img, whose pixels outside the returned region then hold partial sums. nr_passes is at least 0.
Picture<std::uint8_t> FastFilterByte(Picture<std::uint8_t>& img, int nr_passes);
Picture<std::int16_t> FastFilterShort(Picture<std::int16_t>& img, int nr_passes);

/// v_passes counts along x and h_passes along y; a negative count asks for one difference first.
Picture<std::int16_t> FastFilter(const Picture<std::uint8_t>& uimg, int v_passes, int h_passes);

} // namespace reference

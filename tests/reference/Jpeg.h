// The bytes of the grey JPEG file, as libjpeg makes them.
#pragma once

#include <tests/reference/Files.h>

namespace reference {

Bytes JpegGrey(const Picture<std::uint8_t>& m, int quality);

} // namespace reference

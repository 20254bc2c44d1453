// The integer arithmetic of the library on plain numbers: results keep their low bits, right shifts are
// arithmetic, division truncates towards zero, a zero divisor gives 0. Sums and products are formed in a
// wider or an unsigned type, so that nothing here overflows.
#pragma once

#include <cmath>
#include <cstdint>
#include <limits>
#include <stdexcept>
#include <string>

namespace reference {

/// The fail-stop of the library, thrown where the real one halts.
struct FailStop : std::runtime_error {
    using std::runtime_error::runtime_error;
};

inline void NeedRange(std::int64_t from, std::int64_t to)
{
    if (from < 0 || to < from) throw FailStop("RNG: Invalid range selection");
}

inline std::uint8_t Low8(std::int64_t v)
{
    return static_cast<std::uint8_t>(static_cast<std::uint64_t>(v) & 0xFF);
}
inline std::int16_t Low16(std::int64_t v)
{
    return static_cast<std::int16_t>(static_cast<std::uint64_t>(v) & 0xFFFF);
}
inline std::int32_t Low32(std::int64_t v)
{
    return static_cast<std::int32_t>(static_cast<std::uint64_t>(v) & 0xFFFFFFFF);
}

inline std::int16_t Add16(int a, int b) { return Low16(std::int64_t{a} + b); }
inline std::int16_t Sub16(int a, int b) { return Low16(std::int64_t{a} - b); }
inline std::int16_t Mul16(int a, int b) { return Low16(std::int64_t{a} * b); }
inline std::int16_t Div16(int a, int b) { return b == 0 ? std::int16_t{0} : Low16(std::int64_t{a} / b); }
inline std::int16_t Shl16(int a, int n) { return Low16(std::int64_t{a} * (std::int64_t{1} << n)); }
inline std::int16_t Shr16(int a, int n) { return Low16(std::int64_t{a} >> n); }

inline std::int32_t Add32(std::int32_t a, std::int32_t b) { return Low32(std::int64_t{a} + b); }
inline std::int32_t Sub32(std::int32_t a, std::int32_t b) { return Low32(std::int64_t{a} - b); }
inline std::int32_t Mul32(std::int32_t a, std::int32_t b) { return Low32(std::int64_t{a} * b); }
inline std::int32_t Div32(std::int32_t a, std::int32_t b) { return b == 0 ? 0 : Low32(std::int64_t{a} / b); }

/// Truncates towards zero; what does not fit becomes the nearest end of the range, not a number becomes 0.
/// A float widens to double without change, so this serves both.
inline std::int32_t ToInt(double v)
{
    if (std::isnan(v)) return 0;
    if (v >= 2147483647.0) return std::numeric_limits<std::int32_t>::max();
    if (v <= -2147483648.0) return std::numeric_limits<std::int32_t>::min();
    return static_cast<std::int32_t>(v);
}

} // namespace reference

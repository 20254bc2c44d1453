// The ring search, cell after cell.
#include <tests/reference/Ring.h>

#include <tests/reference/Numbers.h>

#include <cmath>
#include <limits>

namespace reference {

Picture<std::uint8_t> RingPattern(float r1, float r2)
{
    const int rr = ToInt(std::rint(r2));
    Picture<std::uint8_t> pattern(2 * rr + 1, 2 * rr + 1);
    const float inner = r1 * r1;
    const float outer = r2 * r2;
    for (int i = 0; i <= rr; ++i) {
        for (int j = 0; j <= i; ++j) {
            const float radius2 = static_cast<float>(i * i + j * j);
            const std::uint8_t val = inner <= radius2 && radius2 <= outer ? 255 : 0;
            pattern.At(rr - i, rr - j) = val;
            pattern.At(rr + i, rr - j) = val;
            pattern.At(rr + i, rr + j) = val;
            pattern.At(rr - i, rr + j) = val;
            pattern.At(rr - j, rr - i) = val;
            pattern.At(rr + j, rr - i) = val;
            pattern.At(rr + j, rr + i) = val;
            pattern.At(rr - j, rr + i) = val;
        }
    }
    return pattern;
}

namespace {

Picture<std::int32_t> PlacesOf(const Picture<std::int16_t>& simg, const Picture<std::uint8_t>& pattern)
{
    if (simg.w < pattern.w || simg.h < pattern.h) return {};
    return {simg.w - pattern.w + 1, simg.h - pattern.h + 1};
}

} // namespace

Picture<std::int32_t> SumPattern(const Picture<std::int16_t>& simg, const Picture<std::uint8_t>& pattern)
{
    Picture<std::int32_t> output = PlacesOf(simg, pattern);
    for (int i = 0; i < pattern.w; ++i) {
        for (int j = 0; j < pattern.h; ++j) {
            if (pattern.At(i, j) == 0) continue;
            const int k = pattern.w - 1 - i;
            const int l = pattern.h - 1 - j;
            for (int n = 0; n < output.h; ++n)
                for (int m = 0; m < output.w; ++m)
                    output.At(m, n) = Add32(output.At(m, n), simg.At(k + m, l + n));
        }
    }
    return output;
}

Picture<std::int32_t> SumPatternByRuns(const Picture<std::int16_t>& simg,
                                       const Picture<std::uint8_t>& pattern)
{
    Picture<std::int32_t> output = PlacesOf(simg, pattern);
    if (output.Empty()) return output;

    // before(x, y) is the sum of row y left of column x.
    Picture<std::int64_t> before(simg.w + 1, simg.h);
    for (int y = 0; y < simg.h; ++y)
        for (int x = 0; x < simg.w; ++x) before.At(x + 1, y) = before.At(x, y) + simg.At(x, y);

    for (int j = 0; j < pattern.h; ++j) {
        const int l = pattern.h - 1 - j;
        for (int i = 0; i < pattern.w; ++i) {
            if (pattern.At(i, j) == 0) continue;
            const int first = i;
            while (i + 1 < pattern.w && pattern.At(i + 1, j) != 0) ++i;
            const int kFirst = pattern.w - 1 - i;
            const int kLast = pattern.w - 1 - first;
            for (int n = 0; n < output.h; ++n)
                for (int m = 0; m < output.w; ++m)
                    output.At(m, n) = Low32(output.At(m, n) + before.At(m + kLast + 1, n + l) -
                                            before.At(m + kFirst, n + l));
        }
    }
    return output;
}

int FindSemiCircle(const Picture<std::int16_t>& mag, float r1, float r2, float& f_cx, float& f_cy,
                   PatternSum sum)
{
    const std::int64_t rr = ToInt(std::rint(r2));
    const std::int64_t side = 2 * rr + 1;
    if (rr < 0 || side > mag.w || side > mag.h) {
        f_cx = f_cy = -std::numeric_limits<float>::infinity();
        return 0;
    }

    const Picture<std::int32_t> result = sum(mag, RingPattern(r1, r2));

    // The first row with the largest row maximum, then the first column with the largest value of that row.
    int amy = 0;
    std::int32_t best = 0;
    for (int y = 0; y < result.h; ++y) {
        std::int32_t rowMax = result.At(0, y);
        for (int x = 1; x < result.w; ++x)
            if (result.At(x, y) > rowMax) rowMax = result.At(x, y);
        if (y == 0 || rowMax > best) {
            best = rowMax;
            amy = y;
        }
    }
    int amx = 0;
    for (int x = 1; x < result.w; ++x)
        if (result.At(x, amy) > result.At(amx, amy)) amx = x;

    f_cy = static_cast<float>(amy + rr);
    f_cx = static_cast<float>(amx + rr);
    return 0;
}

} // namespace reference

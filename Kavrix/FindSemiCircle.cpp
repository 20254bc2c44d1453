// Sliding ring pattern over a motion picture.
#include <Kavrix/FindSemiCircle.h>

#include <Kavrix/inner/PatternSums.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>

using namespace kavrix::inner;

MatInt SumPattern(const MatShort& simg, const MatByte& pattern)
{
    MatInt output(simg.dim1 - pattern.dim1 + 1, simg.dim2 - pattern.dim2 + 1);
    if (output.dim1 < 1 || output.dim2 < 1) return output;
    MatInt before(simg.dim1 + 1, simg.dim2);
    for (int y = 0; y < simg.dim2; y++) SumAlongRow(simg, y, before);
    const Runs runs = FlippedRuns(pattern);
    for (int y = 0; y < output.dim2; y++) SumsUnder(runs, before, 0, y, output.dim1, &output(0, y));
    return output;
}

int FindSemiCircle(const MatShort& mag_sh, float r1, float r2, float& f_cx, float& f_cy)
{
    const int rr = FloatToInt(std::rint(r2));
    if (!(r2 == r2) || rr < 0 || std::int64_t{2} * rr + 1 > std::min(mag_sh.dim1, mag_sh.dim2)) {
        f_cx = f_cy = -std::numeric_limits<float>::infinity();
        return 0;
    }

    // The ring: one octant and its mirror images.
    MatByte pattern(2 * rr + 1, 2 * rr + 1);
    for (int i = 0; i <= rr; i++) {
        for (int j = 0; j <= i; j++) {
            const float radius2 = static_cast<float>(std::int64_t{i} * i + std::int64_t{j} * j);
            const UBYTE val = r1 * r1 <= radius2 && radius2 <= r2 * r2 ? 255 : 0;
            pattern(rr - i, rr - j) = pattern(rr + i, rr - j) = val;
            pattern(rr + i, rr + j) = pattern(rr - i, rr + j) = val;
            pattern(rr - j, rr - i) = pattern(rr + j, rr - i) = val;
            pattern(rr + j, rr + i) = pattern(rr - j, rr + i) = val;
        }
    }

    const MatInt result = SumPattern(mag_sh, pattern);
    const int amy = Argmax(Max(result));
    f_cx = static_cast<float>(Argmax(result(RNG::All(), amy)) + rr);
    f_cy = static_cast<float>(amy + rr);
    return 0;
}

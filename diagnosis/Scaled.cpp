// Smoothing and thinning out, in rows that compilers vectorise.
#include <diagnosis/Scaled.h>

#include <Kavrix/inner/KXclones.h>

#include <algorithm>
#include <vector>

namespace telvane {

namespace {

// Rows are whole numbers of 16 bits: 255 times the sum of the coefficients of both axes, 256, fits.
using Wide = unsigned short;

KAVRIX_CLONES void AddRows3(int n, const Wide* a, const Wide* b, const Wide* c, float* sum)
{
    for (int x = 0; x < n; x++) sum[x] = static_cast<float>(a[x] + 2 * b[x] + c[x]) * (1 / 16.0F);
}

KAVRIX_CLONES void Across3(int n, const unsigned char* in, Wide* out)
{
    for (int x = 0; x < n; x++) out[x] = static_cast<Wide>(in[x] + 2 * in[x + 1] + in[x + 2]);
}

KAVRIX_CLONES void AddRows5(int n, const Wide* a, const Wide* b, const Wide* c, const Wide* d, const Wide* e,
                            Wide* sum)
{
    for (int x = 0; x < n; x++) sum[x] = static_cast<Wide>(a[x] + e[x] + 4 * (b[x] + d[x]) + 6 * c[x]);
}

KAVRIX_CLONES void AddFloatRows5(int n, const float* a, const float* b, const float* c, const float* d,
                                 const float* e, float* sum)
{
    for (int x = 0; x < n; x++) sum[x] = a[x] + e[x] + 4 * (b[x] + d[x]) + 6 * c[x];
}

// Every second place of a row with two more elements at its front and at its end.
template <class T> void HalveRow(int n, const T* in, float scale, float* out)
{
    for (int x = 0; x < n; x++) {
        const T* p = in + 2 * x;
        out[x] = (static_cast<float>(p[0]) + static_cast<float>(p[4]) +
                  4 * (static_cast<float>(p[1]) + static_cast<float>(p[3])) + 6 * static_cast<float>(p[2])) *
                 scale;
    }
}

// What a frame holds at a row, with `beside` more pixels at both ends, from column `left` on.
struct RowReader {
    const CubByte& frames;
    int frame, left, width, beside;

    int Size() const { return width + 2 * beside; }
    void Read(int y, unsigned char* row) const
    {
        y = std::clamp(y, 0, frames.dim2 - 1);
        for (int x = -beside; x < width + beside; x++)
            row[x + beside] = frames(std::clamp(left + x, 0, frames.dim1 - 1), y, frame);
    }
    /// The row itself where it lies in one piece and within the frame, or else a copy.
    const unsigned char* At(int y, std::vector<unsigned char>& copy) const
    {
        if (frames.step1 == 1 && left >= beside && left + width + beside <= frames.dim1)
            return &frames(left - beside, std::clamp(y, 0, frames.dim2 - 1), frame);
        copy.resize(static_cast<std::size_t>(Size()));
        Read(y, copy.data());
        return copy.data();
    }
};

void Smooth(const RowReader& reader, int top, MatFloat& out)
{
    const int n = out.dim1;
    std::vector<Wide> rows[3];
    std::vector<unsigned char> copy;
    for (auto& row : rows) row.resize(static_cast<std::size_t>(n));
    for (int y = -1; y <= out.dim2; y++) {
        Across3(n, reader.At(top + y, copy), rows[(y + 3) % 3].data());
        if (y >= 1)
            AddRows3(n, rows[(y + 1) % 3].data(), rows[(y + 2) % 3].data(), rows[y % 3].data(),
                     &out(0, y - 1));
    }
}

void Halve(const RowReader& reader, int top, MatFloat& out)
{
    const int n = reader.Size();
    std::vector<Wide> rows[5], sum(static_cast<std::size_t>(n));
    std::vector<unsigned char> copy;
    for (auto& row : rows) row.resize(static_cast<std::size_t>(n));
    for (int y = -2; y <= 2 * out.dim2; y++) {
        const unsigned char* in = reader.At(top + y, copy);
        std::copy(in, in + n, rows[(y + 5) % 5].begin());
        if (y < 2 || y % 2 != 0) continue;
        AddRows5(n, rows[(y + 1) % 5].data(), rows[(y + 2) % 5].data(), rows[(y + 3) % 5].data(),
                 rows[(y + 4) % 5].data(), rows[y % 5].data(), sum.data());
        HalveRow(out.dim1, sum.data(), 1 / 256.0F, &out(0, y / 2 - 1));
    }
}

void Halve(const MatFloat& in, MatFloat& out)
{
    const int n = in.dim1 + 4;
    std::vector<float> sum(static_cast<std::size_t>(n));
    for (int y = 0; y < out.dim2; y++) {
        const auto row = [&](int dy) { return &in(0, std::clamp(2 * y + dy, 0, in.dim2 - 1)); };
        AddFloatRows5(in.dim1, row(-2), row(-1), row(0), row(1), row(2), sum.data() + 2);
        sum[0] = sum[1] = sum[2];
        sum[static_cast<std::size_t>(n) - 1] = sum[static_cast<std::size_t>(n) - 2] =
            sum[static_cast<std::size_t>(n) - 3];
        HalveRow(out.dim1, sum.data(), 1 / 256.0F, &out(0, y));
    }
}

} // namespace

Scaled Scale(const CubByte& frames, int frame, const Region& box, int step)
{
    if (step == 1) {
        MatFloat whole(box.width, box.height);
        Smooth({frames, frame, box.left, box.width, 1}, box.top, whole);
        return {whole, box.left, box.top, 1};
    }
    MatFloat half((box.width + 1) / 2, (box.height + 1) / 2);
    Halve({frames, frame, box.left, 2 * half.dim1, 2}, box.top, half);
    if (step == 2) return {half, box.left, box.top, 2};
    MatFloat quarter((half.dim1 + 1) / 2, (half.dim2 + 1) / 2);
    Halve(half, quarter);
    return {quarter, box.left, box.top, 4};
}

} // namespace telvane

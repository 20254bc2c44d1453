// The filters, pass after pass over whole pictures.
#include <tests/reference/Filters.h>

#include <tests/reference/Numbers.h>

namespace reference {

Picture<std::uint8_t> GreyOf(const std::vector<std::uint8_t>& bytes, int width, int height)
{
    Picture<std::uint8_t> picture(width, height);
    for (std::size_t i = 0; i < picture.a.size(); ++i) {
        const int b0 = bytes[3 * i], b1 = bytes[3 * i + 1], b2 = bytes[3 * i + 2];
        picture.a[i] = static_cast<std::uint8_t>((b0 + 4 * b1 + 3 * b2) / 8);
    }
    return picture;
}

namespace {

template <class T> Picture<std::int16_t> InteriorOf(const Picture<T>& m)
{
    NeedRange(0, m.w - 3);
    NeedRange(0, m.h - 3);
    return {m.w - 2, m.h - 2};
}

// The left upper w x h part.
template <class T> Picture<T> Part(const Picture<T>& img, int w, int h)
{
    NeedRange(0, w - 1);
    NeedRange(0, h - 1);
    Picture<T> out(w, h);
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) out.At(x, y) = img.At(x, y);
    return out;
}

// The passes over the left upper m x n part of img. Ascending x and y leave the neighbour that is added or
// subtracted as it was before the pass. sign is 1 for a sum, -1 for a difference.
void PassAlongX(Picture<std::int16_t>& img, int m, int n, int sign)
{
    NeedRange(0, m - 2);
    NeedRange(0, n - 1);
    for (int y = 0; y < n; ++y)
        for (int x = 0; x < m - 1; ++x) img.At(x, y) = Add16(img.At(x, y), sign * img.At(x + 1, y));
}

void PassAlongY(Picture<std::int16_t>& img, int m, int n, int sign)
{
    NeedRange(0, m - 1);
    NeedRange(0, n - 2);
    for (int y = 0; y < n - 1; ++y)
        for (int x = 0; x < m; ++x) img.At(x, y) = Add16(img.At(x, y), sign * img.At(x, y + 1));
}

void Divide(Picture<std::int16_t>& img, int m, int n, std::int16_t divisor)
{
    NeedRange(0, m - 1);
    NeedRange(0, n - 1);
    for (int y = 0; y < n; ++y)
        for (int x = 0; x < m; ++x) img.At(x, y) = Div16(img.At(x, y), divisor);
}

} // namespace

Picture<std::int16_t> SmoothByte(const Picture<std::uint8_t>& m)
{
    Picture<std::int16_t> out = InteriorOf(m);
    for (int y = 0; y < out.h; ++y) {
        for (int x = 0; x < out.w; ++x) {
            std::int16_t o = m.At(x + 1, y + 1);
            o = Shl16(o, 1);
            o = Add16(o, m.At(x + 0, y + 1));
            o = Add16(o, m.At(x + 2, y + 1));
            o = Add16(o, m.At(x + 1, y + 0));
            o = Add16(o, m.At(x + 1, y + 2));
            o = Shl16(o, 1);
            o = Add16(o, m.At(x + 0, y + 0));
            o = Add16(o, m.At(x + 0, y + 2));
            o = Add16(o, m.At(x + 2, y + 0));
            o = Add16(o, m.At(x + 2, y + 2));
            out.At(x, y) = o;
        }
    }
    return out;
}

Picture<std::int16_t> SmoothShort(const Picture<std::int16_t>& m)
{
    Picture<std::int16_t> out = InteriorOf(m);
    for (int y = 0; y < out.h; ++y) {
        for (int x = 0; x < out.w; ++x) {
            std::int16_t o = m.At(x + 1, y + 1);
            o = Shl16(o, 2);
            o = Add16(o, m.At(x + 0, y + 0));
            o = Add16(o, m.At(x + 0, y + 2));
            o = Add16(o, m.At(x + 2, y + 0));
            o = Add16(o, m.At(x + 2, y + 2));
            o = Shr16(o, 1);
            o = Add16(o, m.At(x + 0, y + 1));
            o = Add16(o, m.At(x + 2, y + 1));
            o = Add16(o, m.At(x + 1, y + 0));
            o = Add16(o, m.At(x + 1, y + 2));
            o = Shr16(o, 3);
            out.At(x, y) = o;
        }
    }
    return out;
}

Picture<std::int16_t> LapAve(const Picture<std::int16_t>& m)
{
    Picture<std::int16_t> out = InteriorOf(m);
    for (int y = 0; y < out.h; ++y) {
        for (int x = 0; x < out.w; ++x) {
            std::int16_t o = m.At(x + 0, y + 0);
            o = Add16(o, m.At(x + 0, y + 2));
            o = Add16(o, m.At(x + 2, y + 0));
            o = Add16(o, m.At(x + 2, y + 2));
            o = Shr16(o, 1);
            o = Add16(o, m.At(x + 0, y + 1));
            o = Add16(o, m.At(x + 2, y + 1));
            o = Add16(o, m.At(x + 1, y + 0));
            o = Add16(o, m.At(x + 1, y + 2));
            o = Div16(o, 6);
            out.At(x, y) = o;
        }
    }
    return out;
}

Picture<std::int16_t> Laplace(const Picture<std::int16_t>& m)
{
    Picture<std::int16_t> out = LapAve(m);
    for (int y = 0; y < out.h; ++y) {
        for (int x = 0; x < out.w; ++x) {
            std::int16_t o = out.At(x, y);
            o = Add16(o, 2048);
            o = Sub16(o, m.At(x + 1, y + 1));
            out.At(x, y) = o;
        }
    }
    return out;
}

Picture<std::int16_t> SobelX(const Picture<std::int16_t>& m)
{
    Picture<std::int16_t> out = InteriorOf(m);
    for (int y = 0; y < out.h; ++y) {
        for (int x = 0; x < out.w; ++x) {
            std::int16_t o = m.At(x + 2, y + 0);
            o = Add16(o, m.At(x + 2, y + 1));
            o = Add16(o, m.At(x + 2, y + 1));
            o = Add16(o, m.At(x + 2, y + 2));
            o = Sub16(o, m.At(x + 0, y + 0));
            o = Sub16(o, m.At(x + 0, y + 1));
            o = Sub16(o, m.At(x + 0, y + 1));
            o = Sub16(o, m.At(x + 0, y + 2));
            o = Add16(o, 2048);
            out.At(x, y) = o;
        }
    }
    return out;
}

Picture<std::int16_t> SobelY(const Picture<std::int16_t>& m)
{
    Picture<std::int16_t> out = InteriorOf(m);
    for (int y = 0; y < out.h; ++y) {
        for (int x = 0; x < out.w; ++x) {
            std::int16_t o = m.At(x + 0, y + 2);
            o = Add16(o, m.At(x + 1, y + 2));
            o = Add16(o, m.At(x + 1, y + 2));
            o = Add16(o, m.At(x + 2, y + 2));
            o = Sub16(o, m.At(x + 0, y + 0));
            o = Sub16(o, m.At(x + 1, y + 0));
            o = Sub16(o, m.At(x + 1, y + 0));
            o = Sub16(o, m.At(x + 2, y + 0));
            o = Add16(o, 2048);
            out.At(x, y) = o;
        }
    }
    return out;
}

Picture<std::uint8_t> FastFilterByte(Picture<std::uint8_t>& img, int nr_passes)
{
    assert(nr_passes >= 0);
    const int W = img.w, H = img.h;
    std::uint8_t divisor = 1;
    for (int k = 0; k < nr_passes; ++k) {
        NeedRange(0, W - k - 2);
        NeedRange(0, H - k - 2);
        for (int y = 0; y <= H - k - 1; ++y)
            for (int x = 0; x <= W - k - 2; ++x) img.At(x, y) = Low8(img.At(x, y) + img.At(x + 1, y));
        for (int y = 0; y <= H - k - 2; ++y)
            for (int x = 0; x <= W - k - 2; ++x) img.At(x, y) = Low8(img.At(x, y) + img.At(x, y + 1));
        divisor = Low8(divisor * 4);
    }
    NeedRange(0, W - nr_passes - 1);
    NeedRange(0, H - nr_passes - 1);
    for (int y = 0; y <= H - nr_passes - 1; ++y)
        for (int x = 0; x <= W - nr_passes - 1; ++x)
            img.At(x, y) = divisor == 0 ? std::uint8_t{0} : Low8(img.At(x, y) / divisor);
    return Part(img, W - nr_passes, H - nr_passes);
}

Picture<std::int16_t> FastFilterShort(Picture<std::int16_t>& img, int nr_passes)
{
    assert(nr_passes >= 0);
    const int W = img.w, H = img.h;
    std::int16_t divisor = 1;
    for (int k = 0; k < nr_passes; ++k) {
        PassAlongX(img, W - k, H - k, 1);
        PassAlongY(img, W - k - 1, H - k, 1);
        divisor = Mul16(divisor, 4);
    }
    Divide(img, W - nr_passes, H - nr_passes, divisor);
    return Part(img, W - nr_passes, H - nr_passes);
}

Picture<std::int16_t> FastFilter(const Picture<std::uint8_t>& uimg, int v_passes, int h_passes)
{
    Picture<std::int16_t> img(uimg.w, uimg.h);
    for (int y = 0; y < uimg.h; ++y)
        for (int x = 0; x < uimg.w; ++x) img.At(x, y) = uimg.At(x, y);

    std::int16_t divisor = 1;
    int m = uimg.w, n = uimg.h;
    if (v_passes < 0) {
        PassAlongX(img, m, n, -1);
        v_passes = -(v_passes + 1);
        m -= 1;
        divisor = Mul16(divisor, -1);
    }
    if (h_passes < 0) {
        PassAlongY(img, m, n, -1);
        h_passes = -(h_passes + 1);
        n -= 1;
        divisor = Mul16(divisor, -1);
    }
    for (int k = 0; k < v_passes; ++k) {
        PassAlongX(img, m, n, 1);
        m -= 1;
        divisor = Mul16(divisor, 2);
    }
    if (std::int64_t{v_passes} + h_passes > 7) {
        Divide(img, m, n, divisor);
        divisor = 1;
    }
    for (int k = 0; k < h_passes; ++k) {
        PassAlongY(img, m, n, 1);
        n -= 1;
        divisor = Mul16(divisor, 2);
    }
    Divide(img, m, n, divisor);
    return Part(img, m, n);
}

} // namespace reference

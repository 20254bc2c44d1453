#include <tests/reference/Filters.h>

#include <tests/reference/Numbers.h>

namespace reference {

Picture<std::uint8_t> greyOf(const std::vector<std::uint8_t>& bytes, int width, int height)
{
    Picture<std::uint8_t> picture(width, height);
    for (std::size_t i = 0; i < picture.a.size(); ++i) {
        const int b0 = bytes[3 * i], b1 = bytes[3 * i + 1], b2 = bytes[3 * i + 2];
        picture.a[i] = static_cast<std::uint8_t>((b0 + 4 * b1 + 3 * b2) / 8);
    }
    return picture;
}

namespace {

template <class T> Picture<std::int16_t> interiorOf(const Picture<T>& m)
{
    needRange(0, m.w - 3);
    needRange(0, m.h - 3);
    return {m.w - 2, m.h - 2};
}

// The left upper w x h part.
template <class T> Picture<T> part(const Picture<T>& img, int w, int h)
{
    needRange(0, w - 1);
    needRange(0, h - 1);
    Picture<T> out(w, h);
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) out.at(x, y) = img.at(x, y);
    return out;
}

// The passes over the left upper m x n part of img. Ascending x and y leave the neighbour that is added or
// subtracted as it was before the pass. sign is 1 for a sum, -1 for a difference.
void passAlongX(Picture<std::int16_t>& img, int m, int n, int sign)
{
    needRange(0, m - 2);
    needRange(0, n - 1);
    for (int y = 0; y < n; ++y)
        for (int x = 0; x < m - 1; ++x) img.at(x, y) = add16(img.at(x, y), sign * img.at(x + 1, y));
}

void passAlongY(Picture<std::int16_t>& img, int m, int n, int sign)
{
    needRange(0, m - 1);
    needRange(0, n - 2);
    for (int y = 0; y < n - 1; ++y)
        for (int x = 0; x < m; ++x) img.at(x, y) = add16(img.at(x, y), sign * img.at(x, y + 1));
}

void divide(Picture<std::int16_t>& img, int m, int n, std::int16_t divisor)
{
    needRange(0, m - 1);
    needRange(0, n - 1);
    for (int y = 0; y < n; ++y)
        for (int x = 0; x < m; ++x) img.at(x, y) = div16(img.at(x, y), divisor);
}

} // namespace

Picture<std::int16_t> smoothByte(const Picture<std::uint8_t>& m)
{
    Picture<std::int16_t> out = interiorOf(m);
    for (int y = 0; y < out.h; ++y) {
        for (int x = 0; x < out.w; ++x) {
            std::int16_t o = m.at(x + 1, y + 1);
            o = shl16(o, 1);
            o = add16(o, m.at(x + 0, y + 1));
            o = add16(o, m.at(x + 2, y + 1));
            o = add16(o, m.at(x + 1, y + 0));
            o = add16(o, m.at(x + 1, y + 2));
            o = shl16(o, 1);
            o = add16(o, m.at(x + 0, y + 0));
            o = add16(o, m.at(x + 0, y + 2));
            o = add16(o, m.at(x + 2, y + 0));
            o = add16(o, m.at(x + 2, y + 2));
            out.at(x, y) = o;
        }
    }
    return out;
}

Picture<std::int16_t> smoothShort(const Picture<std::int16_t>& m)
{
    Picture<std::int16_t> out = interiorOf(m);
    for (int y = 0; y < out.h; ++y) {
        for (int x = 0; x < out.w; ++x) {
            std::int16_t o = m.at(x + 1, y + 1);
            o = shl16(o, 2);
            o = add16(o, m.at(x + 0, y + 0));
            o = add16(o, m.at(x + 0, y + 2));
            o = add16(o, m.at(x + 2, y + 0));
            o = add16(o, m.at(x + 2, y + 2));
            o = shr16(o, 1);
            o = add16(o, m.at(x + 0, y + 1));
            o = add16(o, m.at(x + 2, y + 1));
            o = add16(o, m.at(x + 1, y + 0));
            o = add16(o, m.at(x + 1, y + 2));
            o = shr16(o, 3);
            out.at(x, y) = o;
        }
    }
    return out;
}

Picture<std::int16_t> lapAve(const Picture<std::int16_t>& m)
{
    Picture<std::int16_t> out = interiorOf(m);
    for (int y = 0; y < out.h; ++y) {
        for (int x = 0; x < out.w; ++x) {
            std::int16_t o = m.at(x + 0, y + 0);
            o = add16(o, m.at(x + 0, y + 2));
            o = add16(o, m.at(x + 2, y + 0));
            o = add16(o, m.at(x + 2, y + 2));
            o = shr16(o, 1);
            o = add16(o, m.at(x + 0, y + 1));
            o = add16(o, m.at(x + 2, y + 1));
            o = add16(o, m.at(x + 1, y + 0));
            o = add16(o, m.at(x + 1, y + 2));
            o = div16(o, 6);
            out.at(x, y) = o;
        }
    }
    return out;
}

Picture<std::int16_t> laplace(const Picture<std::int16_t>& m)
{
    Picture<std::int16_t> out = lapAve(m);
    for (int y = 0; y < out.h; ++y) {
        for (int x = 0; x < out.w; ++x) {
            std::int16_t o = out.at(x, y);
            o = add16(o, 2048);
            o = sub16(o, m.at(x + 1, y + 1));
            out.at(x, y) = o;
        }
    }
    return out;
}

Picture<std::int16_t> sobelX(const Picture<std::int16_t>& m)
{
    Picture<std::int16_t> out = interiorOf(m);
    for (int y = 0; y < out.h; ++y) {
        for (int x = 0; x < out.w; ++x) {
            std::int16_t o = m.at(x + 2, y + 0);
            o = add16(o, m.at(x + 2, y + 1));
            o = add16(o, m.at(x + 2, y + 1));
            o = add16(o, m.at(x + 2, y + 2));
            o = sub16(o, m.at(x + 0, y + 0));
            o = sub16(o, m.at(x + 0, y + 1));
            o = sub16(o, m.at(x + 0, y + 1));
            o = sub16(o, m.at(x + 0, y + 2));
            o = add16(o, 2048);
            out.at(x, y) = o;
        }
    }
    return out;
}

Picture<std::int16_t> sobelY(const Picture<std::int16_t>& m)
{
    Picture<std::int16_t> out = interiorOf(m);
    for (int y = 0; y < out.h; ++y) {
        for (int x = 0; x < out.w; ++x) {
            std::int16_t o = m.at(x + 0, y + 2);
            o = add16(o, m.at(x + 1, y + 2));
            o = add16(o, m.at(x + 1, y + 2));
            o = add16(o, m.at(x + 2, y + 2));
            o = sub16(o, m.at(x + 0, y + 0));
            o = sub16(o, m.at(x + 1, y + 0));
            o = sub16(o, m.at(x + 1, y + 0));
            o = sub16(o, m.at(x + 2, y + 0));
            o = add16(o, 2048);
            out.at(x, y) = o;
        }
    }
    return out;
}

Picture<std::uint8_t> fastFilterByte(Picture<std::uint8_t>& img, int nr_passes)
{
    assert(nr_passes >= 0);
    const int W = img.w, H = img.h;
    std::uint8_t divisor = 1;
    for (int k = 0; k < nr_passes; ++k) {
        needRange(0, W - k - 2);
        needRange(0, H - k - 2);
        for (int y = 0; y <= H - k - 1; ++y)
            for (int x = 0; x <= W - k - 2; ++x) img.at(x, y) = low8(img.at(x, y) + img.at(x + 1, y));
        for (int y = 0; y <= H - k - 2; ++y)
            for (int x = 0; x <= W - k - 2; ++x) img.at(x, y) = low8(img.at(x, y) + img.at(x, y + 1));
        divisor = low8(divisor * 4);
    }
    needRange(0, W - nr_passes - 1);
    needRange(0, H - nr_passes - 1);
    for (int y = 0; y <= H - nr_passes - 1; ++y)
        for (int x = 0; x <= W - nr_passes - 1; ++x)
            img.at(x, y) = divisor == 0 ? std::uint8_t{0} : low8(img.at(x, y) / divisor);
    return part(img, W - nr_passes, H - nr_passes);
}

Picture<std::int16_t> fastFilterShort(Picture<std::int16_t>& img, int nr_passes)
{
    assert(nr_passes >= 0);
    const int W = img.w, H = img.h;
    std::int16_t divisor = 1;
    for (int k = 0; k < nr_passes; ++k) {
        passAlongX(img, W - k, H - k, 1);
        passAlongY(img, W - k - 1, H - k, 1);
        divisor = mul16(divisor, 4);
    }
    divide(img, W - nr_passes, H - nr_passes, divisor);
    return part(img, W - nr_passes, H - nr_passes);
}

Picture<std::int16_t> fastFilter(const Picture<std::uint8_t>& uimg, int v_passes, int h_passes)
{
    Picture<std::int16_t> img(uimg.w, uimg.h);
    for (int y = 0; y < uimg.h; ++y)
        for (int x = 0; x < uimg.w; ++x) img.at(x, y) = uimg.at(x, y);

    std::int16_t divisor = 1;
    int m = uimg.w, n = uimg.h;
    if (v_passes < 0) {
        passAlongX(img, m, n, -1);
        v_passes = -(v_passes + 1);
        m -= 1;
        divisor = mul16(divisor, -1);
    }
    if (h_passes < 0) {
        passAlongY(img, m, n, -1);
        h_passes = -(h_passes + 1);
        n -= 1;
        divisor = mul16(divisor, -1);
    }
    for (int k = 0; k < v_passes; ++k) {
        passAlongX(img, m, n, 1);
        m -= 1;
        divisor = mul16(divisor, 2);
    }
    if (std::int64_t{v_passes} + h_passes > 7) {
        divide(img, m, n, divisor);
        divisor = 1;
    }
    for (int k = 0; k < h_passes; ++k) {
        passAlongY(img, m, n, 1);
        n -= 1;
        divisor = mul16(divisor, 2);
    }
    divide(img, m, n, divisor);
    return part(img, m, n);
}

} // namespace reference

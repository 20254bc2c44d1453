// Arithmetic and comparisons of short arrays.
#include <Kavrix/KXshort.h>

#include <Kavrix/inner/KXarray-inl.h>
#include <Kavrix/inner/KXcompare-inl.h>

using namespace kavrix::inner;

template class kavrix::Elem<short>;
template class kavrix::IntElem<short>;

KX_Short& KX_Short::operator+=(const KX_Byte& b)
{
    return InPlace<UBYTE>(*this, b, [](short p, UBYTE q) { return WrapAdd<short>(p, q); });
}

MatByte MatShort::operator==(const MatShort& b) const
{
    return Compared<short>(
        *this, b, [](short p, short q) { return p == q; }, 255);
}

MatByte MatShort::operator!=(const MatShort& b) const
{
    return Compared<short>(
        *this, b, [](short p, short q) { return p != q; }, 255);
}

MatByte MatShort::operator>(const MatShort& b) const
{
    return Compared<short>(
        *this, b, [](short p, short q) { return p > q; }, 255);
}

MatByte MatShort::operator<(const MatShort& b) const
{
    return Compared<short>(
        *this, b, [](short p, short q) { return p < q; }, 255);
}

MatByte MatShort::operator>=(const MatShort& b) const
{
    return Compared<short>(
        *this, b, [](short p, short q) { return p >= q; }, 255);
}

MatByte MatShort::operator<=(const MatShort& b) const
{
    return Compared<short>(
        *this, b, [](short p, short q) { return p <= q; }, 255);
}

MatByte MatShort::operator&&(const MatShort& b) const
{
    return Compared<short>(
        *this, b, [](short p, short q) { return p != 0 && q != 0; }, 255);
}

MatByte MatShort::operator||(const MatShort& b) const
{
    return Compared<short>(
        *this, b, [](short p, short q) { return p != 0 || q != 0; }, 255);
}

MatByte MatShort::operator!() const
{
    return Compared<short>(
        *this, *this, [](short p, short) { return p == 0; }, 255);
}

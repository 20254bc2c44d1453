// Arithmetic and comparisons of short arrays.
#include <Kavrix/KXshort.h>

#include <Kavrix/inner/KXarray-inl.h>
#include <Kavrix/inner/KXcompare-inl.h>

#include <functional>

using namespace kavrix::inner;

template class kavrix::Elem<short>;
template class kavrix::IntElem<short>;

KX_Short& KX_Short::operator+=(const KX_Byte& b)
{
    return InPlace<UBYTE>(*this, b, [](short p, UBYTE q) { return WrapAdd<short>(p, q); });
}

namespace {

template <class F> MatByte Where(const MatShort& a, const MatShort& b, F holds)
{
    return Compared<short>(255, a, b, holds);
}

} // namespace

MatByte MatShort::operator==(const MatShort& b) const { return Where(*this, b, std::equal_to()); }
MatByte MatShort::operator!=(const MatShort& b) const { return Where(*this, b, std::not_equal_to()); }
MatByte MatShort::operator>(const MatShort& b) const { return Where(*this, b, std::greater()); }
MatByte MatShort::operator<(const MatShort& b) const { return Where(*this, b, std::less()); }
MatByte MatShort::operator>=(const MatShort& b) const { return Where(*this, b, std::greater_equal()); }
MatByte MatShort::operator<=(const MatShort& b) const { return Where(*this, b, std::less_equal()); }
MatByte MatShort::operator&&(const MatShort& b) const { return Where(*this, b, std::logical_and()); }
MatByte MatShort::operator||(const MatShort& b) const { return Where(*this, b, std::logical_or()); }
MatByte MatShort::operator!() const { return Where(*this, *this, FirstIsZero()); }

// Arithmetic of int arrays.
#include <Kavrix/KXshort.h>

#include <Kavrix/inner/KXarray-inl.h>

using namespace kavrix::inner;

template class kavrix::Elem<int>;
template class kavrix::IntElem<int>;

KX_Int& KX_Int::operator+=(const KX_Short& b)
{
    return InPlace<short>(*this, b, [](int p, short q) { return WrapAdd<int>(p, q); });
}

KX_Int& KX_Int::operator-=(const KX_Short& b)
{
    return InPlace<short>(*this, b, [](int p, short q) { return WrapSub<int>(p, q); });
}

// The one conversion between element types.
#ifndef KAVRIX_INNER_CONVERT_INL_H
#define KAVRIX_INNER_CONVERT_INL_H

#include <Kavrix/inner/KXarith.h>
#include <Kavrix/inner/KXelementwise.h>
#include <Kavrix/inner/Resize.h>

namespace kavrix::inner {

/// Over the SOURCE's shape; a destination without storage gets that shape first.
template <class From, class To> void ConvertElements(const KX_Base& src, KX_Base& dst)
{
    if (dst.pblock == nullptr) ResizeTo<To>(dst, src.dim1, src.dim2, src.dim3);
    ElementwiseOver(
        ShapeOf(src), [](To& p, From q) { p = ElementCast<To>(q); }, ViewOf<To>(dst), ViewOf<From>(src));
}

} // namespace kavrix::inner

#endif

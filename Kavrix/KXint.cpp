// Construction, assignment and views of the arrays of KXint.h.
#include <Kavrix/KXint.h>

#include <Kavrix/inner/KXarray-inl.h>

template class Vec<int>;
template class Mat<int>;

MatInt& MatInt::Trans()
{
    SwapColumnsAndRows();
    return *this;
}

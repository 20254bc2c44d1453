// Construction, assignment and views of the arrays of KXint.h.
#include <Kavrix/KXint.h>

#include <Kavrix/inner/KXarray-inl.h>

using namespace kavrix::inner;

template class kavrix::Vec<int>;
template class kavrix::Mat<int>;

MatInt& MatInt::Trans()
{
    SwapColumnsAndRows();
    return *this;
}

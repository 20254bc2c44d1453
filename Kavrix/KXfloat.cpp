// Construction, assignment and views of the arrays of KXfloat.h.
#include <Kavrix/KXfloat.h>

#include <Kavrix/inner/KXarray-inl.h>

using namespace kavrix::inner;

template class kavrix::Vec<float>;
template class kavrix::Mat<float>;
template class kavrix::Cub<float>;

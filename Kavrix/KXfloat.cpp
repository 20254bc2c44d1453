// Construction, assignment and views of the arrays of KXfloat.h.
#include <Kavrix/KXfloat.h>

#include <Kavrix/inner/KXarray-inl.h>

template class Vec<float>;
template class Mat<float>;
template class Cub<float>;

// Arithmetic of float arrays.
#include <Kavrix/KXfloat.h>

#include <Kavrix/inner/KXarray-inl.h>

using namespace kavrix::inner;

template class kavrix::Elem<float>;

// Arithmetic of float arrays.
#include <Kavrix/KXfloat.h>

#include <Kavrix/inner/KXarray-inl.h>

template class Elem<float>;

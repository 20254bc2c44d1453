// Arithmetic of float arrays.
#include <Kavrix/KXfloat.h>

#include <Kavrix/KXarray-inl.h>

template class Elem<float>;

// Reductions of byte arrays.
#include <Kavrix/KXubyte.h>

#include <Kavrix/KXreduce-inl.h>

UBYTE Dot(const VecByte& a, const VecByte& b) { return DotOf(a, b); }

// Reductions of float arrays.
#include <Kavrix/KXfloat.h>

#include <Kavrix/inner/KXreduce-inl.h>

using namespace kavrix::inner;

float Max(const VecFloat& v) { return BestValue(v, std::greater<float>()); }
float Min(const VecFloat& v) { return BestValue(v, std::less<float>()); }
int Argmax(const VecFloat& v) { return BestIndex(v, std::greater<float>()); }
int Argmin(const VecFloat& v) { return BestIndex(v, std::less<float>()); }
float Sum(const VecFloat& v) { return SumOf(v); }
float Dot(const VecFloat& a, const VecFloat& b) { return DotOf(a, b); }
VecInt Size(const VecFloat& v) { return All(v.dim1, 1); }
VecFloat All(float value, int n) { return Constant(VecFloat(n), value); }

VecFloat& VecFloat::sqrt() { return SquareRoot(*this, float{}); }

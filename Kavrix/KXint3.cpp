// Reductions of int arrays.
#include <Kavrix/KXint.h>

#include <Kavrix/inner/KXreduce-inl.h>

using namespace kavrix::inner;

int Max(const VecInt& v) { return BestValue(v, std::greater<int>()); }
int Min(const VecInt& v) { return BestValue(v, std::less<int>()); }
int Argmax(const VecInt& v) { return BestIndex(v, std::greater<int>()); }
int Argmin(const VecInt& v) { return BestIndex(v, std::less<int>()); }
int Sum(const VecInt& v) { return SumOf(v); }
int Dot(const VecInt& a, const VecInt& b) { return DotOf(a, b); }
VecInt Size(const VecInt& v) { return All(v.dim1, 1); }
VecInt All(int value, int n) { return Constant(VecInt(n), value); }

VecInt Max(const MatInt& m)
{
    return OfRows<VecInt>(m, [](const VecInt& row) { return Max(row); });
}
VecInt Min(const MatInt& m)
{
    return OfRows<VecInt>(m, [](const VecInt& row) { return Min(row); });
}
VecInt Argmax(const MatInt& m)
{
    return OfRows<VecInt>(m, [](const VecInt& row) { return Argmax(row); });
}
VecInt Argmin(const MatInt& m)
{
    return OfRows<VecInt>(m, [](const VecInt& row) { return Argmin(row); });
}
VecInt Sum(const MatInt& m)
{
    return OfRows<VecInt>(m, [](const VecInt& row) { return Sum(row); });
}
VecInt Size(const MatInt& m) { return VecInt(m.dim1, m.dim2); }
MatInt All(int value, int w, int h) { return Constant(MatInt(w, h), value); }
VecInt Diag(const MatInt& m) { return DiagonalOf(m); }
MatInt Diag(const VecInt& v) { return DiagonalMatrix(v); }
VecInt operator*(const MatInt& m, const VecInt& v) { return Product(m, v); }

VecInt& VecInt::sqrt() { return SquareRoot(*this, int{}); }

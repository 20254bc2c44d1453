// Arithmetic, bit operations and comparisons of byte arrays.
#include <Kavrix/KXubyte.h>

#include <Kavrix/inner/KXarray-inl.h>
#include <Kavrix/inner/KXcompare-inl.h>

#include <cstring>
#include <functional>

using namespace kavrix::inner;

template class kavrix::Elem<UBYTE>;
template class kavrix::IntElem<UBYTE>;

KX_Byte& KX_Byte::operator-=(UBYTE s)
{
    return InPlace(*this, [s](UBYTE p) { return WrapSub(p, s); });
}

namespace {

constexpr auto bitAnd = [](UBYTE p, UBYTE q) -> UBYTE { return p & q; };
constexpr auto bitOr = [](UBYTE p, UBYTE q) -> UBYTE { return p | q; };
constexpr auto bitXor = [](UBYTE p, UBYTE q) -> UBYTE { return p ^ q; };
constexpr auto greater = [](UBYTE p, UBYTE q) -> UBYTE { return p > q ? 255 : 0; };
constexpr auto less = [](UBYTE p, UBYTE q) -> UBYTE { return p < q ? 255 : 0; };
constexpr auto atLeast = [](UBYTE p, UBYTE q) -> UBYTE { return p >= q ? 255 : 0; };
constexpr auto atMost = [](UBYTE p, UBYTE q) -> UBYTE { return p <= q ? 255 : 0; };

// The rule with a scalar for its right operand.
template <class F> auto With(UBYTE s, F f)
{
    return [s, f](UBYTE p) { return f(p, s); };
}

} // namespace

KX_Byte& KX_Byte::operator&=(const KX_Byte& b) { return InPlace<UBYTE>(*this, b, bitAnd); }
KX_Byte& KX_Byte::operator|=(const KX_Byte& b) { return InPlace<UBYTE>(*this, b, bitOr); }
KX_Byte& KX_Byte::operator^=(const KX_Byte& b) { return InPlace<UBYTE>(*this, b, bitXor); }
KX_Byte& KX_Byte::operator&=(UBYTE s) { return InPlace(*this, With(s, bitAnd)); }
KX_Byte& KX_Byte::operator|=(UBYTE s) { return InPlace(*this, With(s, bitOr)); }
KX_Byte& KX_Byte::operator^=(UBYTE s) { return InPlace(*this, With(s, bitXor)); }
KX_Byte KX_Byte::operator&(const KX_Byte& b) const { return Computed(*this, b, bitAnd); }
KX_Byte KX_Byte::operator|(const KX_Byte& b) const { return Computed(*this, b, bitOr); }
KX_Byte KX_Byte::operator^(const KX_Byte& b) const { return Computed(*this, b, bitXor); }
KX_Byte KX_Byte::operator&(UBYTE s) const { return Computed(*this, With(s, bitAnd)); }
KX_Byte KX_Byte::operator|(UBYTE s) const { return Computed(*this, With(s, bitOr)); }
KX_Byte KX_Byte::operator^(UBYTE s) const { return Computed(*this, With(s, bitXor)); }

KX_Byte KX_Byte::operator>(const KX_Byte& b) const { return Computed(*this, b, greater); }
KX_Byte KX_Byte::operator<(const KX_Byte& b) const { return Computed(*this, b, less); }
KX_Byte KX_Byte::operator>(UBYTE s) const { return Computed(*this, With(s, greater)); }
KX_Byte KX_Byte::operator<(UBYTE s) const { return Computed(*this, With(s, less)); }
KX_Byte& KX_Byte::operator>=(const KX_Byte& b) { return InPlace<UBYTE>(*this, b, atLeast); }
KX_Byte& KX_Byte::operator<=(const KX_Byte& b) { return InPlace<UBYTE>(*this, b, atMost); }
KX_Byte& KX_Byte::operator>=(UBYTE s) { return InPlace(*this, With(s, atLeast)); }
KX_Byte& KX_Byte::operator<=(UBYTE s) { return InPlace(*this, With(s, atMost)); }

// ---------------------------------------------------------------------------------- matrices and cubes

MatByte MatByte::operator==(const MatByte& b) const { return Compared<UBYTE>(1, *this, b, std::equal_to()); }
MatByte MatByte::operator!=(const MatByte& b) const
{
    return Compared<UBYTE>(1, *this, b, std::not_equal_to());
}

namespace {

// A byte matrix as the ordering operators read it: element (x, y) is the signed 16-bit value, at any address,
// 2 * (x * step1 + y * step2) bytes behind the data pointer, whatever the elements really are.
class Shorts {
public:
    explicit Shorts(const MatByte& m) : data(m.p_B_data), step1(m.step1), step2(m.step2)
    {
        if (data == nullptr) return;
        if (m.pblock == nullptr || m.pblock->IsAttached()) { // how far it reaches only the caller knows
            first = INT64_MIN;
            last = INT64_MAX;
        } else {
            first = static_cast<const UBYTE*>(m.pblock->ptr) - data;
            last = first + std::int64_t{m.pblock->len} * m.pblock->itemsize - std::int64_t{sizeof(short)};
        }
    }

    // 0 where the block is known not to hold both bytes.
    short operator()(int x, int y) const
    {
        const std::int64_t offset = 2 * (x * step1 + y * step2);
        if (offset < first || offset > last) return 0;
        short value;
        std::memcpy(&value, data + static_cast<std::ptrdiff_t>(offset), sizeof value);
        return value;
    }

private:
    const UBYTE* data;
    std::int64_t step1, step2;
    std::int64_t first = 0, last = -1; // offsets that can be read
};

// As Compared, of the 16-bit values of a and b.
template <class F> MatByte AsShorts(UBYTE yes, const MatByte& a, const MatByte& b, F holds)
{
    MatByte r(a.dim1, a.dim2);
    const Shorts p(a), q(b);
    for (int y = 0; y < a.dim2; y++)
        for (int x = 0; x < a.dim1; x++) r(x, y) = holds(p(x, y), q(x, y)) ? yes : 0;
    return r;
}

} // namespace

MatByte MatByte::operator>(const MatByte& b) const { return AsShorts(255, *this, b, std::greater()); }
MatByte MatByte::operator<(const MatByte& b) const { return AsShorts(255, *this, b, std::less()); }
MatByte MatByte::operator>=(const MatByte& b) const { return AsShorts(255, *this, b, std::greater_equal()); }
MatByte MatByte::operator<=(const MatByte& b) const { return AsShorts(255, *this, b, std::less_equal()); }
MatByte MatByte::operator&&(const MatByte& b) const { return AsShorts(1, *this, b, std::logical_and()); }
MatByte MatByte::operator||(const MatByte& b) const { return AsShorts(1, *this, b, std::logical_or()); }
MatByte MatByte::operator!() const { return AsShorts(1, *this, *this, FirstIsZero()); }

CubByte CubByte::operator==(const CubByte& b) const
{
    return Computed(*this, b, [](UBYTE p, UBYTE q) -> UBYTE { return p == q; });
}

CubByte CubByte::operator!=(const CubByte& b) const
{
    return Computed(*this, b, [](UBYTE p, UBYTE q) -> UBYTE { return p != q; });
}

// What converts into what, and what must not: checked by compiling this file, nothing of it runs.
#include <Kavrix/Kavrix.h>

#include <concepts>
#include <cstddef>
#include <type_traits>

namespace {

template <class From, class To> constexpr bool converts = std::is_convertible_v<const From&, To>;
template <class To, class... From> constexpr bool made = std::is_constructible_v<To, From...>;
template <class To, class From> constexpr bool assigned = std::is_assignable_v<To&, const From&>;

// ---------------------------------------------------------------------------------- the class tree

static_assert(std::derived_from<KX_Byte, KX_Base> && std::derived_from<KX_Short, KX_Base>);
static_assert(std::derived_from<KX_Int, KX_Base> && std::derived_from<KX_Float, KX_Base>);
static_assert(std::derived_from<VecByte, KX_Byte> && std::derived_from<MatByte, KX_Byte>);
static_assert(std::derived_from<CubByte, KX_Byte> && std::derived_from<CubShort, KX_Short>);
static_assert(std::derived_from<VecShort, KX_Short> && std::derived_from<MatShort, KX_Short>);
static_assert(std::derived_from<VecInt, KX_Int> && std::derived_from<MatInt, KX_Int>);
static_assert(std::derived_from<VecFloat, KX_Float> && std::derived_from<MatFloat, KX_Float>);
static_assert(std::derived_from<CubFloat, KX_Float>);
static_assert(std::is_void_v<kavrix::Family<int>::Cub>); // there is no cube of ints

template <class... A>
constexpr bool plainClasses = ((!std::is_polymorphic_v<A> && sizeof(A) == sizeof(KX_Base) &&
                                std::is_copy_constructible_v<A> && std::is_copy_assignable_v<A> &&
                                std::is_default_constructible_v<A>)&&...);
static_assert(
    plainClasses<KX_Base, KX_Byte, VecByte, MatByte, CubByte, KX_Short, VecShort, MatShort, CubShort>);
static_assert(plainClasses<KX_Int, VecInt, MatInt, KX_Float, VecFloat, MatFloat, CubFloat>);

// The fields are open to all, under their names and in their types.
static_assert(std::is_same_v<decltype(KX_Base::p_data), void*>);
static_assert(std::is_same_v<decltype(KX_Base::p_B_data), UBYTE*>);
static_assert(std::is_same_v<decltype(KX_Base::p_s_data), short*>);
static_assert(std::is_same_v<decltype(KX_Base::p_i_data), int*>);
static_assert(std::is_same_v<decltype(KX_Base::p_f_data), float*>);
static_assert(std::is_same_v<decltype(KX_Base::pblock), Datablock*>);
static_assert(std::is_same_v<decltype(KX_Base::step1), int> && std::is_same_v<decltype(KX_Base::step2), int>);
static_assert(std::is_same_v<decltype(KX_Base::step3), int> && std::is_same_v<decltype(KX_Base::dim1), int>);
static_assert(std::is_same_v<decltype(KX_Base::dim2), int> && std::is_same_v<decltype(KX_Base::dim3), int>);
static_assert(std::is_same_v<decltype(KX_Base::poolObjType), char>);
static_assert(std::is_same_v<decltype(KX_Base::myName), char[13]>);
static_assert(std::is_same_v<decltype(Datablock::ptr), void*> &&
              std::is_same_v<decltype(Datablock::len), int>);
static_assert(std::is_same_v<decltype(Datablock::itemsize), unsigned short>);
static_assert(std::is_same_v<decltype(Datablock::nrefs), unsigned short>);
static_assert(std::is_same_v<decltype(Datablock::prev), Datablock*>);
static_assert(std::is_same_v<decltype(Datablock::next), Datablock*>);
static_assert(std::is_same_v<decltype(Datablock::mem), unsigned> &&
              std::is_same_v<decltype(Datablock::maxMem), unsigned>);
static_assert(std::is_same_v<decltype(Datablock::first), Datablock*>);
static_assert(std::is_same_v<decltype(Datablock::last), Datablock*> &&
              std::is_same_v<decltype(Datablock::nblocks), int>);
static_assert(std::is_same_v<decltype(RNG::from), int> && std::is_same_v<decltype(RNG::step), int>);
static_assert(std::is_same_v<decltype(AOI::rng2), RNG> && std::is_same_v<decltype(VOI::rng3), RNG>);

// ---------------------------------------------------------------------------------- within a family

// The result of an operator becomes a shaped array by itself; shapes become each other through the element
// class.
static_assert(converts<KX_Short, VecShort> && converts<KX_Short, MatShort> && converts<KX_Short, CubShort>);
static_assert(converts<KX_Int, VecInt> && converts<KX_Int, MatInt>);
static_assert(converts<KX_Float, VecFloat> && converts<KX_Float, MatFloat> && converts<KX_Float, CubFloat>);
static_assert(converts<KX_Byte, VecByte> && converts<KX_Byte, MatByte> && converts<KX_Byte, CubByte>);
static_assert(converts<MatShort, CubShort> && converts<MatByte, CubByte> && converts<MatFloat, CubFloat>);
static_assert(converts<VecShort, MatShort> && converts<MatShort, VecShort> && converts<CubShort, MatShort>);
static_assert(assigned<MatShort, KX_Short> && assigned<MatShort, MatShort> && assigned<KX_Short, MatShort>);
static_assert(assigned<MatInt, KX_Int> && assigned<VecFloat, KX_Float> && assigned<CubByte, KX_Byte>);
static_assert(std::is_same_v<decltype(MatShort() + MatShort()), KX_Short>);
static_assert(std::is_same_v<decltype(CubByte() >> 1), KX_Byte> &&
              std::is_same_v<decltype(MatInt() / 2.0f), KX_Int>);

// ---------------------------------------------------------------------------------- between families

// Between element types there is Convert, and nothing else...
static_assert(!converts<KX_Short, VecInt> && !converts<MatShort, MatInt> && !converts<MatShort, MatFloat>);
static_assert(!converts<KX_Int, VecShort> && !converts<MatInt, MatShort> && !converts<MatInt, MatFloat>);
static_assert(!converts<KX_Float, VecInt> && !converts<MatFloat, MatShort> && !converts<CubFloat, CubShort>);
static_assert(!converts<MatByte, MatShort> && !converts<CubByte, CubShort> && !converts<VecByte, VecInt>);
static_assert(!converts<KX_Base, MatShort> && !converts<KX_Base, VecInt> && !converts<KX_Base, CubFloat>);
static_assert(!made<MatShort, MatInt> && !made<MatInt, MatShort> && !made<VecFloat, VecInt>);
static_assert(!assigned<MatShort, MatInt> && !assigned<MatInt, MatShort> && !assigned<MatShort, MatByte>);
static_assert(!assigned<VecFloat, VecShort> && !assigned<CubShort, CubByte> && !assigned<KX_Short, KX_Int>);
// ... except that byte arrays are made of any array and read its bytes.
static_assert(converts<KX_Base, VecByte> && converts<KX_Base, MatByte> && converts<KX_Base, CubByte>);
static_assert(converts<MatShort, MatByte> && converts<VecInt, VecByte> && converts<CubFloat, CubByte>);
// The element class of bytes is not among them.
static_assert(!converts<KX_Base, KX_Byte> && !converts<MatShort, KX_Byte>);

// ---------------------------------------------------------------------------------- constructors

template <class T, class V, class M> constexpr bool plainConstructors =
    made<typename kavrix::Family<T>::Elem, int, int, int>&& made<V, int>&& made<V, RNG>&& made<M, int, int>&&
        made<M, AOI>&& made<V, const V*, RNG>&& made<V, const M*, RNG, int>&& made<V, const M*, int, RNG>&&
            made<M, const M*, RNG, RNG>;
static_assert(plainConstructors<UBYTE, VecByte, MatByte> && plainConstructors<short, VecShort, MatShort>);
static_assert(plainConstructors<int, VecInt, MatInt> && plainConstructors<float, VecFloat, MatFloat>);

template <class V, class M, class C> constexpr bool cubeConstructors =
    made<C, int, int, int>&& made<C, VOI>&& made<C, M>&& made<C, const C*, RNG, RNG, RNG>&&
        made<V, const C*, RNG, int, int>&& made<V, const C*, int, RNG, int>&&
            made<V, const C*, int, int, RNG>&& made<M, const C*, RNG, RNG, int>&&
                made<M, const C*, RNG, int, RNG>&& made<M, const C*, int, RNG, RNG>;
static_assert(cubeConstructors<VecByte, MatByte, CubByte> && cubeConstructors<VecShort, MatShort, CubShort>);
static_assert(cubeConstructors<VecFloat, MatFloat, CubFloat>);

// Views are cut from their own family only.
static_assert(!made<VecShort, const MatInt*, RNG, int> && !made<MatInt, const CubByte*, RNG, RNG, int>);
static_assert(!made<MatShort, const MatByte*, RNG, RNG> && !made<VecByte, const VecShort*, RNG>);

// Ranges are sizes; a number is none: it would be a vector in `m * short(2)`.
static_assert(converts<RNG, VecByte> && converts<RNG, VecShort> && converts<RNG, VecInt>);
static_assert(converts<RNG, VecFloat> && converts<AOI, MatByte> && converts<AOI, MatShort>);
static_assert(converts<AOI, MatInt> && converts<AOI, MatFloat> && converts<VOI, CubByte>);
static_assert(converts<VOI, CubShort> && converts<VOI, CubFloat>);
static_assert(!converts<RNG, MatShort> && !converts<AOI, VecShort> && !converts<AOI, CubShort>);
static_assert(!converts<RNG, KX_Short> && !converts<VOI, MatShort>);
static_assert(!converts<int, VecInt> && !converts<short, VecShort>);
static_assert(std::is_same_v<decltype(MatShort() * short(2)), KX_Short> &&
              std::is_same_v<decltype(MatInt() * 2), KX_Int> &&
              std::is_same_v<decltype(MatShort() * VecShort()), VecShort>);
static_assert(!made<MatShort, int> && !made<CubShort, int> && !made<CubShort, int, int> &&
              !made<MatInt, int, int, int>);

// How many values a vector is made of.
template <class V, class A> constexpr bool twoToTen =
    made<V, A, A>&& made<V, A, A, A>&& made<V, A, A, A, A>&& made<V, A, A, A, A, A>&&
        made<V, A, A, A, A, A, A>&& made<V, A, A, A, A, A, A, A>&& made<V, A, A, A, A, A, A, A, A>&&
            made<V, A, A, A, A, A, A, A, A, A>&& made<V, A, A, A, A, A, A, A, A, A, A>;
template <class V, class A> constexpr bool eleven = made<V, A, A, A, A, A, A, A, A, A, A, A>;
template <class V, class A> constexpr bool twelve = made<V, A, A, A, A, A, A, A, A, A, A, A, A>;
template <class V, class A> constexpr bool thirteen = made<V, A, A, A, A, A, A, A, A, A, A, A, A, A>;
template <class V, class A> constexpr bool fifteen = made<V, A, A, A, A, A, A, A, A, A, A, A, A, A, A, A>;
template <class V, class A> constexpr bool sixteen = made<V, A, A, A, A, A, A, A, A, A, A, A, A, A, A, A, A>;
template <class V, class A> constexpr bool seventeen =
    made<V, A, A, A, A, A, A, A, A, A, A, A, A, A, A, A, A, A>;
static_assert(twoToTen<VecByte, UBYTE> && twoToTen<VecByte, int> && twoToTen<VecShort, short> &&
              twoToTen<VecShort, int>);
static_assert(twoToTen<VecInt, int> && twoToTen<VecFloat, float> && twoToTen<VecFloat, int> &&
              twoToTen<VecFloat, double>);
static_assert(!eleven<VecByte, UBYTE> && !eleven<VecShort, short> && !eleven<VecFloat, float>);
static_assert(eleven<VecInt, int> && twelve<VecInt, int> && sixteen<VecInt, int>);
static_assert(!thirteen<VecInt, int> && !fifteen<VecInt, int> && !seventeen<VecInt, int>);
static_assert(!sixteen<VecFloat, float> && !twelve<VecShort, short>);

// They are numbers of any type, each of its own, or unscoped enumerators.
enum Plain { plain };
enum class Scoped { scoped };
template <class V> constexpr bool ofAnyNumbers =
    made<V, double, double>&& made<V, float, int>&& made<V, long double, bool>&& made<V, char, wchar_t>&&
        made<V, long long, unsigned long>&& made<V, UBYTE, short, PIX_FMT>&& made<V, Plain, Plain> &&
    !made<V, Scoped, Scoped> && !made<V, int, Scoped> && !made<V, const char*, const char*> &&
    !made<V, int, std::nullptr_t>;
static_assert(ofAnyNumbers<VecByte> && ofAnyNumbers<VecShort> && ofAnyNumbers<VecInt> &&
              ofAnyNumbers<VecFloat>);

// ---------------------------------------------------------------------------------- operators

template <class A, class B>
concept Added = requires(A& a, const B& b)
{
    a += b;
};
template <class A, class B>
concept Subtracted = requires(A& a, const B& b)
{
    a -= b;
};
template <class A, class B>
concept Times = requires(A& a, const B& b)
{
    a *= b;
};
template <class A>
concept Shifted = requires(A& a)
{
    a >>= 1;
    a <<= 1;
    a >> 1;
    a << 1;
};
template <class A, class B>
concept AndOrXor = requires(A& a, const B& b)
{
    a &= b;
    a |= b;
    a ^= b;
    a& b;
    a | b;
    a ^ b;
};
template <class A, class B>
concept StrictlyOrdered = requires(const A& a, const B& b)
{
    a > b;
    a < b;
};
template <class A>
concept Logical = requires(const A& a)
{
    a&& a;
    a || a;
    !a;
    a == a;
    a != a;
};

static_assert(Added<MatShort, MatShort> && Added<MatInt, MatInt> && Added<MatFloat, MatFloat> &&
              Added<MatByte, MatByte>);
static_assert(Added<MatInt, MatShort> && Subtracted<MatInt, MatShort> && Added<MatShort, MatByte>);
static_assert(!Subtracted<MatShort, MatByte> && !Added<MatShort, MatInt> && !Added<MatInt, MatByte>);
static_assert(!Added<MatFloat, MatInt> && !Added<MatInt, MatFloat> && !Added<MatByte, KX_Base>);
static_assert(Subtracted<MatByte, UBYTE>);
static_assert(!Subtracted<MatShort, short> && !Subtracted<MatInt, int> && !Subtracted<MatFloat, float>);

// Scalars carry their type: short(2) or 0.5f. A bare number is none of shorts and bytes.
static_assert(Times<MatShort, short> && Times<MatShort, float> && Times<MatByte, UBYTE> &&
              Times<MatByte, float>);
static_assert(Times<MatInt, int> && Times<MatInt, float> && Times<MatFloat, float>);
static_assert(!Times<MatShort, int> && !Times<MatByte, int> && !Times<MatShort, double> &&
              !Times<MatInt, double>);

static_assert(Shifted<MatByte> && Shifted<CubShort> && Shifted<VecInt> && !Shifted<MatFloat>);
static_assert(AndOrXor<MatByte, MatByte> && AndOrXor<VecByte, UBYTE>);
static_assert(!AndOrXor<MatShort, MatShort> && !AndOrXor<MatInt, MatInt>);
static_assert(StrictlyOrdered<MatByte, MatByte> && StrictlyOrdered<VecByte, UBYTE> &&
              StrictlyOrdered<MatShort, MatShort>);
static_assert(!StrictlyOrdered<MatInt, MatInt> && !StrictlyOrdered<MatFloat, MatFloat>);
static_assert(Logical<MatByte> && Logical<MatShort> && !Logical<MatInt> && !Logical<MatFloat>);

// ---------------------------------------------------------------------------------- free functions

template <class From, class To>
concept Converted = requires(const From& from, To& to)
{
    Convert(from, to);
};

template <class... P> struct Types {
};
template <class From, class... To> constexpr bool IntoEach(Types<To...>)
{
    return (Converted<From, To> && ...);
}
static_assert(IntoEach<VecByte>(Types<VecShort, VecInt, VecFloat>()) &&
              IntoEach<MatByte>(Types<MatShort, MatInt, MatFloat>()));
static_assert(IntoEach<VecShort>(Types<VecByte, VecInt, VecFloat>()) &&
              IntoEach<MatShort>(Types<MatByte, MatInt, MatFloat>()));
static_assert(IntoEach<VecInt>(Types<VecByte, VecShort, VecFloat>()) &&
              IntoEach<MatInt>(Types<MatByte, MatShort, MatFloat>()));
static_assert(IntoEach<VecFloat>(Types<VecByte, VecShort, VecInt>()) &&
              IntoEach<MatFloat>(Types<MatByte, MatShort, MatInt>()));
static_assert(IntoEach<CubByte>(Types<CubShort, CubFloat>()) &&
              IntoEach<CubShort>(Types<CubByte, CubFloat>()));
static_assert(IntoEach<CubFloat>(Types<CubByte, CubShort>()));
static_assert(!Converted<MatInt, const MatShort>);

template <class T, class... Sizes>
concept Filled = requires(T value, Sizes... sizes)
{
    All(value, sizes...);
};
static_assert(Filled<short, int> && Filled<int, int> && Filled<float, int> && Filled<short, int, int> &&
              Filled<int, int, int>);

// A range has two or three numbers; a trace is tied to its scope; the fail-stop does not return.
static_assert(made<RNG, int, int> && made<RNG, int, int, int> && !made<RNG> && !made<RNG, int>);
static_assert(!std::is_copy_constructible_v<Trace> && !std::is_copy_assignable_v<Trace>);
static_assert(!converts<const char*, Trace>);
static_assert(std::is_same_v<decltype(&error), void (*)(int, const char*)>);
static_assert(std::is_same_v<decltype(&gassert), void (*)(unsigned, const char*)>);

} // namespace

// A fail-stop that could return would leave this function without a value, an error by the next line.
#pragma GCC diagnostic error "-Wreturn-type"
int EndsInError();
int EndsInError() { error(1, "never comes back"); }
int EndsInAssertion();
int EndsInAssertion() { gassert(1, "never comes back"); }

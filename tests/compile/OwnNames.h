// What a program may have of its own beside the library: things under the names that the library uses inside
// its namespaces, in the global one, and different ones. Functions have the signatures of the library's, so
// that one could take the place of the other, and answer what the library never does.
#pragma once

#include <cstddef>
#include <type_traits>
#include <utility>

// ---------------------------------------------------------------------------------- public headers

template <class T> struct Vec {
    T x, y, z;
};
template <class T, int rows = 2> struct Mat {
    T elements[rows];
};
struct Cub {
    int edge;
};
template <class... T> struct Elem {
};
enum IntElem { oneInt, anotherInt };
template <class T> struct Family {
    using Head = T;
};
template <class T>
concept CubeOf = std::is_integral_v<T>;
template <class T>
concept ElementValue = std::is_pointer_v<T>;
template <class T>
concept ValueFor = std::is_void_v<T>;
template <class T> constexpr bool IsValueCount(std::size_t) { return false; }
constexpr char errorLineSize[] = "as long as a line";
inline int ComposeErrorLine(const char*) { return 42; }
struct Pick {
    int stone;
};

// ---------------------------------------------------------------------------------- elements

template <class T> constexpr T WrapAdd(T, T) { return 42; }
template <class T> constexpr T WrapSub(T, T) { return 42; }
template <class T> constexpr T WrapMul(T, T) { return 42; }
template <class T> constexpr T WrapAbs(T) { return 42; }
template <class T> constexpr T Quotient(T, T) { return 42; }
template <class T> constexpr auto QuotientBy(T)
{
    return [](T) { return T{42}; };
}
template <class T> constexpr T Inverted(T) { return 42; }
template <class T> constexpr T ShiftLeft(T, int) { return 42; }
template <class T> constexpr T ShiftRight(T, int) { return 42; }
template <class F> constexpr int FloatToInt(F) { return 42; }
template <class F> constexpr unsigned FloatToUnsigned(F) { return 42; }
template <class To, class From> constexpr To ElementCast(From) { return 42; }
template <class T> T GetLittleEndian(const unsigned char*) { return 42; }
template <class T> unsigned char* PutLittleEndian(unsigned char* bytes, T)
{
    *bytes = 42;
    return bytes;
}

// ---------------------------------------------------------------------------------- arrays

enum class Shape { round, square };
template <class A> Shape ShapeOf(const A&) { return Shape::round; }
template <class T> using Strided = T*;
template <class T, class A> int ViewOf(const A&) { return 42; }
template <class... A> int Elementwise(const A&...) { return 42; }
template <class... A> int ElementwiseOver(const A&...) { return 42; }
template <class... A> int InPlace(const A&...) { return 42; }
template <class... A> int Computed(const A&...) { return 42; }
template <class... A> int Compared(const A&...) { return 42; }
template <class... A> int ConvertElements(const A&...) { return 42; }
template <class... A> int ResizeTo(const A&...) { return 42; }
template <class... A> int KeepsStorage(const A&...) { return 42; }
template <class... A> int BestValue(const A&...) { return 42; }
template <class... A> int BestIndex(const A&...) { return 42; }
template <class... A> int OfRows(const A&...) { return 42; }
template <class... A> int SumOf(const A&...) { return 42; }
template <class... A> int DotOf(const A&...) { return 42; }
template <class... A> int Constant(const A&...) { return 42; }
template <class... A> int DiagonalOf(const A&...) { return 42; }
template <class... A> int DiagonalMatrix(const A&...) { return 42; }
template <class... A> int Product(const A&...) { return 42; }
template <class... A> int SquareRoot(const A&...) { return 42; }
template <class... A> int SetInside(const A&...) { return 42; }
template <class... A> int Marker(const A&...) { return 42; }
template <class... A> int Line(const A&...) { return 42; }
template <class A> std::pair<int, int> Partition(A&, int, int) { return {42, 42}; }
template <class A> int SelectRank(A&, int, int) { return 42; }

// ---------------------------------------------------------------------------------- files

struct BmpHeaders {
    BmpHeaders() : width(42) {}
    int width;
};
template <class F> int WithFile(const char*, const char*, F) { return 42; }
template <class A> bool IsEmpty(const A&) { return true; }
inline int NotEnoughMemory() { return 42; }

// Made where nothing is inlined, whether the program calls them or not.
#define OWN_FUNCTIONS(T)                                                                                     \
    template T WrapAdd(T, T);                                                                                \
    template T WrapSub(T, T);                                                                                \
    template T WrapMul(T, T);                                                                                \
    template T WrapAbs(T);                                                                                   \
    template T Quotient(T, T);                                                                               \
    template auto QuotientBy(T);                                                                             \
    template T ShiftLeft(T, int);                                                                            \
    template T ShiftRight(T, int);                                                                           \
    template T GetLittleEndian(const unsigned char*);                                                        \
    template unsigned char* PutLittleEndian(unsigned char*, T)
OWN_FUNCTIONS(unsigned char);
OWN_FUNCTIONS(short);
OWN_FUNCTIONS(int);
#undef OWN_FUNCTIONS
template int FloatToInt(float);
template int FloatToInt(double);
template unsigned FloatToUnsigned(float);

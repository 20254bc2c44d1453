// The element-wise operators of all families in tables, each beside its rule on plain numbers.
#pragma once

#include <tests/support/ArrayShapes.h>

#include <cmath>
#include <cstdint>
#include <type_traits>
#include <vector>

// A namespace of their own: the library has functions of the same names, and the linker would take one for
// the other.
namespace element_rules {

// ---------------------------------------------------------------------------------- rules on plain numbers

template <class T> T Add(T a, T b)
{
    if constexpr (std::is_floating_point_v<T>) return a + b;
    else return Low<T>(std::int64_t{a} + b);
}

template <class T> T Sub(T a, T b)
{
    if constexpr (std::is_floating_point_v<T>) return a - b;
    else return Low<T>(std::int64_t{a} - b);
}

template <class T> T Mul(T a, T b)
{
    if constexpr (std::is_floating_point_v<T>) return a * b;
    else return Low<T>(std::int64_t{a} * b); // fits: |a| and |b| are at most 2^31
}

template <class T> T Div(T a, T b)
{
    if constexpr (std::is_floating_point_v<T>) return a / b;
    else return b == 0 ? T{0} : Low<T>(std::int64_t{a} / b);
}

/// A single-precision result as an integer element.
template <class T> T Cut(float f)
{
    if constexpr (std::is_unsigned_v<T>) {
        if (std::isnan(f) || f <= 0) return 0;
        return Low<T>(f >= 4294967296.0f ? std::int64_t{0xFFFFFFFF} : static_cast<std::int64_t>(f));
    } else {
        return Low<T>(reference::ToInt(f));
    }
}

template <class T> T ShiftRight(T a, int n)
{
    if (n < 0 || n >= 32) return static_cast<T>(a < 0 ? -1 : 0);
    return Low<T>(std::int64_t{a} >> n);
}

template <class T> T ShiftLeft(T a, int n)
{
    if (n < 0 || n >= 32) return 0;
    return Low<T>(static_cast<std::int64_t>(static_cast<std::uint64_t>(std::int64_t{a}) << n));
}

// ---------------------------------------------------------------------------------- tables of operators

template <class T> struct ArrayRule {
    const char* name;
    ElemOf<T>& (*inPlace)(ElemOf<T>&, const ElemOf<T>&);
    ElemOf<T> (*made)(const ElemOf<T>&, const ElemOf<T>&); // null where there is only the compound form
    T (*plain)(T, T);
};

template <class T> std::vector<ArrayRule<T>> ArrayRules()
{
    using E = ElemOf<T>;
    std::vector<ArrayRule<T>> rules = {
        {"+", [](E& a, const E& b) -> E& { return a += b; }, [](const E& a, const E& b) { return a + b; },
         Add<T>},
        {"-", [](E& a, const E& b) -> E& { return a -= b; }, [](const E& a, const E& b) { return a - b; },
         Sub<T>},
        {"/", [](E& a, const E& b) -> E& { return a /= b; }, [](const E& a, const E& b) { return a / b; },
         Div<T>},
        {"ElementMul", [](E& a, const E& b) -> E& { return a.ElementMul(b); }, nullptr, Mul<T>},
    };
    if constexpr (std::is_same_v<T, UBYTE>) {
        rules.push_back({"&", [](E& a, const E& b) -> E& { return a &= b; },
                         [](const E& a, const E& b) { return a & b; }, [](T a, T b) { return T(a & b); }});
        rules.push_back({"|", [](E& a, const E& b) -> E& { return a |= b; },
                         [](const E& a, const E& b) { return a | b; }, [](T a, T b) { return T(a | b); }});
        rules.push_back({"^", [](E& a, const E& b) -> E& { return a ^= b; },
                         [](const E& a, const E& b) { return a ^ b; }, [](T a, T b) { return T(a ^ b); }});
    }
    return rules;
}

template <class T> struct ScalarRule {
    const char* name;
    ElemOf<T>& (*inPlace)(ElemOf<T>&, T);
    ElemOf<T> (*made)(const ElemOf<T>&, T);
    T (*plain)(T, T);
};

template <class T> std::vector<ScalarRule<T>> ScalarRules()
{
    using E = ElemOf<T>;
    std::vector<ScalarRule<T>> rules = {
        {"+", [](E& a, T s) -> E& { return a += s; }, [](const E& a, T s) { return a + s; }, Add<T>},
        {"*", [](E& a, T s) -> E& { return a *= s; }, [](const E& a, T s) { return a * s; }, Mul<T>},
        {"/", [](E& a, T s) -> E& { return a /= s; }, [](const E& a, T s) { return a / s; }, Div<T>},
    };
    if constexpr (std::is_same_v<T, UBYTE>) {
        rules.push_back({"-", [](E& a, T s) -> E& { return a -= s; }, nullptr, Sub<T>});
        rules.push_back({"&", [](E& a, T s) -> E& { return a &= s; }, [](const E& a, T s) { return a & s; },
                         [](T a, T s) { return T(a & s); }});
        rules.push_back({"|", [](E& a, T s) -> E& { return a |= s; }, [](const E& a, T s) { return a | s; },
                         [](T a, T s) { return T(a | s); }});
        rules.push_back({"^", [](E& a, T s) -> E& { return a ^= s; }, [](const E& a, T s) { return a ^ s; },
                         [](T a, T s) { return T(a ^ s); }});
    }
    return rules;
}

} // namespace element_rules

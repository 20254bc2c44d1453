// Any view inside a block of its own, and where it lies there.
#pragma once

#include <fuzz/Harness.h>

#include <tests/support/ElementRules.h>

#include <algorithm>
#include <bit>
#include <memory>
#include <type_traits>
#include <vector>

using namespace element_rules;

/// Where a view lies: element (x, y, z) at origin + x * steps[0] + ...
struct Place {
    int origin = 0;
    int sizes[3] = {1, 1, 1}, steps[3] = {0, 0, 0};

    std::size_t At(int x, int y, int z) const
    {
        const int at = origin + x * steps[0] + y * steps[1] + z * steps[2];
        return static_cast<std::size_t>(at);
    }
};

template <class T> T Value(FuzzedDataProvider& input)
{
    if constexpr (std::is_floating_point_v<T>)
        return std::bit_cast<T>(input.ConsumeIntegral<std::uint32_t>());
    else return input.ConsumeIntegral<T>();
}

/// `size` indices among `length`, with any step that they leave room for, both ways.
inline RNG Range(FuzzedDataProvider& input, int size, int length)
{
    const int widest = size > 1 ? (length - 1) / (size - 1) : 3;
    const int step = input.ConsumeIntegralInRange(1, std::max(widest, 1));
    const int span = (size - 1) * step;
    const int first = input.ConsumeIntegralInRange(0, length - 1 - span);
    if (size == 1) return RNG(first, first);
    return input.ConsumeBool() ? RNG(first, first + span, step) : RNG(first + span, first, -step);
}

/// A block of at most 12 x 8 x 3 elements of T and a view of the given size in it. Families without a cube
/// have one plane.
template <class T> struct Block {
    static constexpr bool hasPlanes = !std::is_same_v<T, int>;
    using Array = std::conditional_t<hasPlanes, CubOf<T>, MatOf<T>>;

    explicit Block(FuzzedDataProvider& input, const int (&atLeast)[3])
    {
        for (int d = 0; d < 3; d++) {
            const int most[3] = {12, 8, hasPlanes ? 3 : 1};
            sizes[d] = input.ConsumeIntegralInRange(atLeast[d], most[d]);
        }
        if constexpr (hasPlanes) array = std::make_unique<Array>(sizes[0], sizes[1], sizes[2]);
        else array = std::make_unique<Array>(sizes[0], sizes[1]);
        const T background = Value<T>(input);
        for (int i = 0; i < Length(); i++)
            Data()[i] =
                input.remaining_bytes() > 24 ? Value<T>(input) : Add(background, static_cast<T>(i % 5));
    }

    int Length() const { return sizes[0] * sizes[1] * sizes[2]; }
    T* Data() const { return static_cast<T*>(array->pblock->ptr); }
    std::vector<T> Storage() const { return std::vector<T>(Data(), Data() + Length()); }

    // A view of that many elements, and where it lies.
    Array View(FuzzedDataProvider& input, const int (&wanted)[3], Place& place) const
    {
        const RNG x = Range(input, wanted[0], sizes[0]), y = Range(input, wanted[1], sizes[1]);
        const RNG z = Range(input, wanted[2], sizes[2]);
        const int blockSteps[3] = {1, sizes[0], sizes[0] * sizes[1]};
        const RNG* const ranges[3] = {&x, &y, &z};
        place = Place();
        for (int d = 0; d < 3; d++) {
            place.origin += ranges[d]->from * blockSteps[d];
            place.sizes[d] = wanted[d];
            place.steps[d] = ranges[d]->step * blockSteps[d];
        }
        if constexpr (hasPlanes) return (*array)(x, y, z);
        else return (*array)(x, y);
    }

    int sizes[3];
    std::unique_ptr<Array> array;
};

template <class F> void ForEach(const Place& place, F f)
{
    for (int z = 0; z < place.sizes[2]; z++)
        for (int y = 0; y < place.sizes[1]; y++)
            for (int x = 0; x < place.sizes[0]; x++) f(x, y, z);
}

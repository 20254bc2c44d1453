// Frames for the tests of the application; its short names for the way between the library's arrays and the
// plain pictures that the references work on.
#pragma once

#include <tests/support/Pictures.h>

#include <simulator/Wheel.h>

#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <random>
#include <string>
#include <vector>

using BytePicture = reference::Picture<std::uint8_t>;
using ShortPicture = reference::Picture<std::int16_t>;
using reference::Sequence;
using telvane::RenderWheel;
using telvane::WheelScene;

// ---------------------------------------------------------------------------------- random numbers

/// The same numbers on every platform.
class Dice {
public:
    explicit Dice(unsigned seed) : engine(seed) {}
    /// from .. to, both included.
    int Between(int from, int to)
    {
        const auto sides = static_cast<std::uint32_t>(to - from) + 1;
        return from + static_cast<int>(engine() % sides);
    }
    bool OneIn(int n) { return Between(1, n) == 1; }
    template <class T> const T& Of(const std::vector<T>& values)
    {
        return values[static_cast<std::size_t>(Between(0, static_cast<int>(values.size()) - 1))];
    }

private:
    std::mt19937 engine;
};

// ---------------------------------------------------------------------------------- frames

/// A wheel that fits 160 x 120 pixels; its teeth move by about a pixel per frame.
inline WheelScene SmallWheel(double degreesPerFrame = 1.5)
{
    WheelScene scene;
    scene.width = 160;
    scene.height = 120;
    scene.centreX = 83.3;
    scene.centreY = 58.6;
    scene.innerR = 30;
    scene.outerR = 44;
    scene.teeth = 10;
    scene.degreesPerFrame = degreesPerFrame;
    scene.spokes = 0;
    scene.hubR = 8;
    return scene;
}

inline BytePicture WheelFrame(const WheelScene& scene, int frame)
{
    BytePicture picture(scene.width, scene.height);
    RenderWheel(scene, frame, picture.a.data());
    return picture;
}

/// Frames first, first + gap, ... of a drawn wheel.
inline Sequence WheelFrames(const WheelScene& scene, int frames, int first = 0, int gap = 1)
{
    Sequence seq(scene.width, scene.height, frames);
    for (int t = 0; t < frames; t++) seq.SetFrame(t, WheelFrame(scene, first + t * gap));
    return seq;
}

/// Grey values between two ends, both included.
inline Sequence NoiseFrames(int width, int height, int frames, unsigned seed, int darkest = 0,
                            int brightest = 255)
{
    Dice dice(seed);
    Sequence seq(width, height, frames);
    for (std::uint8_t& grey : seq.a) grey = static_cast<std::uint8_t>(dice.Between(darkest, brightest));
    return seq;
}

inline BytePicture NoiseFrame(int width, int height, unsigned seed)
{
    return NoiseFrames(width, height, 1, seed).Frame(0);
}

// ---------------------------------------------------------------------------------- arrays and pictures

inline CubByte ToCube(const Sequence& seq) { return pictures::ArrayOf(seq); }

inline Sequence ToSequence(const CubByte& cube) { return pictures::SequenceOf(cube); }

template <class T> reference::Picture<T> ToPicture(const kavrix::Mat<T>& m) { return pictures::PictureOf(m); }

template <class V, class T> V ToVector(const std::vector<T>& values)
{
    V v(static_cast<int>(values.size()));
    for (std::size_t i = 0; i < values.size(); i++) v(static_cast<int>(i)) = values[i];
    return v;
}

inline std::vector<std::int32_t> ToValues(const VecInt& v)
{
    std::vector<std::int32_t> values;
    for (int i = 0; i < v.dim1; i++) values.push_back(v(i));
    return values;
}

inline std::vector<float> ToValues(const VecFloat& v)
{
    std::vector<float> values;
    for (int i = 0; i < v.dim1; i++) values.push_back(v(i));
    return values;
}

// ---------------------------------------------------------------------------------- comparisons

using pictures::Same;

inline testing::AssertionResult Same(const Sequence& actual, const Sequence& expected)
{
    if (actual.n != expected.n)
        return testing::AssertionFailure() << actual.n << " frames instead of " << expected.n;
    for (int t = 0; t < expected.n; t++)
        if (testing::AssertionResult same = Same(actual.Frame(t), expected.Frame(t)); !same)
            return same << ", in frame " << t;
    return testing::AssertionSuccess();
}

/// Equal floats, whatever is not a number being equal as well.
inline testing::AssertionResult Same(const std::vector<float>& actual, const std::vector<float>& expected)
{
    if (actual.size() != expected.size())
        return testing::AssertionFailure() << actual.size() << " values instead of " << expected.size();
    for (std::size_t i = 0; i < expected.size(); i++) {
        if (actual[i] == expected[i] || (std::isnan(actual[i]) && std::isnan(expected[i]))) continue;
        return testing::AssertionFailure()
               << "value " << i << " is " << actual[i] << " instead of " << expected[i];
    }
    return testing::AssertionSuccess();
}

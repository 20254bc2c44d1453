// The detection of small frames with any arguments, held against its plain version.
#include <fuzz/Harness.h>

#include <Telvane/Param.h>
#include <Telvane/Telvane.h>

#include <Kavrix/TestQ.h>

#include <tests/support/Pictures.h>
#include <tests/support/Wheels.h>

#include <tests/reference/Detection.h>
#include <tests/reference/Numbers.h>
#include <tests/reference/Ring.h>

#include <bit>
#include <cmath>
#include <limits>

namespace {

using telvane::Param;
using Ints = std::vector<std::int32_t>;

int checkpoints = 0, stopAt = 0; // passed so far; the one that stops the calculation, 0 for none

int AskAtCheckpoint() { return ++checkpoints == stopAt ? 1 : 0; }

} // namespace

// The cancellation query of this program.
int TestQ() { return AskAtCheckpoint(); }

namespace {

// Coordinates more often than others; limits, what is not a number, and any bits.
float Parameter(FuzzedDataProvider& input)
{
    using L = std::numeric_limits<float>;
    const float special[] = {0,    -0.0f,         0.5f,           360,      -360,        L::quiet_NaN(),
                             1e9f, L::infinity(), -L::infinity(), L::max(), L::lowest(), L::denorm_min()};
    switch (input.ConsumeIntegralInRange(0, 7)) {
    case 0: return input.PickValueInArray(special);
    case 1: return std::bit_cast<float>(input.ConsumeIntegral<std::uint32_t>());
    case 2: return static_cast<float>(input.ConsumeIntegral<int>());
    case 3: return static_cast<float>(input.ConsumeIntegralInRange(-3200, 3200)) / 8;
    default: return static_cast<float>(input.ConsumeIntegralInRange(-8, 40));
    }
}

// A drawn wheel, noise, or the bytes of the input.
Sequence Frames(FuzzedDataProvider& input)
{
    const int w = input.ConsumeIntegralInRange(1, 40), h = input.ConsumeIntegralInRange(1, 40);
    const int n = input.ConsumeIntegralInRange(1, 5);
    const int kind = input.ConsumeIntegralInRange(0, 3);
    const unsigned seed = input.ConsumeIntegral<std::uint8_t>();
    if (kind == 0) {
        WheelScene scene = SmallWheel(static_cast<int>(seed % 7) - 3);
        scene.width = w;
        scene.height = h;
        scene.centreX = w / 2.0 + seed % 5 - 2;
        scene.centreY = h / 2.0 + seed % 3 - 1;
        scene.innerR = std::min(w, h) / 4.0;
        scene.outerR = std::min(w, h) / 2.5;
        scene.hubR = std::min(w, h) / 10.0;
        return WheelFrames(scene, n);
    }
    if (kind == 1) return NoiseFrames(w, h, n, seed);
    Sequence seq(w, h, n);
    for (std::uint8_t& grey : seq.a)
        grey = input.remaining_bytes() > 0 ? input.ConsumeIntegral<std::uint8_t>()
                                           : static_cast<std::uint8_t>(seed);
    return seq;
}

struct Outputs {
    MatByte detected;
    MatShort hough, uSumSh, vSumSh, magSh, bgShort;
};

void RequireSameOutputs(const Outputs& out, const VecInt& oroi, const VecFloat& params,
                        const reference::Detection& plain)
{
    Require(ToValues(oroi) == plain.oroi, "the output region is that of the plain detection");
    Require(Same(ToValues(params), plain.params), "angles");
    Require(Same(ToPicture(out.detected), plain.detected), "detected");
    Require(Same(ToPicture(out.uSumSh), plain.uSumSh), "u_sum_sh");
    Require(Same(ToPicture(out.vSumSh), plain.vSumSh), "v_sum_sh");
    Require(Same(ToPicture(out.magSh), plain.magSh), "mag_sh");
    Require(Same(ToPicture(out.hough), plain.hough), "hough");
    Require(Same(ToPicture(out.bgShort), plain.bgShort), "bgShort");
}

} // namespace

void Fuzz(FuzzedDataProvider& input)
{
    // Arguments: mostly those that get past the checks.
    const auto oneIn = [&input](int n) { return input.ConsumeIntegralInRange(0, n - 1) == n - 1; };
    const auto any = [&input] { return input.ConsumeIntegral<int>(); };
    const int roiNr = oneIn(16) ? any() : input.ConsumeIntegralInRange(1, 4);
    std::vector<float> params(oneIn(16) ? input.ConsumeIntegralInRange<std::size_t>(0, 16)
                                        : std::size_t{Param::length});
    for (float& p : params) p = Parameter(input);
    if (params.size() > Param::wmType && !oneIn(8)) params[Param::wmType] = 0;
    if (params.size() > Param::outerR && !oneIn(8)) { // a wheel that may fit
        params[Param::innerR] = static_cast<float>(input.ConsumeIntegralInRange(0, 10));
        params[Param::outerR] =
            params[Param::innerR] + static_cast<float>(input.ConsumeIntegralInRange(1, 8));
        params[Param::wid] = static_cast<float>(input.ConsumeIntegralInRange(1, 20));
        params[Param::cx] = params[Param::wid] - static_cast<float>(input.ConsumeIntegralInRange(1, 20));
        params[Param::hgh] = static_cast<float>(input.ConsumeIntegralInRange(1, 20));
        params[Param::cy] = params[Param::hgh] - static_cast<float>(input.ConsumeIntegralInRange(0, 20));
    }
    const bool usePeriods = input.ConsumeBool();
    Ints periods(input.ConsumeIntegralInRange<std::size_t>(0, 7));
    for (std::int32_t& p : periods) p = oneIn(8) ? any() : input.ConsumeIntegralInRange(0, 2);
    checkpoints = 0;
    stopAt = oneIn(8) ? input.ConsumeIntegralInRange(1, 200) : 0;
    Ints oroi(oneIn(16) ? input.ConsumeIntegralInRange<std::size_t>(0, 7) : 5);
    Ints iroi(oneIn(16) ? input.ConsumeIntegralInRange<std::size_t>(0, 7) : 5);
    for (std::int32_t& i : iroi) i = oneIn(8) ? any() : input.ConsumeIntegralInRange(0, 100);
    const bool ownSize = !oneIn(16);
    const int layout = input.ConsumeIntegralInRange(0, 7);
    const Sequence seq = Frames(input);
    if (ownSize && iroi.size() > 3) {
        iroi[2] = seq.w;
        iroi[3] = seq.h;
    }

    // The frames as they are, or as a part of a larger cube.
    pictures::Random random(1);
    const pictures::LaidSequence laid(seq, layout & 1 ? 2 : 1, layout & 2 ? -1 : 1, layout & 4 ? 2 : 1,
                                      random);
    const CubByte cube = layout == 0 ? ToCube(seq) : laid.view;
    const VecInt periodsArray = ToVector<VecInt>(periods), iroiArray = ToVector<VecInt>(iroi);
    const VecFloat paramsArray = ToVector<VecFloat>(params);
    VecInt oroiArray = ToVector<VecInt>(oroi);
    Outputs out;
    int result = 0;
    const Ending ending = RunToItsEnd([&] {
        result = Detect(roiNr, cube, usePeriods, periodsArray, iroiArray, paramsArray, oroiArray,
                        out.detected, out.hough, out.uSumSh, out.vSumSh, out.magSh, out.bgShort);
    });
    Require(ToSequence(cube) == seq && ToValues(periodsArray) == periods && ToValues(iroiArray) == iroi,
            "frames, periods and region are read only");

    reference::Detection plain;
    checkpoints = 0;
    try {
        plain = reference::Detect(roiNr, seq, usePeriods, periods, iroi, params, oroi, AskAtCheckpoint,
                                  reference::SumPatternByRuns);
    } catch (const reference::FailStop& stop) {
        Require(ending.HaltedWith(stop.what()), "halts where the plain detection does");
        return;
    }
    Require(ending.returned && ending.out.empty(), "returns and prints nothing");
    Require(result == plain.result && ending.err == plain.err, "the result is that of the plain detection");
    RequireSameOutputs(out, oroiArray, paramsArray, plain);
}

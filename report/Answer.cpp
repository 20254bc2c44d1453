// The detection called as the program calls it.
#include <report/Answer.h>

#include <Kavrix/KXfloat.h>
#include <Kavrix/KXint.h>
#include <Kavrix/OptFlow.h>
#include <Telvane/Param.h>
#include <Telvane/Periods.h>
#include <Telvane/Region.h>
#include <Telvane/Telvane.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <iostream>
#include <sstream>
#include <streambuf>
#include <vector>

namespace telvane {

namespace {

const char halted[] = "halted", noRange[] = "RNG: Invalid range selection";

/// Takes what goes to standard error through std::cerr, as long as it lives.
class CaughtErrors {
public:
    CaughtErrors() : before(std::cerr.rdbuf(text.rdbuf())) {}
    CaughtErrors(const CaughtErrors&) = delete;
    CaughtErrors& operator=(const CaughtErrors&) = delete;
    ~CaughtErrors() { std::cerr.rdbuf(before); }

    /// What came, without the newline at its end.
    std::string Line() const
    {
        std::string line = text.str();
        if (!line.empty() && line.back() == '\n') line.pop_back();
        return line;
    }

private:
    std::ostringstream text;
    std::streambuf* const before;
};

/// Whether the program halts at this mask: what lies of it in the frame has no width or no height.
bool HaltsAt(const Region& mask, int width, int height)
{
    const auto range = [](int from, int size, int all, bool& passed) {
        const std::int64_t first = std::max(from, 0);
        const std::int64_t last = std::min(all - std::int64_t{1}, std::int64_t{from} + size - 1);
        passed = passed || first >= all || last < 0;
        return last - first;
    };
    bool passed = false; // over, since it lies outside
    const std::int64_t across = range(mask.left, mask.width, width, passed);
    const std::int64_t down = range(mask.top, mask.height, height, passed);
    return !passed && (across < 0 || down < 0);
}

VecFloat ParametersOf(const RunArguments& a)
{
    VecFloat params(Param::length);
    const auto set = [&params](Param::Index index, int value) { params(index) = static_cast<float>(value); };
    set(Param::count, Param::length);
    set(Param::wmType, 0);
    set(Param::cx, a.centreX);
    set(Param::cy, a.centreY);
    set(Param::wid, a.width);
    set(Param::hgh, a.height);
    set(Param::innerR, a.innerR);
    set(Param::outerR, a.outerR);
    set(Param::R3, a.offset);
    set(Param::ang1, a.angle1);
    set(Param::ang2, a.angle2);
    params(Param::toothAngle) = std::rint(static_cast<float>(a.fullAngle) / static_cast<float>(a.teeth));
    set(Param::angSpd, a.turn);
    set(Param::bkgCorr, 0); // nobody here looks at the background
    return params;
}

} // namespace

RunOutcome Answer(const CubByte& frames, const RunArguments& arguments, MatShort& u, MatShort& v)
{
    RunOutcome outcome;
    // Masks are blanked in a copy; without any the frames are shared.
    const bool masked = !arguments.masks.empty();
    CubByte seen = masked ? CubByte(frames.dim1, frames.dim2, frames.dim3) : CubByte(frames);
    if (masked) seen = frames;
    const VecInt whole(0, 0, frames.dim1, frames.dim2, 1);
    for (const Region& mask : arguments.masks) {
        if (HaltsAt(mask, frames.dim1, frames.dim2)) return {halted, {}, {}, noRange};
        VecInt rectangle(5);
        Store(mask, rectangle);
        Mask(seen, whole, &rectangle, 1);
    }

    VecInt oroi(5);
    MatByte marked;
    MatShort votes, strength, background;
    {
        const CaughtErrors caught;
        outcome.result = Detect(1, seen, arguments.period1 != arguments.period2,
                                FramePeriods(arguments.count, arguments.period1, arguments.period2), whole,
                                ParametersOf(arguments), oroi, marked, votes, u, v, strength, background);
        outcome.message = caught.Line();
    }
    if (outcome.result != 0) return outcome;
    outcome.region = RegionOf(oroi);
    const bool hasSize = outcome.region->width > 0 && outcome.region->height > 0;
    if (arguments.background < 0 && !hasSize) return {halted, {}, {}, noRange};
    return outcome;
}

void MakeFlow(const CubByte& frames, MatShort& u, MatShort& v)
{
    const int iterations = 2;
    MatInt uSum(frames.dim1 + 1, frames.dim2 + 1), vSum(frames.dim1 + 1, frames.dim2 + 1);
    uSum.Fill(0);
    vSum.Fill(0);
    CubByte seen = frames;
    MatShort strength;
    OpticalFlow12Alt(seen, uSum, vSum, iterations);
    OF_Norm(uSum, vSum, u, v, strength);
}

} // namespace telvane

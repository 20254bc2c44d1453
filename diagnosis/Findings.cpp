// The frames of a run measured, step after step.
#include <diagnosis/Findings.h>

#include <diagnosis/Changes.h>

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace telvane {

namespace {

const double surest = 0.7;     // standard deviation of the rotation's centre that a verdict may rest on
const double otherFrom = 0.15; // share of the motion that can mislead

/// Of a tooth, from frame to frame; 0 where the teeth are not known.
double ToothStepOf(const RotationFit& rotation, const RingFound& ring)
{
    return std::abs(rotation.degreesPerFrame) * ring.teeth.value_or(0) / 360;
}

/// Goes from the frames to what they show.
class Measuring {
public:
    explicit Measuring(const RunSeen& r) : run(r), found(CentreFound(r)) {}

    Findings Result()
    {
        if (run.frames.p_data != nullptr && run.frames.dim3 >= 1) Measure();
        return findings;
    }

private:
    int Count() const { return run.frames.dim3; }
    const RunArguments* Given() const { return run.arguments ? &*run.arguments : nullptr; }
    bool Trusted() const { return findings.Trusted(); }

    void Measure()
    {
        times = Given() ? Given()->Times() : std::vector<int>();
        while (static_cast<int>(times.size()) < Count())
            times.push_back(times.empty() ? 0 : times.back() + 1);
        times.resize(static_cast<std::size_t>(Count()));
        if (Given()) masks = Given()->masks;
        const int least = 32; // pixels, for the flow and for anything to be seen
        findings.measured = Count() >= 2 && run.frames.dim1 >= least && run.frames.dim2 >= least;
        if (!findings.measured) return;

        changes = ChangesOf(run.frames);
        quality = QualityOf(run.frames, changes);
        const bool given = IsFlow(run.u) && IsFlow(run.v);
        MatShort madeU, madeV;
        if (!given) FlowOf(run.frames, times, madeU, madeV);
        const MatShort u = given ? run.u : madeU, v = given ? run.v : madeV;
        cells = MotionCells(u, v, masks);
        motion = Summarise(cells);
        if (quality.moving <= 0) return;

        LocateRing();
        FindRotation(masks);
        straight = Straight(cells);
        if (!Trusted() && !ring.ring && straight.share >= straightFrom) {
            // What goes straight on hides a wheel that moves more weakly.
            masks.push_back(straight.box);
            motion = Summarise(MotionCells(u, v, masks));
            LocateRing();
            FindRotation(masks);
        }
        if (Trusted()) LookAboutAxis();
        if (ring.ring)
            quality.bright = BrightnessOf(changes, ring.middle, ring.ring->inner, ring.ring->outer);
        LearnSense();
        LookElsewhere();
        if (!Trusted() && findings.OtherMotionFound()) {
            // Once more without it.
            std::vector<Region> more = masks;
            more.push_back(elsewhere->box);
            FindRotation(more);
            LearnSense();
            LookElsewhere();
        }
    }

    /// Teeth lie evenly about the axis where the camera stands askew, and about the ring's middle where that
    /// is not the axis: they are counted where they are clearer.
    void LookAboutAxis()
    {
        if (!ring.ring) {
            LocateRing(fit.centre);
        } else if (Distance(ring.middle, fit.centre) > Nearby(ring)) {
            RingFound about = FindRing(run.frames, times, changes, fit.centre, masks);
            if (!about.teeth || !(about.clear > ring.clear)) return;
            about.ring = ring.ring;
            about.middle = ring.middle;
            about.oval = ring.oval;
            ring = about;
        }
    }

    /// From beside its middle a ring seems to have more teeth on one side than on the other.
    static double Nearby(const RingFound& found)
    {
        return std::min(2.0, 0.5 * found.ring->outer / *found.teeth);
    }

    void LearnSense()
    {
        const auto of = [](double turned) { return turned > 0 ? Sense::clockwise : Sense::counterClockwise; };
        sense.reset();
        if (ring.teeth && findings.ToothStep() >= tooFastFrom && findings.ToothStep() <= 1 - tooFastFrom)
            return;
        if (Trusted()) sense = of(fit.degreesPerFrame);
        else if (ring.teeth && ring.steady > 0.8) sense = of(ring.step);
        else if (motion.turns && motion.agrees > 0.8) sense = motion.sense;
    }

    void LookElsewhere()
    {
        elsewhere.reset();
        if (!sense || !ring.ring) return;
        elsewhere = Elsewhere(cells, Trusted() ? fit.centre : ring.middle, *ring.ring, *sense);
    }

    /// About the flow's centre, or else about the one found, or else about the middle of what changes.
    void LocateRing()
    {
        std::vector<Place> centres;
        if (motion.turns) centres.push_back(motion.centre);
        if (found && NearPicture(*found)) centres.push_back(*found);
        centres.push_back(MiddleOf(changes, masks));
        for (const Place& centre : centres)
            if (LocateRing(centre)) return;
        ring = {};
    }

    /// About a centre, and then about the ring's own.
    bool LocateRing(const Place& centre)
    {
        ring = FindRing(run.frames, times, changes, centre, masks);
        if (!ring.ring) return false;
        if (Distance(ring.middle, centre) > Nearby(ring)) {
            const RingFound again = FindRing(run.frames, times, changes, ring.middle, masks);
            if (again.ring) ring = again;
        }
        pushes = PushesOf(RingPlaces(run.frames, ring.middle, *ring.ring, *ring.teeth, masks));
        return true;
    }

    bool IsFlow(const MatShort& sums) const
    {
        return sums.p_data != nullptr && sums.dim1 == run.frames.dim1 + 1 && sums.dim2 == run.frames.dim2 + 1;
    }

    /// No further outside than the picture is wide: what a run answered may be of another picture.
    bool NearPicture(const Place& place) const
    {
        return std::abs(place.x) <= 2 * run.frames.dim1 && std::abs(place.y) <= 2 * run.frames.dim2;
    }

    /// From the ring's middle; or else from the flow's centre, and from what the run was told.
    void FindRotation(const std::vector<Region>& leftOut)
    {
        std::vector<RotationStart> starts;
        if (ring.ring) starts.push_back({ring.middle, ring.ring->inner, ring.ring->outer});
        if (motion.turns && !ring.ring) {
            const std::optional<Ring> rough = RoughRing(RadialProfile(changes, motion.centre, masks));
            if (rough) starts.push_back({motion.centre, rough->inner, rough->outer});
        }
        if (found && NearPicture(*found) && !ring.ring && Given()->innerR < Given()->outerR &&
            Given()->innerR >= 0)
            starts.push_back({*found, double(Given()->innerR), double(Given()->outerR)});

        // The longest part between pushes: across one the wheel seems to turn about another place.
        int from = 0, to = Count() - 1, begin = 0;
        if (!pushes.empty()) {
            to = -1;
            for (std::size_t i = 0; i <= pushes.size(); i++) {
                const int end = i < pushes.size() ? pushes[i].frame - 1 : Count() - 1;
                if (end - begin > to - from) from = begin, to = end;
                begin = end + 1;
            }
        }
        fittedFrom = from;
        if (to - from < 1) return;
        for (const RotationStart& start : starts) {
            Fit(from, to, start, leftOut);
            // A whole number of teeth further, teeth look as they did: fewer frames lie less far apart.
            if (!Trusted() && fit.gap > 1 &&
                std::abs(std::remainder(ToothStepOf(fit, ring) * fit.gap, 1)) < 0.1)
                Fit(from, from + (to - from + 1) / 2, start, leftOut);
            if (Trusted()) return;
        }
    }

    void Fit(int from, int to, const RotationStart& start, const std::vector<Region>& leftOut)
    {
        fit = FitRotation(run.frames(RNG::All(), RNG::All(), RNG(from, to)),
                          {times.begin() + from, times.begin() + to + 1}, start, leftOut);
    }

    const RunSeen& run;
    const std::optional<Place> found;
    std::vector<Region> masks;
    Changes changes;
    std::vector<MotionCell> cells;
    MotionSummary motion;
    Findings findings;
    // What is found, by shorter names.
    std::vector<int>& times = findings.times;
    FrameQuality& quality = findings.quality;
    StraightMotion& straight = findings.straight;
    RingFound& ring = findings.ring;
    std::vector<Push>& pushes = findings.pushes;
    RotationFit& fit = findings.fit;
    int& fittedFrom = findings.fittedFrom;
    std::optional<Sense>& sense = findings.sense;
    std::optional<MotionElsewhere>& elsewhere = findings.elsewhere;
};

} // namespace

bool Findings::Trusted() const { return fit.holds && std::max(fit.sigma.x, fit.sigma.y) <= surest; }

double Findings::ToothStep() const
{
    return Trusted() && ring.teeth ? ToothStepOf(fit, ring) : std::abs(ring.step);
}

bool Findings::OtherMotionFound() const
{
    return elsewhere && elsewhere->share >= otherFrom &&
           Distance(elsewhere->where, ring.middle) > 0.4 * ring.ring->outer;
}

std::optional<Place> CentreFound(const RunSeen& run)
{
    if (run.outcome.result != 0 || !run.outcome.region || !run.arguments) return {};
    return Place{double(run.outcome.region->left) + run.arguments->centreX,
                 double(run.outcome.region->top) + run.arguments->centreY};
}

Findings FindingsOf(const RunSeen& run) { return Measuring(run).Result(); }

} // namespace telvane

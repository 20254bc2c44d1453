// The frames of a run measured, step after step.
#include <diagnosis/Findings.h>

#include <diagnosis/Changes.h>
#include <diagnosis/Steady.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <numbers>

namespace telvane {

namespace {

const double surest = 0.7;       // standard deviation of the rotation's centre that a verdict may rest on
const double otherFrom = 0.15;   // share of the motion that can mislead
const double leastShift = 0.04;  // pixels, root mean square, by which a camera shakes
const double shiftSigma = 0.015; // deviation to which that is known between two frames, pixels

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
    const CubByte& Frames() const { return steady ? *steady : run.frames; }

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
        LookAtFlow();
        if (quality.moving <= 0) return;

        LocateRing();
        if (Steady()) {
            LookAtFlow();
            if (quality.moving <= 0) return;
            LocateRing();
        }
        FindRotation(masks);
        straight = Straight(cells);
        if (!Trusted() && !ring.ring && straight.share >= straightFrom) {
            // What goes straight on hides a wheel that moves more weakly.
            motion = Summarise(Otherwise(cells, straight));
            LocateRing();
            if (!ring.ring) {
                masks.push_back(straight.box);
                const std::vector<MotionCell> all = cells;
                LookAtFlow();
                cells = all;
                LocateRing();
            }
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

    void LookAtFlow()
    {
        MatShort u, v;
        const bool given = !steady && IsFlow(run.u) && IsFlow(run.v);
        if (!given) FlowOf(Frames(), times, u, v);
        cells = MotionCells(given ? run.u : u, given ? run.v : v, masks);
        motion = Summarise(cells);
    }

    /// Takes off what the camera moved, where the wheel shares it. \return whether it moved
    bool Steady()
    {
        const double around = ring.ring ? 1.1 * ring.ring->outer + 12 : 0;
        const double noise = NoiseBetween(run.frames, 0, 1, {0, 0, run.frames.dim1, run.frames.dim2});
        const std::vector<Place> moved = ShiftsOf(changes, noise, masks, ring.middle, around);
        if (moved.empty()) return false;
        const auto n = static_cast<double>(moved.size());
        Place middle, wheel;
        double seen = 0;
        for (const Place& shift : moved) middle = {middle.x + shift.x / n, middle.y + shift.y / n};
        for (const std::optional<Place>& place : places)
            if (place) wheel = {wheel.x + place->x, wheel.y + place->y}, seen++;
        double squares = 0, shared = 0, both = 0;
        for (std::size_t t = 0; t < moved.size(); t++) {
            const double dx = moved[t].x - middle.x, dy = moved[t].y - middle.y;
            squares += dx * dx + dy * dy;
            if (t >= places.size() || !places[t]) continue;
            both += dx * dx + dy * dy;
            shared += dx * (places[t]->x - wheel.x / seen) + dy * (places[t]->y - wheel.y / seen);
        }
        if (std::sqrt(squares / n) < leastShift) return false;
        // The ring's middle is found to some tenths of a pixel in each frame.
        const double clearly = 1;
        if (both > clearly && std::abs(shared / both - 1) > 0.5) return false;
        findings.shifts = moved;
        steady.emplace(Steadied(run.frames, moved));
        changes = ChangesOf(*steady);
        quality = QualityOf(*steady, changes);
        return true;
    }

    /// Teeth lie evenly about the axis where the camera stands askew, and about the ring's middle where that
    /// is not the axis: they are counted where they are clearer.
    void LookAboutAxis()
    {
        if (!ring.ring) {
            Consider(fit.centre);
            if (ring.ring) FindPushes();
        } else if (Distance(ring.middle, fit.centre) > Nearby(ring)) {
            RingFound about = FindRing(Frames(), times, changes, fit.centre, masks);
            if (!about.teeth || !(about.clear > ring.clear)) return;
            const double furthest = 16; // pixels that a ring may lie beside its axis
            if (about.ring && Distance(ring.middle, fit.centre) > furthest) {
                ring = about;
                return;
            }
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

    /// Of the rings about several centres the one that is like what the run was told, or else the clearest.
    void LocateRing()
    {
        ring = {};
        SearchRing();
        if (ring.ring) FindPushes();
    }

    void SearchRing()
    {
        if (motion.turns && Consider(motion.centre)) return;
        if (found && NearPicture(*found) && Consider(*found)) return;
        const std::optional<Place> outline = OutlineMiddle(changes, masks);
        if (outline && Consider(*outline)) return;
        if (Consider(MiddleOf(changes, masks)) || !ring.ring) return;
        // Another wheel may turn as well.
        std::vector<MotionCell> others;
        for (const MotionCell& cell : cells)
            if (Distance(cell.at, ring.middle) > 1.1 * ring.ring->outer) others.push_back(cell);
        const MotionSummary other = Summarise(others);
        if (other.turns) Consider(other.centre);
    }

    /// Takes the ring about a centre where it is better than the one known. \return whether none can be
    /// better
    bool Consider(const Place& centre)
    {
        RingFound seen = FindRing(Frames(), times, changes, centre, masks);
        if (!seen.ring) return false;
        if (Distance(seen.middle, centre) > Nearby(seen)) {
            const RingFound again = FindRing(Frames(), times, changes, seen.middle, masks);
            if (again.ring) seen = again;
        }
        if (!ring.ring || Told(seen) > Told(ring) || (Told(seen) == Told(ring) && seen.clear > ring.clear))
            ring = seen;
        return Told(ring) == 2;
    }

    /// How much of a ring is as the run was told: radii and teeth, 2; one of them, 1.
    int Told(const RingFound& seen) const
    {
        if (!Given()) return 2;
        const double apart = std::max(std::abs(seen.ring->inner - Given()->innerR),
                                      std::abs(seen.ring->outer - Given()->outerR));
        return (apart < 0.08 * seen.ring->outer) +
               (Given()->teeth == 0 ? seen.clear > 0.5 : Given()->teeth == *seen.teeth);
    }

    void FindPushes()
    {
        places = findings.shifts.empty()
                     ? RingPlaces(Frames(), ring.middle, *ring.ring, *ring.teeth, masks)
                     : std::vector<std::optional<Place>>(findings.shifts.begin(), findings.shifts.end());
        pushes = PushesOf(places);
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
        if (!pushes.empty() && findings.shifts.empty()) {
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
        fit = FitRotation(Frames()(RNG::All(), RNG::All(), RNG(from, to)),
                          {times.begin() + from, times.begin() + to + 1}, start, leftOut);
        const double angle = std::abs(fit.degreesPerFrame) * fit.gap * std::numbers::pi / 180;
        if (!steady || !(angle > 0)) return;
        fit.sigma = {std::hypot(fit.sigma.x, shiftSigma / angle),
                     std::hypot(fit.sigma.y, shiftSigma / angle)};
    }

    const RunSeen& run;
    const std::optional<Place> found;
    std::optional<CubByte> steady;            ///< the frames, where the camera moved
    std::vector<std::optional<Place>> places; ///< of the same thing in each frame
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

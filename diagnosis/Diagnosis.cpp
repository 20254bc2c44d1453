// From what was measured to the verdict, its cure, the remarks and the arguments that fit.
#include <diagnosis/Diagnosis.h>

#include <diagnosis/Changes.h>
#include <diagnosis/FrameQuality.h>
#include <diagnosis/Motion.h>
#include <diagnosis/Ring.h>
#include <diagnosis/Rotation.h>
#include <diagnosis/Words.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <numbers>

namespace telvane {

namespace {

// An answer in whole pixels lies up to 0.7 px beside the centre, and both methods err by some 1.5 px more.
const double closeEnough = 2.4; // pixels between the centre found and the rotation's
// Light and lens shift what is seen by about this, in pixels. The smaller the angle, the more it moves the
// centre.
const double unseenShift = 0.003;
const double leastDoubt = 0.3;  // pixels that make a difference
const double mostDoubt = 1.2;   // pixels that doubt takes off it
const double surest = 0.7;      // standard deviation of the rotation's centre that a verdict may rest on
const double tooFastFrom = 0.4; // of a tooth from frame to frame: half a tooth has no sense
const double darkest = 60;      // grey value that the brightest of the ring should exceed
const double worstFlicker = 0.15;
const double otherFrom = 0.15; // share of the motion that can mislead
const double mostClipped = 0.3;
const double straightFrom = 0.75; // share of the motion in one direction; of half a wheel's it is 2 / pi
const double mostUneven = 0.12;   // of a tooth
const double noisiest = 4;        // grey levels
const double worstPush = 1;       // pixels
const double mostEccentric = 1.5; // pixels between the ring's middle and the rotation's centre

double Distance(const Place& a, const Place& b) { return std::hypot(a.x - b.x, a.y - b.y); }

std::string Plural(int number, const char* one, const char* several)
{
    return std::to_string(number) + ' ' + (number == 1 ? one : several);
}

/// Goes from the frames to the verdict.
class Judge {
public:
    explicit Judge(const RunSeen& r) : run(r) {}

    Diagnosis Result()
    {
        Answer();
        if (HasFrames()) Measure();
        Decide();
        Remark();
        Propose();
        return diagnosis;
    }

private:
    /// For the flow, and for anything to be seen.
    bool LargeEnough() const { return run.frames.dim1 >= 32 && run.frames.dim2 >= 32; }
    bool HasFrames() const { return run.frames.p_data != nullptr && run.frames.dim3 >= 1; }
    int Count() const { return HasFrames() ? run.frames.dim3 : 0; }
    const RunArguments* Given() const { return run.arguments ? &*run.arguments : nullptr; }
    bool Votes() const { return Given() && Given()->HowSearched() == Method::votes; }
    bool Answered() const { return run.outcome.result == 0 && run.outcome.region.has_value(); }
    bool Refused() const { return run.outcome.result.value_or(0) != 0; }

    void Answer()
    {
        if (Answered() && Given())
            diagnosis.found = Place{double(run.outcome.region->left) + Given()->centreX,
                                    double(run.outcome.region->top) + Given()->centreY};
    }

    // ------------------------------------------------------------------------------ measuring

    void Measure()
    {
        times = Given() ? Given()->Times() : std::vector<int>();
        while (static_cast<int>(times.size()) < Count())
            times.push_back(times.empty() ? 0 : times.back() + 1);
        times.resize(static_cast<std::size_t>(Count()));
        if (Given()) masks = Given()->masks;
        if (Count() < 2 || !LargeEnough()) return;

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
        if (!Trusted() && OtherMotionFound()) {
            // Once more without it.
            std::vector<Region> more = masks;
            more.push_back(elsewhere.box);
            FindRotation(more);
            LearnSense();
            LookElsewhere();
        }
        diagnosis.ring = ring.ring;
        diagnosis.teeth = ring.teeth;
        if (!Trusted()) return;
        diagnosis.centre = fit.centre;
        diagnosis.sigma = fit.sigma;
        diagnosis.limit = std::max(fit.limit.x, fit.limit.y);
        diagnosis.degreesPerFrame = fit.degreesPerFrame;
        diagnosis.explained = fit.explained;
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
        diagnosis.sense.reset();
        if (ring.teeth && ToothStep() >= tooFastFrom && ToothStep() <= 1 - tooFastFrom) return;
        if (Trusted()) diagnosis.sense = of(fit.degreesPerFrame);
        else if (ring.teeth && ring.steady > 0.8) diagnosis.sense = of(ring.step);
        else if (motion.turns && motion.agrees > 0.8) diagnosis.sense = motion.sense;
    }

    void LookElsewhere()
    {
        diagnosis.elsewhere.reset();
        if (!diagnosis.sense || !ring.ring) return;
        elsewhere = Elsewhere(cells, Trusted() ? fit.centre : ring.middle, *ring.ring, *diagnosis.sense);
        diagnosis.elsewhere = elsewhere.share;
    }

    /// At one place, and not all over the wheel as noise is.
    bool OtherMotionFound() const
    {
        return diagnosis.elsewhere && elsewhere.share >= otherFrom &&
               Distance(elsewhere.where, ring.middle) > 0.4 * ring.ring->outer;
    }

    /// About the flow's centre, or else about the one found, or else about the middle of what changes.
    void LocateRing()
    {
        std::vector<Place> centres;
        if (motion.turns) centres.push_back(motion.centre);
        if (diagnosis.found && NearPicture(*diagnosis.found)) centres.push_back(*diagnosis.found);
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
        if (diagnosis.found && NearPicture(*diagnosis.found) && !ring.ring &&
            Given()->innerR < Given()->outerR && Given()->innerR >= 0)
            starts.push_back({*diagnosis.found, double(Given()->innerR), double(Given()->outerR)});

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
            if (!Trusted() && fit.gap > 1 && std::abs(std::remainder(ToothStepOf(fit) * fit.gap, 1)) < 0.1)
                Fit(from, from + (to - from + 1) / 2, start, leftOut);
            if (Trusted()) return;
        }
    }

    void Fit(int from, int to, const RotationStart& start, const std::vector<Region>& leftOut)
    {
        fit = FitRotation(run.frames(RNG::All(), RNG::All(), RNG(from, to)),
                          {times.begin() + from, times.begin() + to + 1}, start, leftOut);
    }

    bool Trusted() const { return fit.holds && std::max(fit.sigma.x, fit.sigma.y) <= surest; }

    // ------------------------------------------------------------------------------ the verdict

    bool Say(Verdict verdict, const std::string& evidence, const std::string& cure)
    {
        diagnosis.verdict = verdict;
        diagnosis.evidence = evidence;
        diagnosis.cure = cure;
        return true;
    }

    void Decide()
    {
        if (Failed() || FramesUseless()) return;
        if (Trusted() && diagnosis.found && Apart() <= closeEnough - Doubt()) {
            Good();
            return;
        }
        if (Pushed()) return;
        // Poor frames are the cause only where nothing that the run was told is plainly wrong.
        const bool toldWrong = Trusted() && (RadiiWrong() || (Votes() && SenseWrong()));
        if (!toldWrong && !FramesStill() && FramesPoor()) return;
        if (Still() || TooFast() || OtherMotion() || TooDoubtful() || WrongRadii() || WrongSense()) return;
        if (Refused()) {
            NoResult();
            return;
        }
        if (Trusted() && diagnosis.found) Disagree();
        else Unclear();
    }

    /// By how much the rotation's centre may be off, pixels.
    double Doubt() const
    {
        const double angle = std::abs(fit.degreesPerFrame) * std::max(fit.gap, 1) * std::numbers::pi / 180;
        const double doubt = 2 * std::max(fit.sigma.x, fit.sigma.y) + unseenShift / std::max(angle, 1e-6);
        return std::min(doubt, mostDoubt);
    }

    /// An answer that may lie near or not, as far as the rotation's centre is known.
    bool TooDoubtful()
    {
        if (!Trusted() || !diagnosis.found || Doubt() < leastDoubt || Apart() > closeEnough + Doubt())
            return false;
        return Say(Verdict::unclear,
                   "The centre of the rotation at " + PlaceText(fit.centre) + " is known to " +
                       NumberText(Doubt(), 1) + " px only, and the centre found lies " +
                       NumberText(Apart(), 1) + " px from it.",
                   "Take more frames, or let the wheel turn further from frame to frame.");
    }

    /// How far the answer lies from the rotation's centre; of its places before and after pushes, the
    /// furthest.
    double Apart() const
    {
        Place middle = fit.centre;
        for (const Push& push : pushes)
            if (push.frame <= fittedFrom) middle = {middle.x - push.by.x, middle.y - push.by.y};
        double apart = Distance(*diagnosis.found, middle); // in the first frame
        for (const Push& push : pushes) {
            middle = {middle.x + push.by.x, middle.y + push.by.y};
            apart = std::max(apart, Distance(*diagnosis.found, middle));
        }
        return apart;
    }

    bool Failed()
    {
        if (run.outcome.failure.empty()) return false;
        return Say(Verdict::failed, "The run ended without a detection: " + run.outcome.failure + '.',
                   "Remove the cause that the message names, then run it again.");
    }

    /// What no answer can be trusted with.
    bool FramesUseless()
    {
        if (!HasFrames()) return false;
        if (Count() < 2)
            return Say(Verdict::badFrames, "There is 1 frame only: motion shows between two.",
                       "Take 15 frames.");
        bool compared = false;
        std::vector<int> gone, again; // frames before and behind such gaps, from 1
        for (std::size_t i = 0; i + 1 < times.size(); i++) {
            if (times[i + 1] - times[i] != 1) continue;
            compared = true;
            if (i >= run.lost.size()) continue;
            if (run.lost[i] > 0) gone.push_back(static_cast<int>(i) + 1);
            if (run.lost[i] == RunSeen::again) again.push_back(static_cast<int>(i) + 2);
        }
        if (!compared)
            return Say(Verdict::badFrames,
                       "No two frames are compared: with different periods only those that lie one camera "
                       "frame apart are.",
                       "Give the same number for -p1 and -p2, or 1 for one of them.");
        if (!gone.empty())
            return Say(Verdict::badFrames,
                       "The camera lost frames after frame " + ListText(gone) +
                           ", so that the wheel went further there than between the others.",
                       "Run it again, with less else to do for the computer and its storage.");
        if (!again.empty())
            return Say(Verdict::badFrames,
                       "The camera had no new picture for frame " + ListText(again) +
                           ", and an old one was taken again.",
                       "Run it again; if that does not help, see to the camera's cable and power supply.");
        if (!quality.repeated.empty()) {
            std::vector<int> numbers;
            for (const int frame : quality.repeated) numbers.push_back(frame + 1);
            return Say(Verdict::badFrames,
                       (numbers.size() == 1 ? "Frame " : "Frames ") + ListText(numbers) + " of " +
                           std::to_string(Count()) +
                           (numbers.size() == 1 ? " shows the same as the one before it."
                                                : " show the same as the ones before them."),
                       "Let the camera deliver a new picture for each frame: a shorter exposure, or larger "
                       "periods (-p1 and -p2).");
        }
        return false;
    }

    double LargestPush() const
    {
        double largest = 0;
        for (const Push& push : pushes) largest = std::max(largest, std::hypot(push.by.x, push.by.y));
        return largest;
    }

    /// The answer does not hold both before and after it.
    bool Pushed()
    {
        if (LargestPush() < worstPush) return false;
        std::vector<int> numbers;
        for (const Push& push : pushes) numbers.push_back(push.frame + 1);
        const Push& first = pushes[0];
        return Say(Verdict::badFrames,
                   "The picture jumped before frame " + ListText(numbers) + ", by " +
                       DirectionText(first.by) + ": the camera was pushed, or the wheel's bearing gave way.",
                   "Fix the camera to the machine, and run it again.");
    }

    void Good()
    {
        Say(Verdict::good,
            "The centre found lies " + NumberText(Apart(), 1) + " px from the centre of the rotation at " +
                PlaceText(fit.centre) + ", which is known to " +
                NumberText(std::max(std::max(fit.sigma.x, fit.sigma.y), 0.1), 1) + " px.",
            "");
    }

    bool FramesStill() const { return HasFrames() && LargeEnough() && !(quality.moving > 0); }

    bool Still()
    {
        const char* const turn = "Let the wheel turn, by 1 to 3 pixels at the teeth from frame to frame";
        if (FramesStill())
            return Say(Verdict::still,
                       "Nothing turns: between the frames the picture changes by no more than its noise of " +
                           NumberText(quality.noise, 1) + " grey levels.",
                       std::string(turn) + ", and run it again.");
        if (!HasFrames() || Trusted() || ring.teeth) return false;
        if (straight.share < straightFrom) return false;
        return Say(Verdict::still,
                   "Nothing turns: what moves goes straight on, around " + PlaceText(straight.where) + '.',
                   std::string(turn) + ", cover what else moves or blank it with -m, and run it again.");
    }

    /// Of a tooth, from frame to frame; 0 where the teeth are not known.
    double ToothStepOf(const RotationFit& rotation) const
    {
        return std::abs(rotation.degreesPerFrame) * ring.teeth.value_or(0) / 360;
    }
    double ToothStep() const { return Trusted() && ring.teeth ? ToothStepOf(fit) : std::abs(ring.step); }

    bool TooFast()
    {
        if (!ring.teeth || !(ToothStep() >= tooFastFrom)) return false;
        return Say(Verdict::tooFast,
                   "From frame to frame the wheel goes on by " + NumberText(ToothStep(), 2) +
                       " of a tooth: from half a tooth on, forwards looks like backwards.",
                   "Let the wheel turn more slowly, or take frames faster, so that the teeth go on by less "
                   "than a third of a tooth.");
    }

    std::string MaskText() const
    {
        const Region box = InPicture(elsewhere.box);
        std::string text = "-m";
        for (const int number : {box.left, box.top, box.width, box.height})
            text += ' ' + std::to_string(number);
        return text;
    }

    Region InPicture(const Region& box) const
    {
        const int left = std::clamp(box.left, 0, run.frames.dim1 - 1),
                  top = std::clamp(box.top, 0, run.frames.dim2 - 1);
        return {left, top, std::min(box.left + box.width, run.frames.dim1) - left,
                std::min(box.top + box.height, run.frames.dim2) - top};
    }

    bool OtherMotion()
    {
        if (!OtherMotionFound()) return false;
        return Say(Verdict::otherMotion,
                   ShareText(elsewhere.share) + " of the motion is not the wheel's: it lies " +
                       WhereText(elsewhere.where, run.frames.dim1, run.frames.dim2) +
                       " of the picture, around " + PlaceText(elsewhere.where) + '.',
                   "Cover what moves there, or blank it with " + MaskText() + ", and run it again.");
    }

    double RadiusTolerance() const { return std::max(3.0, 0.015 * diagnosis.ring->outer); }
    double InnerWrong() const { return Given()->innerR - diagnosis.ring->inner; }
    double OuterWrong() const { return Given()->outerR - diagnosis.ring->outer; }
    bool RadiiWrong() const
    {
        return Given() && diagnosis.ring &&
               std::max(std::abs(InnerWrong()), std::abs(OuterWrong())) > RadiusTolerance();
    }

    bool SenseWrong() const { return Given() && diagnosis.sense && Given()->Told() != diagnosis.sense; }

    std::string RadiiTold() const
    {
        return "the run was told the radii " + std::to_string(Given()->innerR) + " and " +
               std::to_string(Given()->outerR) + " px";
    }
    std::string RadiiSeen() const
    {
        return NumberText(diagnosis.ring->inner, 0) + " and " + NumberText(diagnosis.ring->outer, 0);
    }
    std::string SenseTold() const
    {
        const std::optional<Sense> told = Given()->Told();
        return told ? std::string("the run was told ") + SenseText(*told) : "the run was told no sense";
    }

    bool WrongRadii()
    {
        if (!Trusted() || !RadiiWrong()) return false;
        const bool senseToo = Votes() && SenseWrong();
        return Say(Verdict::wrongRadii,
                   "The teeth lie between " + RadiiSeen() + " px from the centre, and " + RadiiTold() + '.',
                   "Give the radii " + RadiiSeen() + " px" +
                       (senseToo ? std::string(", and the sense ") + SenseText(*diagnosis.sense) : "") +
                       ", and run it again.");
    }

    bool WrongSense()
    {
        if (!Trusted() || !Votes() || !SenseWrong()) return false;
        return Say(Verdict::wrongSense,
                   std::string("The wheel turns ") + SenseText(*diagnosis.sense) + ", by " +
                       NumberText(std::abs(fit.degreesPerFrame), 2) + " degrees from frame to frame, and " +
                       SenseTold() + '.',
                   std::string("Give the angular speed as ") +
                       (*diagnosis.sense == Sense::clockwise ? "1" : "-1") + ", and run it again.");
    }

    /// What makes frames hard to judge, where nothing else explains the answer.
    bool FramesPoor()
    {
        if (!HasFrames()) return false;
        if (quality.flicker > worstFlicker)
            return Say(Verdict::badFrames,
                       "The light changes by " + ShareText(quality.flicker) + " from frame to frame.",
                       "Take a lamp that does not flicker, or an exposure of whole periods of the mains.");
        if (quality.moving > 0 && quality.bright < darkest)
            return Say(Verdict::badFrames,
                       "The picture is dark: of 255 grey levels the brightest of what moves reaches " +
                           NumberText(quality.bright, 0) + '.',
                       "Give more light, or a longer exposure.");
        if (Votes() && quality.noise > noisiest)
            return Say(Verdict::badFrames,
                       "The frames are noisy, by " + NumberText(quality.noise, 1) +
                           " grey levels, which misleads flow voting.",
                       "Give more light and less gain, or take the ring search (-1 as the third radius).");
        if (quality.clipped > mostClipped)
            return Say(Verdict::badFrames,
                       ShareText(quality.clipped) + " of the picture is as bright as can be.",
                       "Take less light, or a shorter exposure.");
        return false;
    }

    void Disagree()
    {
        const Place way{diagnosis.found->x - fit.centre.x, diagnosis.found->y - fit.centre.y};
        Say(Verdict::disagree,
            "The centre found lies " + NumberText(Apart(), 1) + " px from the centre of the rotation at " +
                PlaceText(fit.centre) + ": " + DirectionText(way) + '.',
            Votes() ? "Try the ring search (-1 as the third radius), and check that the camera stands square "
                      "to the wheel."
                    : "Try flow voting (0 as the third radius): the ring may not lie round the axis, or not "
                      "be a circle in the picture.");
    }

    void NoResult()
    {
        std::string said = "The program answered " + std::to_string(*run.outcome.result);
        if (!run.outcome.message.empty()) said += ": " + run.outcome.message;
        if (!said.ends_with('.')) said += '.';
        if (Trusted() && Given() && !RegionFits())
            Say(Verdict::noResult,
                "The region around the centre of the rotation at " + PlaceText(fit.centre) +
                    " would reach out of the picture. " + said,
                "Make the region smaller, move the place of the centre in it, or move the camera.");
        else
            Say(Verdict::noResult, said,
                "Check the arguments, and that the whole wheel and the region around it lie in the picture.");
    }

    /// As the program tests it: the region ends at least one pixel inside.
    bool RegionFits() const
    {
        const double left = std::rint(fit.centre.x - Given()->centreX),
                     top = std::rint(fit.centre.y - Given()->centreY);
        return left >= 0 && top >= 0 && left + Given()->width < run.frames.dim1 &&
               top + Given()->height < run.frames.dim2;
    }

    void Unclear()
    {
        if (!HasFrames()) {
            Say(Verdict::unclear, "Without frames nothing can be judged.",
                "Keep the frames of the run (-s), and give them.");
            return;
        }
        if (!Trusted()) {
            Say(Verdict::unclear, "No rotation can be told from the frames well enough to judge the answer.",
                "Take more frames, with more light, in which the teeth go on by 1 to 3 pixels each.");
            return;
        }
        if (!run.outcome.result) {
            Say(Verdict::unclear,
                "The wheel turns about " + PlaceText(fit.centre) +
                    ", but what the program answered is not known.",
                "Give the run's result and region.");
            return;
        }
        Say(Verdict::unclear,
            "The wheel turns about " + PlaceText(fit.centre) +
                ", but where in the region its centre is to lie is not known.",
            "Give the command line of the run.");
    }

    // ------------------------------------------------------------------------------ remarks and proposal

    void Note(const std::string& remark) { diagnosis.remarks.push_back(remark); }

    void Remark()
    {
        const Verdict verdict = diagnosis.verdict;
        if (verdict == Verdict::failed || Count() < 2) return;
        if (diagnosis.ring && RadiiWrong() && verdict != Verdict::wrongRadii)
            Note("The teeth lie between " + RadiiSeen() + " px from the centre; " + RadiiTold() + '.');
        if (SenseWrong() && verdict != Verdict::wrongSense && (Votes() || Given()->Told()))
            Note(std::string("The wheel turns ") + SenseText(*diagnosis.sense) + "; " + SenseTold() +
                 (Votes() ? "." : ", which the ring search does not use."));
        if (Given() && ring.teeth && Given()->teeth != 0 && Given()->teeth != *ring.teeth)
            Note("The wheel has " + Plural(*ring.teeth, "tooth", "teeth") + "; the run was told " +
                 std::to_string(Given()->teeth) + '.');
        if (verdict != Verdict::otherMotion && OtherMotionFound())
            Note(ShareText(elsewhere.share) + " of the motion is not the wheel's, around " +
                 PlaceText(elsewhere.where) + '.');
        if (verdict != Verdict::badFrames) {
            if (!pushes.empty())
                Note("The picture jumped by " + NumberText(LargestPush(), 1) + " px before frame " +
                     std::to_string(pushes[0].frame + 1) + '.');
            if (ring.uneven > mostUneven && verdict != Verdict::tooFast)
                Note("The wheel does not turn evenly: once the teeth go on by " + NumberText(ring.uneven, 2) +
                     " of a tooth more or less than usually.");
            if (quality.flicker > 0.02)
                Note("The light changes by " + ShareText(quality.flicker) + " from frame to frame.");
            if (quality.moving > 0 && quality.bright < darkest)
                Note("The picture is dark: the brightest of what moves reaches " +
                     NumberText(quality.bright, 0) + " of 255 grey levels.");
        }
        if (Trusted() && ring.ring && Distance(ring.middle, fit.centre) > mostEccentric)
            Note("The middle of the ring lies " + NumberText(Distance(ring.middle, fit.centre), 1) +
                 " px from the centre that it turns about: it is eccentric, or the camera stands askew.");
        if (quality.clipped > 0.05)
            Note(ShareText(quality.clipped) + " of the picture is as bright as can be.");
    }

    void Propose()
    {
        if (!Given() || !Trusted() || !diagnosis.ring) return;
        Proposal proposal;
        RunArguments& arguments = proposal.arguments = *Given();
        arguments.innerR = static_cast<int>(std::lround(diagnosis.ring->inner));
        arguments.outerR =
            std::max(static_cast<int>(std::lround(diagnosis.ring->outer)), arguments.innerR + 1);
        proposal.ring = RadiiWrong();
        if (SenseWrong()) {
            const int speed = std::max(std::abs(arguments.turn), 1);
            arguments.turn = *diagnosis.sense == Sense::clockwise ? speed : -speed;
            proposal.sense = true;
        }
        if (ring.teeth) arguments.teeth = *ring.teeth;
        const Method best = RingSearchable() ? Method::ring : Method::votes;
        if (best != arguments.HowSearched() && diagnosis.verdict != Verdict::good) {
            arguments.offset = best == Method::ring ? -1 : 0;
            proposal.method = true;
        }
        if (diagnosis.verdict == Verdict::otherMotion && arguments.masks.size() < 3)
            arguments.masks.push_back(InPicture(elsewhere.box));
        diagnosis.proposal = proposal;
    }

    /// The ring search needs the whole ring, round and about the axis.
    bool RingSearchable() const
    {
        const double r = diagnosis.ring->outer + 2;
        const Place& c = fit.centre;
        return c.x - r >= 0 && c.y - r >= 0 && c.x + r <= run.frames.dim1 - 1 &&
               c.y + r <= run.frames.dim2 - 1 && Distance(ring.middle, c) < mostEccentric && ring.oval < 3;
    }

    const RunSeen& run;
    std::vector<int> times;
    std::vector<Region> masks;
    Changes changes;
    FrameQuality quality;
    std::vector<MotionCell> cells;
    MotionSummary motion;
    RotationFit fit;
    RingFound ring;
    std::vector<Push> pushes;
    int fittedFrom = 0; // the first frame of those that the fit saw
    StraightMotion straight;
    MotionElsewhere elsewhere;
    Diagnosis diagnosis;
};

} // namespace

const char* Name(Verdict verdict)
{
    switch (verdict) {
    case Verdict::failed: return "failed";
    case Verdict::badFrames: return "bad-frames";
    case Verdict::still: return "still";
    case Verdict::tooFast: return "too-fast";
    case Verdict::otherMotion: return "other-motion";
    case Verdict::wrongRadii: return "wrong-radii";
    case Verdict::wrongSense: return "wrong-sense";
    case Verdict::disagree: return "disagree";
    case Verdict::unclear: return "unclear";
    case Verdict::noResult: return "no-result";
    case Verdict::good: return "good";
    }
    return "";
}

Diagnosis Diagnose(const RunSeen& run) { return Judge(run).Result(); }

} // namespace telvane

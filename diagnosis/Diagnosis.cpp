// From what was measured to the verdict, its cure, the remarks and the arguments that fit.
#include <diagnosis/Diagnosis.h>

#include <diagnosis/Findings.h>
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
const double leastDoubt = 0.3; // pixels that make a difference
const double mostDoubt = 1.2;  // pixels that doubt takes off it
const double darkest = 60;     // grey value that the brightest of the ring should exceed
const double worstFlicker = 0.15;
const double mostClipped = 0.3;
const double mostUneven = 0.12;   // of a tooth
const double noisiest = 4;        // grey levels
const double worstPush = 1;       // pixels
const double mostEccentric = 1.5; // pixels between the ring's middle and the rotation's centre
const char* const check =
    "Check the arguments, and that the whole wheel and the region around it lie in the picture.";

std::string Plural(int number, const char* one, const char* several)
{
    return std::to_string(number) + ' ' + (number == 1 ? one : several);
}

/// Goes from what was measured to the verdict.
class Judge {
public:
    Judge(const RunSeen& r, const Findings& f) : run(r), findings(f) {}

    Diagnosis Result()
    {
        Measured();
        Decide();
        Remark();
        Propose();
        return diagnosis;
    }

private:
    bool HasFrames() const { return run.frames.p_data != nullptr && run.frames.dim3 >= 1; }
    int Count() const { return HasFrames() ? run.frames.dim3 : 0; }
    const RunArguments* Given() const { return run.arguments ? &*run.arguments : nullptr; }
    bool Votes() const { return Given() && Given()->HowSearched() == Method::votes; }
    bool Refused() const { return run.outcome.result.value_or(0) != 0; }

    bool Trusted() const { return findings.Trusted(); }
    bool OtherMotionFound() const { return findings.OtherMotionFound(); }
    double ToothStep() const { return findings.ToothStep(); }

    void Measured()
    {
        diagnosis.found = CentreFound(run);
        diagnosis.sense = findings.sense;
        diagnosis.ring = ring.ring;
        diagnosis.teeth = ring.teeth;
        if (findings.elsewhere) diagnosis.elsewhere = findings.elsewhere->share;
        if (!Trusted()) return;
        diagnosis.centre = fit.centre;
        diagnosis.sigma = fit.sigma;
        diagnosis.limit = std::max(fit.limit.x, fit.limit.y);
        diagnosis.degreesPerFrame = fit.degreesPerFrame;
        diagnosis.explained = fit.explained;
    }

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
        if (CameraMoved()) return;
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
        if (!findings.shifts.empty()) {
            double furthest = 0;
            for (const Place& by : findings.shifts)
                furthest = std::max(furthest,
                                    Distance(*diagnosis.found, {fit.centre.x + by.x, fit.centre.y + by.y}));
            return furthest;
        }
        Place middle = fit.centre;
        for (const Push& push : pushes)
            if (push.frame <= findings.fittedFrom) middle = {middle.x - push.by.x, middle.y - push.by.y};
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

    /// How far apart two frames are at most that show the same at two places.
    double Span() const
    {
        double widest = 0;
        for (const Place& one : findings.shifts)
            for (const Place& other : findings.shifts) widest = std::max(widest, Distance(one, other));
        return widest;
    }

    /// The answer does not hold for all of the frames.
    bool CameraMoved()
    {
        const char* const fix = "Fix the camera to the machine, and run it again.";
        if (LargestPush() >= worstPush) {
            std::vector<int> numbers;
            for (const Push& push : pushes) numbers.push_back(push.frame + 1);
            return Say(Verdict::badFrames,
                       "The picture jumped before frame " + ListText(numbers) + ", by " +
                           DirectionText(pushes[0].by) +
                           ": the camera was pushed, or the wheel's bearing gave way.",
                       fix);
        }
        if (Span() < worstPush) return false;
        return Say(Verdict::badFrames,
                   "The camera moves: what stands still is seen at places up to " + NumberText(Span(), 1) +
                       " px apart.",
                   fix);
    }

    void Good()
    {
        Say(Verdict::good,
            "The centre found lies " + NumberText(Apart(), 1) + " px from the centre of the rotation at " +
                PlaceText(fit.centre) + ", which is known to " +
                NumberText(std::max(std::max(fit.sigma.x, fit.sigma.y), 0.1), 1) + " px.",
            "");
    }

    bool FramesStill() const { return findings.measured && !(quality.moving > 0); }

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
                   std::string(turn) + ", cover what else moves or blank it with a mask, and run it again.");
    }

    bool TooFast()
    {
        if (!ring.teeth || !(ToothStep() >= tooFastFrom)) return false;
        return Say(Verdict::tooFast,
                   "From frame to frame the wheel goes on by " + NumberText(ToothStep(), 2) +
                       " of a tooth: from half a tooth on, forwards looks like backwards.",
                   "Let the wheel turn more slowly, or take frames faster, so that the teeth go on by less "
                   "than a third of a tooth.");
    }

    /// Where the other motion lies; without the side on which the wheel lies, if most is left then.
    Region Blank() const
    {
        const Region box = InPicture(findings.elsewhere->box);
        if (!ring.ring) return box;
        const auto at = [](double v) { return static_cast<int>(std::lround(v)); };
        const double r = ring.ring->outer + 2;
        const int left = at(ring.middle.x - r), right = at(ring.middle.x + r), top = at(ring.middle.y - r),
                  bottom = at(ring.middle.y + r);
        const int boxRight = box.left + box.width, boxBottom = box.top + box.height;
        if (left >= boxRight || right <= box.left || top >= boxBottom || bottom <= box.top) return box;
        Region largest{0, 0, 0, 0};
        for (const Region& part : {Region{box.left, box.top, left - box.left, box.height},
                                   Region{right, box.top, boxRight - right, box.height},
                                   Region{box.left, box.top, box.width, top - box.top},
                                   Region{box.left, bottom, box.width, boxBottom - bottom}})
            if (part.width > 0 && part.height > 0 &&
                part.width * part.height > largest.width * largest.height)
                largest = part;
        return 3 * largest.width * largest.height > box.width * box.height ? largest : box;
    }

    std::string MaskText() const
    {
        const Region box = Blank();
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
                   ShareText(findings.elsewhere->share) + " of the motion is not the wheel's: it lies " +
                       WhereText(findings.elsewhere->where, run.frames.dim1, run.frames.dim2) +
                       " of the picture, around " + PlaceText(findings.elsewhere->where) + '.',
                   "Cover what moves there, or blank it with a mask (" + MaskText() + "), and run it again.");
    }

    /// Of a ring that leaves the picture that is the cause, and not radii that are nearly right.
    double RadiusTolerance() const
    {
        return std::max(3.0, (Trusted() && !RingInside() ? 0.04 : 0.015) * diagnosis.ring->outer);
    }
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
        std::string cure = "Give the radii " + RadiiSeen() + " px";
        if (Votes() && SenseWrong()) cure += std::string(", and the sense ") + SenseText(*diagnosis.sense);
        if (BestMethod() != Given()->HowSearched())
            cure += std::string(", and take ") + (Votes() ? "the ring search (-1 as the third radius)"
                                                          : "flow voting (0 as the third radius)");
        if (OtherWheel())
            cure += ", if the wheel around " + PlaceText(fit.centre) +
                    " is the one; if not, cover it and let the other one turn";
        return Say(Verdict::wrongRadii,
                   "The teeth lie between " + RadiiSeen() + " px from the centre, and " + RadiiTold() + '.',
                   cure + ", and run it again.");
    }

    /// What turns has other teeth and quite another size than the run was told.
    bool OtherWheel() const
    {
        return ring.teeth && Given()->teeth != 0 && Given()->teeth != *ring.teeth &&
               std::abs(OuterWrong()) > 0.15 * diagnosis.ring->outer;
    }

    bool WrongSense()
    {
        if (!Trusted() || !Votes() || !SenseWrong()) return false;
        return Say(Verdict::wrongSense,
                   std::string("The wheel turns ") + SenseText(*diagnosis.sense) + ", by " +
                       NumberText(std::abs(fit.degreesPerFrame), 2) + " degrees from frame to frame, and " +
                       SenseTold() + '.',
                   std::string("Give the sense of rotation as ") + SenseText(*diagnosis.sense) +
                       " (an angular speed of " + (*diagnosis.sense == Sense::clockwise ? "1" : "-1") +
                       "), and run it again.");
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
        diagnosis.verdict = Verdict::disagree; // the other way depends on it
        Say(Verdict::disagree,
            "The centre found lies " + NumberText(Apart(), 1) + " px from the centre of the rotation at " +
                PlaceText(fit.centre) + ": " + DirectionText(way) + '.',
            OtherWay());
    }

    /// What may lead to an answer where nothing was told wrong.
    std::string OtherWay() const
    {
        const bool change = BestMethod() != Given()->HowSearched();
        if (!RingInside())
            return std::string("Move the camera until the whole ring lies in the picture") +
                   (change ? ", or try flow voting (0 as the third radius)." : ".");
        if (!change && RingRound()) return check;
        if (!change)
            return "The ring does not lie round the axis: stand the camera square to the wheel, let the "
                   "wheel turn further during the run, by half a turn or more, or take the centre of the "
                   "rotation.";
        return Votes() ? "Try the ring search (-1 as the third radius), and check that the camera stands "
                         "square to the wheel."
                       : "Try flow voting (0 as the third radius): the ring may not lie round the axis, or "
                         "not be a circle in the picture.";
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
        else if (Trusted() && diagnosis.ring && Given()) Say(Verdict::noResult, said, OtherWay());
        else Say(Verdict::noResult, said, check);
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
        if (verdict == Verdict::good && ring.teeth && ToothStep() >= tooFastFrom)
            Note("From frame to frame the wheel goes on by " + NumberText(ToothStep(), 2) +
                 " of a tooth: at half a tooth, forwards looks like backwards.");
        if (verdict != Verdict::otherMotion && OtherMotionFound())
            Note(ShareText(findings.elsewhere->share) + " of the motion is not the wheel's, around " +
                 PlaceText(findings.elsewhere->where) + '.');
        if (verdict != Verdict::badFrames) {
            if (!pushes.empty())
                Note("The picture jumped by " + NumberText(LargestPush(), 1) + " px before frame " +
                     std::to_string(pushes[0].frame + 1) + '.');
            else if (!findings.shifts.empty())
                Note("The camera moves: what stands still is seen at places up to " + NumberText(Span(), 1) +
                     " px apart.");
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
        const std::string clipped = ShareText(quality.clipped) + " of the picture is as bright as can be.";
        if (quality.clipped > 0.05 && clipped != diagnosis.evidence) Note(clipped);
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
        const Method best = BestMethod();
        if (best != arguments.HowSearched() && diagnosis.verdict != Verdict::good) {
            arguments.offset = best == Method::ring ? -1 : 0;
            proposal.method = true;
        }
        if (diagnosis.verdict == Verdict::otherMotion && arguments.masks.size() < 3)
            arguments.masks.push_back(Blank());
        diagnosis.proposal = proposal;
    }

    bool RingRound() const { return Distance(ring.middle, fit.centre) < mostEccentric && ring.oval < 3; }
    bool RingInside() const
    {
        const double r = diagnosis.ring ? diagnosis.ring->outer + 2 : 0;
        const Place& c = fit.centre;
        return c.x - r >= 0 && c.y - r >= 0 && c.x + r <= run.frames.dim1 - 1 &&
               c.y + r <= run.frames.dim2 - 1;
    }

    /// The ring search needs the whole ring, round and about the axis; or is nearer than votes that failed.
    Method BestMethod() const
    {
        if (!diagnosis.ring || !RingInside()) return Method::votes;
        if (RingRound()) {
            const bool failed = diagnosis.verdict == Verdict::disagree && !Votes();
            return failed ? Method::votes : Method::ring;
        }
        return Votes() && diagnosis.found && 2 * (Distance(ring.middle, fit.centre) + ring.oval) < Apart()
                   ? Method::ring
                   : Method::votes;
    }

    const RunSeen& run;
    const Findings& findings;
    // What was found, by shorter names.
    const std::vector<int>& times = findings.times;
    const FrameQuality& quality = findings.quality;
    const StraightMotion& straight = findings.straight;
    const RingFound& ring = findings.ring;
    const std::vector<Push>& pushes = findings.pushes;
    const RotationFit& fit = findings.fit;
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

Diagnosis DiagnosisOf(const RunSeen& run, const Findings& findings) { return Judge(run, findings).Result(); }

Diagnosis Diagnose(const RunSeen& run) { return DiagnosisOf(run, FindingsOf(run)); }

} // namespace telvane

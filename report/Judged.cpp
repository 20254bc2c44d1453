// From the files of a run to its diagnosis.
#include <report/Judged.h>

#include <report/Answer.h>

#include <cstddef>
#include <string>

namespace telvane {

namespace {

/// Frames that cannot be judged at all. Nothing where they can.
std::optional<Diagnosis> BadFrames(const RunFiles& files, bool framesNeeded)
{
    Diagnosis d;
    d.verdict = Verdict::badFrames;
    d.cure = "Take the frames again: at least two, each a whole grey picture of 1280 x 960 pixels.";
    const std::size_t bad = files.frameProblems.size();
    if (bad > 0) {
        if (!files.anyFrame && !framesNeeded) return {};
        d.evidence = files.frameProblems.front() + ".";
        if (bad > 1) {
            d.evidence.pop_back();
            d.evidence += ", and " + std::to_string(bad - 1) + (bad > 2 ? " more like it." : " other.");
        }
        return d;
    }
    if (files.frames.size() == 1) {
        d.evidence = "There is one frame only, and motion takes two.";
        return d;
    }
    if (files.frames.empty() && framesNeeded) {
        d.evidence = "There is no frame.";
        return d;
    }
    return {};
}

} // namespace

bool Known(const RunOutcome& outcome) { return !outcome.failure.empty() || outcome.result.has_value(); }

Judged Judge(const RunFiles& files, const std::optional<RunArguments>& arguments, const RunOutcome& outcome,
             const std::vector<int>& lost, bool framesNeeded)
{
    Judged run{files, arguments, outcome, false, {}, {}, false, {}, ""};
    const auto bad = outcome.failure.empty() ? BadFrames(files, framesNeeded) : std::optional<Diagnosis>();
    RunSeen seen;
    if (!bad && files.frames.size() > 1) seen.frames = Joined(files.frames);
    const bool hasFrames = seen.frames.dim3 > 1;
    if (run.arguments && hasFrames) run.arguments->count = seen.frames.dim3;

    // The answer, and the flow with it.
    MatShort u, v;
    if (run.arguments && hasFrames && !Known(outcome)) {
        run.outcome = Answer(seen.frames, *run.arguments, u, v);
        run.computed = true;
    }
    if (files.flowIsOfThisRun || (!hasFrames && files.u.dim1 > 0)) {
        run.u = files.u;
        run.v = files.v;
    } else {
        const bool allCompared = !run.arguments || run.arguments->period1 == run.arguments->period2;
        if (u.dim1 == 0 && hasFrames && allCompared) MakeFlow(seen.frames, u, v);
        run.u = u;
        run.v = v;
        run.flowMade = u.dim1 > 0;
    }
    if (bad) {
        run.diagnosis = *bad;
        return run;
    }
    seen.arguments = run.arguments;
    if (files.flowIsOfThisRun || run.flowMade) {
        seen.u = run.u;
        seen.v = run.v;
    }
    seen.outcome = run.outcome;
    seen.lost = lost;
    run.diagnosis = Diagnose(seen);
    if (run.diagnosis.verdict == Verdict::unclear && hasFrames && !run.arguments && run.diagnosis.centre)
        run.diagnosis.cure = "Give the command line of the run: telvane-report -- Telvane ...";
    if (run.computed && !run.outcome.failure.empty())
        run.diagnosis.cure =
            "Give every mask, and the region, a width and a height of at least 1, then run it again.";
    return run;
}

} // namespace telvane

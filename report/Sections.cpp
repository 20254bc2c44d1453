// Words and pictures of the sections. A caption has two sentences at most, and says nothing about runs that
// went another way.
#include <report/Sections.h>

#include <report/Flow.h>
#include <report/Page.h>
#include <report/Pictures.h>
#include <report/Votes.h>

#include <Telvane/Frames.h>
#include <marks/Marks.h>
#include <tools/Markup.h>
#include <tools/Numbers.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <optional>

namespace telvane {

namespace {

const char unknown[] = "not known";

// From these ratios of the peak to the next best place on it counts as clear, and as standing out. Drawn
// wheels give more than 4, or no other place at all; wrong radii and a wrong sense of rotation give less
// than 1.3.
const double clearRatio = 3, fairRatio = 1.5;

/// A verdict in words, and the colour of its edge.
struct VerdictWords {
    const char* kind;
    const char* heading;
};

VerdictWords WordsOf(Verdict verdict)
{
    switch (verdict) {
    case Verdict::failed: return {"bad", "The run failed: there is no result"};
    case Verdict::badFrames: return {"bad", "The frames cannot be used"};
    case Verdict::still: return {"bad", "Do not trust this result: nothing turns"};
    case Verdict::tooFast: return {"bad", "Do not trust this result: the wheel turns too fast"};
    case Verdict::otherMotion: return {"bad", "Do not trust this result: something else moves"};
    case Verdict::wrongRadii: return {"bad", "Do not trust this result: the radii are wrong"};
    case Verdict::wrongSense: return {"bad", "Do not trust this result: the wheel turns the other way"};
    case Verdict::disagree: return {"bad", "Do not trust this result: the wheel turns about another place"};
    case Verdict::unclear: return {"fair", "Whether the result is right cannot be told"};
    case Verdict::noResult: return {"bad", "No region was found"};
    case Verdict::good: return {"good", "Good: the result can be trusted"};
    }
    return {"fair", "Whether the result is right cannot be told"};
}

std::string InWords(Sense sense) { return sense == Sense::clockwise ? "clockwise" : "counter-clockwise"; }

std::string At(double x, double y, int digits)
{
    return std::string("(") + RoundedText(x, digits) + ", " + RoundedText(y, digits) + ")";
}

std::string Pixels(double a, double b, int digits)
{
    return RoundedText(a, digits) + " and " + RoundedText(b, digits) + " px";
}

/// As many digits as a deviation gives reason for.
int DigitsFor(const Place& sigma) { return std::max(sigma.x, sigma.y) < 0.1 ? 3 : 2; }

std::string ResultText(const Judged& run)
{
    const RunOutcome& o = run.outcome;
    if (!o.failure.empty()) return "none: " + o.failure + (o.message.empty() ? "" : " (" + o.message + ")");
    if (!o.result) return unknown;
    return "RESULT=" + std::to_string(*o.result) + (o.message.empty() ? "" : ", " + o.message) +
           (run.computed ? ", computed here" : "");
}

std::string RegionText(const Judged& run)
{
    if (!run.outcome.region) return run.outcome.result || !run.outcome.failure.empty() ? "none" : unknown;
    const Region& r = *run.outcome.region;
    return std::to_string(r.width) + " x " + std::to_string(r.height) + " at " + At(r.left, r.top, 0);
}

std::string CentreText(const Diagnosis& d)
{
    if (!d.centre) return unknown;
    if (!d.sigma) return At(d.centre->x, d.centre->y, 2);
    const int digits = DigitsFor(*d.sigma);
    return At(d.centre->x, d.centre->y, digits) + " \xC2\xB1 " +
           RoundedText(std::max(d.sigma->x, d.sigma->y), digits) + " px";
}

std::string RotationText(const Diagnosis& d)
{
    if (!d.degreesPerFrame) return d.sense ? InWords(*d.sense) : unknown;
    return RoundedText(std::fabs(*d.degreesPerFrame), 3) + "\xC2\xB0 a frame" +
           (d.sense ? ", " + InWords(*d.sense) : "");
}

Picture Png(const Canvas& canvas) { return {"image/png", canvas.Png(), canvas.Width(), canvas.Height()}; }

Picture GreyPicture(const MatByte& picture)
{
    return {"image/jpeg", GreyJpeg(picture), picture.dim1, picture.dim2};
}

void NotShown(Page& page, const std::vector<std::string>& problems)
{
    for (const std::string& line : problems) page.Note("fair", "Not shown: " + line + ".");
}

/// What is known of the run, over its first frame.
Marks MarksOf(const Judged& run)
{
    const Diagnosis& d = run.diagnosis;
    Marks marks;
    marks.region = run.outcome.region;
    marks.cross = d.found;
    if (run.arguments) {
        const RunArguments& a = *run.arguments;
        const std::optional<Place> about = d.found ? d.found : d.centre;
        if (about && a.outerR > a.innerR && a.innerR >= 0)
            marks.given = RingMark{*about, double(a.innerR), double(a.outerR), {}, {}};
        marks.masks = a.masks;
    }
    if (d.ring && d.centre) marks.measured = RingMark{*d.centre, d.ring->inner, d.ring->outer, {}, {}};
    if (marks.measured || marks.given) marks.sense = d.sense;
    if (d.centre && d.sigma) marks.rotation = RotationMark{*d.centre, *d.sigma};
    return marks;
}

void AddDrawing(Page& page, const Judged& run)
{
    for (std::size_t i = 0; i < run.files.frames.size(); i++) {
        const MatByte& frame = run.files.frames[i];
        if (frame.dim1 == 0) continue;
        const Picture picture = GreyPicture(frame);
        const MarkedPicture marked = {picture.width, picture.height, DataUri(picture),
                                      i == 0 ? "The first frame with what was found"
                                             : "Frame " + std::to_string(i + 1) + " with what was found",
                                      "Region: " + RegionText(run) +
                                          ". Centre of the rotation: " + CentreText(run.diagnosis) +
                                          ". Rotation: " + RotationText(run.diagnosis) + "."};
        const Marks marks = MarksOf(run);
        page.Drawing(MarksSvg(marks, marked), MarksLegend(marks, marked));
        return;
    }
}

/// How clear the peak is, in a note and in numbers.
void AddClearness(Page& page, const Summits& s, int apartBy)
{
    const std::string peak = "The peak has " + std::to_string(s.peak.votes) + " votes at " +
                             At(s.peak.x, s.peak.y, 0) + " of the vote picture; that is pixel " +
                             At(s.peak.x - 1, s.peak.y - 1, 0) +
                             " of the frame, where the program sees the wheel's centre. ";
    const std::string apart = std::to_string(apartBy);
    const std::string rule = "Other places count where no place within " + apart + " columns and " + apart +
                             " rows has more votes, and if they lie further than that from the peak.";
    if (s.next.votes < 1) {
        page.Note("good", "The peak is clear: no other place stands out.");
        page.Paragraph(peak + rule);
        return;
    }
    const double ratio = static_cast<double>(s.peak.votes) / s.next.votes;
    const std::string figures = RoundedText(ratio, 1) + " times the votes of the next best place";
    if (ratio >= clearRatio) page.Note("good", "The peak is clear: it has " + figures + ".");
    else if (ratio >= fairRatio)
        page.Note("fair",
                  "The peak stands out, but another place has many votes as well: it has " + figures + ".");
    else page.Note("bad", "The peak is not clear: it has only " + figures + ".");
    page.Paragraph(peak + "The next best place has " + std::to_string(s.next.votes) + " votes at " +
                   At(s.next.x, s.next.y, 0) + ". " + rule);
}

/// What a phone shows on its first screen: the verdict, what to do, the figures, and the marked frame.
void AddVerdict(Page& page, const Judged& run, const std::vector<std::string>& doubts,
                const RunFolder& folder)
{
    const Diagnosis& d = run.diagnosis;
    const VerdictWords words = WordsOf(d.verdict);
    page.Verdict(words.kind, words.heading, d.evidence, d.cure);
    if (!doubts.empty()) {
        page.Note("fair", "There are files of different runs here:");
        page.List(doubts);
    }
    page.Facts({{"Result", ResultText(run)},
                {"Region", RegionText(run)},
                {"Centre", CentreText(d)},
                {"Rotation", RotationText(d)}});
    AddDrawing(page, run);
    page.Paragraph("Verdict: " + std::string(Name(d.verdict)) + ". Folder: " + folder.Title() + ".");
}

/// The corrected command line, where there is one.
void AddProposal(Page& page, const Judged& run)
{
    const Diagnosis& d = run.diagnosis;
    if (d.verdict == Verdict::good || !d.proposal) return;
    const std::string line = d.proposal->arguments.CommandLine();
    if (run.arguments && run.arguments->CommandLine() == line) return;
    page.Section("Command line to try");
    page.Command(run.toTry.empty() ? line : run.toTry);
    std::string changed;
    for (const auto& [differs, name] : {std::pair{d.proposal->ring, "the radii"},
                                        {d.proposal->sense, "the sense of rotation"},
                                        {d.proposal->method, "the method"}})
        if (differs) changed += (changed.empty() ? "" : ", ") + std::string(name);
    if (run.arguments && !changed.empty()) page.Paragraph("What is new in it: " + changed + ".");
}

/// The evidence in numbers, beside what the run was told.
void AddMeasured(Page& page, const Judged& run)
{
    const Diagnosis& d = run.diagnosis;
    page.Section("What was measured");
    page.List(d.remarks);

    std::vector<std::vector<std::string>> rows = {{"", "measured"}};
    if (run.arguments) rows.front().emplace_back("given");
    const auto row = [&](const std::string& name, bool known, const std::string& measured,
                         const std::string& given = "") {
        if (!known && given.empty()) return;
        rows.push_back({name, known ? measured : unknown});
        if (run.arguments) rows.back().push_back(given);
    };
    const RunArguments a = run.arguments.value_or(RunArguments());
    row("Radii of the ring", d.ring.has_value(), d.ring ? Pixels(d.ring->inner, d.ring->outer, 1) : "",
        run.arguments ? Pixels(a.innerR, a.outerR, 0) : "");
    row("Sense of rotation", d.sense.has_value(), d.sense ? InWords(*d.sense) : "",
        run.arguments ? a.Told() ? InWords(*a.Told()) : "none" : "");
    row("Teeth", d.teeth.has_value(), d.teeth ? std::to_string(*d.teeth) : "",
        run.arguments ? std::to_string(a.teeth) : "");
    if (d.found) row("Centre found", true, At(d.found->x, d.found->y, 1));
    if (d.centre) row("Centre of the rotation", true, At(d.centre->x, d.centre->y, 3));
    if (d.sigma)
        row("Its deviation along x and y", true, Pixels(d.sigma->x, d.sigma->y, DigitsFor(*d.sigma) + 1));
    if (d.limit) row("What noise allows", true, RoundedText(*d.limit, 4) + " px");
    if (d.explained)
        row("Explained by the rotation", true, RoundedText(100 * *d.explained, 1) + " % of what changes");
    if (d.elsewhere)
        row("Motion outside the ring", true, RoundedText(100 * *d.elsewhere, 1) + " % of all motion");
    if (rows.size() > 1) page.Table(rows);
    if (run.arguments) {
        page.Paragraph("The run:");
        page.Command(run.arguments->CommandLine());
    }
}

void AddMarked(Page& page, const Judged& run, const Problems& problems, const RunFolder& folder)
{
    const std::vector<std::string> notShown = problems.Of(Problems::Part::marked);
    if (run.files.marked.bytes.empty() && notShown.empty()) return;
    page.Section("The picture that the program marked");
    NotShown(page, notShown);
    if (run.files.marked.bytes.empty()) return;
    const bool without = run.outcome.result && *run.outcome.result != 0;
    page.Figure(run.files.marked, "The first frame as the program marked it",
                std::string("detected.jpg, written ") + LastWritten(folder.Path("detected.jpg")) + ". " +
                    (without ? "It has no marks, since no region was found."
                             : "The cross is the centre that was found, the rectangle the output region."));
}

void AddVotes(Page& page, const Judged& run, const Problems& problems, int apart)
{
    const MatShort& votes = run.files.votes;
    const std::vector<std::string> notShown = problems.Of(Problems::Part::votes);
    if (votes.dim1 == 0 && notShown.empty()) return;
    page.Section("The votes for the centre");
    NotShown(page, notShown);
    if (votes.dim1 == 0) return;
    const Summits summits = FindSummits(votes, apart);
    if (summits.peak.votes < 1) page.Note("bad", "Nobody voted: there is no peak.");
    else AddClearness(page, summits, apart);
    page.Drawing(
        VoteDrawing(votes, summits),
        "Every strongly moving pixel votes for the point that lies at the wheel's mean radius across its "
        "motion. Where the votes of the whole ring meet there is one small bright spot.");
    page.BeginRow();
    if (summits.peak.votes > 0)
        page.Drawing(
            PeakDrawing(votes, summits.peak, 40),
            "The surroundings of the peak, 81 x 81 pixels, enlarged. A round spot of about the width of the "
            "tooth ring is good.");
    page.Drawing(HeatScale(MostVotes(votes)), "The colours of the votes, from none to the most.");
    page.EndRow();
}

void AddMotion(Page& page, const Judged& run, const Problems& problems)
{
    const std::vector<std::string> notShown = problems.Of(Problems::Part::motion);
    if (run.u.dim1 == 0 && notShown.empty()) return;
    page.Section("The motion");
    NotShown(page, notShown);
    if (run.u.dim1 == 0) return;
    const double strongest = StrongestFlow(run.u, run.v);
    if (!(strongest > 0)) page.Note("bad", "Nothing moves: the flow is 0 everywhere.");
    if (run.flowMade) page.Paragraph("Made here from the frames.");
    page.Figure(
        Png(FlowPicture(run.u, run.v)), "Direction and strength of the motion in colours",
        "The colour is where the picture moves to, the brightness how strongly. Round a turning wheel all "
        "colours follow each other once.");
    page.BeginRow();
    page.Drawing(FlowWheel(), "The direction of the motion, from the middle outwards.");
    page.Figure(GreyPicture(StrengthPicture(run.u, run.v)), "Strength of the motion in grey",
                "The strength alone: black none, white the strongest, " + RoundedText(strongest, 1) +
                    " units of the files. Bright places off the ring of teeth move too.");
    page.EndRow();
}

void AddFrames(Page& page, const Judged& run, const Problems& problems)
{
    const RunFiles& files = run.files;
    page.Section("The frames");
    NotShown(page, problems.Of(Problems::Part::frames));
    page.BeginRow();
    const auto add = [&](std::size_t i, const std::string& which, const std::string& rest) {
        const std::string name = std::filesystem::path(files.frameNames[i]).filename().string();
        if (files.frames[i].dim1 > 0)
            page.Figure(GreyPicture(files.frames[i]), "The " + which + " frame",
                        "The " + which + " frame, " + name + rest);
    };
    if (!files.frames.empty()) add(0, "first", ". The ring must be sharp and evenly lit.");
    if (files.frames.size() > 1)
        add(files.frames.size() - 1, "last", ". Nothing but the wheel should have moved since the first.");
    page.EndRow();
}

} // namespace

std::string ComposePage(const Judged& run, const Problems& problems, const RunFolder& folder, int apart)
{
    Page page("Telvane: " + folder.Title());
    AddVerdict(page, run, problems.Doubts(), folder);
    AddProposal(page, run);
    AddMeasured(page, run);
    AddMarked(page, run, problems, folder);
    AddVotes(page, run, problems, apart);
    AddMotion(page, run, problems);
    AddFrames(page, run, problems);
    return page.Html();
}

} // namespace telvane

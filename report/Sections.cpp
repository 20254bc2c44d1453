// Captions, verdicts and pictures, in the order of the page.
#include <report/Sections.h>

#include <report/Flow.h>
#include <report/Pictures.h>
#include <report/Votes.h>

#include <cstdio>
#include <filesystem>

namespace telvane {

namespace {

namespace fs = std::filesystem;

// From these ratios of the peak to the next best place on it counts as clear, and as standing out. Drawn
// wheels give more than 4, or no other place at all; wrong radii and a wrong sense of rotation give less
// than 1.3.
const double clearRatio = 3, fairRatio = 1.5;

// What the page says under its pictures: what to look for, and what it means when it is not there.

const char markedCaption[] =
    "detected.jpg, the first frame with the result marked. The cross is the centre that was found: it "
    "must lie on the middle of the wheel's shaft. The rectangle is the output region; the small arrow "
    "in its upper left corner is the sense of rotation that was given. The two circles show <innerR> "
    "and <outerR> and are drawn inside the rectangle only: they must run along the roots and the tips "
    "of the teeth. Circles of another size than the ring: correct the radii. A cross beside the shaft: "
    "see the votes and the motion below. No marks at all: no region was found.";

const char noVotes[] =
    "Nobody voted: there is no peak. The sense of rotation <angSpd> must not be 0, and the picture "
    "must move.";

const char votesCaption[] =
    "Every strongly moving pixel votes for the point that lies at the wheel's mean radius across its "
    "motion. Where the votes of the whole ring meet there is one small bright spot. Several spots, a "
    "bright ring or a streak instead: check the radii, the sense of rotation and what else moves.";

const char peakCaption[] =
    "The surroundings of the peak, 81 x 81 pixels, enlarged. A round spot of about the width of the "
    "tooth ring is good.";

const char scaleCaption[] =
    "The colours of the votes, from none to the most. The numbers are the file's own: before they are "
    "smoothed they are scaled so that the most votes are 2000.";

const char noMotion[] =
    "Nothing moves: the flow is 0 everywhere. All frames are alike, or no two of them were compared.";

const char motionCaption[] =
    "Colour: where the picture moves to, as in the wheel of colours. Brightness: how strongly. On a "
    "wheel that turns clockwise the top is red (to the right), the right side yellow to green (down), "
    "the bottom cyan (to the left) and the left side blue to violet (up); counter-clockwise it is the "
    "opposite colour everywhere. The numbers in the files point against the motion; this picture turns "
    "them round.";

const char wheelCaption[] =
    "The wheel of colours: the direction of the motion from the middle outwards, on the rim the "
    "strongest.";

const char strengthCaption[] =
    " units of the files. Nearly all of it must lie on the tooth ring. What else is bright moves too: "
    "blank it with -m.";

const char firstCaption[] =
    "The first frame. The whole ring, or the part of it that is seen, must be sharp and evenly lit.";

const char lastCaption[] =
    "The last frame. Nothing but the wheel should have moved since the first: neither the camera nor "
    "the light.";

const char expectedVotes[] =
    "the votes, which flow voting (<R3> of 0 or more) writes with -s; the ring search (negative <R3>) "
    "casts none";

std::string Place(int x, int y)
{
    return std::string("(") + std::to_string(x) + ", " + std::to_string(y) + ")";
}

std::string Number(double v)
{
    char text[40];
    std::snprintf(text, sizeof text, "%.1f", v);
    return text;
}

Picture Png(const Canvas& canvas) { return {"image/png", canvas.png(), canvas.width(), canvas.height()}; }

void Show(Page& page, const Picture& picture, const std::string& alternative, const std::string& caption)
{
    if (picture.bytes.empty()) {
        page.Verdict("bad", alternative + " cannot be shown: not enough memory.");
        return;
    }
    page.Figure(picture, alternative, caption);
}

/// How clear the peak is, in a verdict and in numbers.
void AddClearness(Page& page, const Summits& s, int apartBy)
{
    const std::string peak = "The peak has " + std::to_string(s.peak.votes) + " votes at " +
                             Place(s.peak.x, s.peak.y) + " of the vote picture; that is pixel " +
                             Place(s.peak.x - 1, s.peak.y - 1) +
                             " of the frame, where the program sees the wheel's centre. ";
    const std::string apart = std::to_string(apartBy);
    const std::string rule = "Other places count where no place within " + apart + " columns and " + apart +
                             " rows has more votes, and if they lie further than that from the peak.";
    if (s.next.votes < 1) {
        page.Verdict("good", "The peak is clear: no other place stands out.");
        page.Paragraph(peak + rule);
        return;
    }
    const double ratio = static_cast<double>(s.peak.votes) / s.next.votes;
    const std::string figures = Number(ratio) + " times the votes of the next best place";
    if (ratio >= clearRatio) {
        page.Verdict("good", "The peak is clear: it has " + figures + ".");
    } else if (ratio >= fairRatio) {
        page.Verdict("fair", "The peak stands out, but another place has many votes as well: it has " +
                                 figures + ". Compare with the marked picture.");
    } else {
        page.Verdict("bad", "The peak is not clear: it has only " + figures +
                                ". Do not trust the centre. Check the radii, the sense of rotation, and "
                                "what else moves.");
    }
    page.Paragraph(peak + "The next best place has " + std::to_string(s.next.votes) + " votes at " +
                   Place(s.next.x, s.next.y) + ". " + rule);
}

} // namespace

void AddResult(Page& page, RunFiles& files)
{
    page.Section("The result");
    Picture picture;
    if (!files.LoadMarked(picture)) return;
    page.Paragraph("Written " + files.MarkedWritten() + ".");
    Show(page, picture, "The first frame with the result marked on it", markedCaption);
}

void AddVotes(Page& page, RunFiles& files, int apart)
{
    page.Section("The votes for the centre");
    MatShort votes;
    if (!files.LoadNumbers("hough.bmp", expectedVotes, votes)) return;
    const Summits summits = FindSummits(votes, apart);
    if (summits.peak.votes < 1) {
        page.Verdict("bad", noVotes);
    } else {
        AddClearness(page, summits, apart);
    }
    Show(page, Png(VotePicture(votes, summits)), "Heat map of the votes", votesCaption);
    page.BeginRow();
    if (summits.peak.votes > 0)
        Show(page, Png(PeakPicture(votes, summits.peak, 40, 6)), "The peak, enlarged", peakCaption);
    Show(page, Png(HeatLegend(Max(Max(votes)))), "Scale of the heat map", scaleCaption);
    page.EndRow();
}

void AddMotion(Page& page, RunFiles& files)
{
    page.Section("The motion");
    MatShort u, v;
    const bool hasU = files.LoadNumbers("u_sum_sh.bmp", "the flow along x, which a run with -s writes", u);
    const bool hasV = files.LoadNumbers("v_sum_sh.bmp", "the flow along y, which a run with -s writes", v);
    if (!hasU || !hasV) {
        page.Paragraph("The motion needs both u_sum_sh.bmp and v_sum_sh.bmp, whole and of one run.");
        return;
    }
    if (!files.CheckFlow(u, v)) return;
    const double strongest = StrongestFlow(u, v);
    if (!(strongest > 0)) page.Verdict("bad", noMotion);
    Show(page, Png(FlowPicture(u, v)), "Direction and strength of the motion in colours", motionCaption);
    page.BeginRow();
    Show(page, Png(FlowLegend()),
         "Wheel of colours: red to the right, yellow to green down, cyan to the left, blue to violet up",
         wheelCaption);
    Show(page, {"image/jpeg", GreyJpeg(StrengthPicture(u, v)), u.dim1, u.dim2},
         "Strength of the motion in grey",
         "The strength alone: black none, white the strongest, " + Number(strongest) + strengthCaption);
    page.EndRow();
}

void AddFrames(Page& page, RunFiles& files, const std::vector<std::string>& names)
{
    page.Section("The frames");
    const auto add = [&](const std::string& name, const std::string& alternative,
                         const std::string& caption) {
        Picture picture;
        if (files.LoadFrame(name, picture))
            Show(page, picture, alternative, caption + " (" + fs::path(name).filename().string() + ")");
    };
    page.BeginRow();
    add(names.front(), "The first frame", firstCaption);
    if (names.size() > 1) add(names.back(), "The last frame", lastCaption);
    page.EndRow();
}

} // namespace telvane

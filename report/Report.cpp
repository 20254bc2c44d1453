// What each file of a run shows, in the order of the page.
#include <report/Report.h>

#include <Telvane/Frames.h>
#include <report/Flow.h>
#include <report/Page.h>
#include <report/Pictures.h>
#include <report/Votes.h>
#include <tools/Files.h>

#include <cstdio>
#include <ctime>
#include <filesystem>
#include <system_error>

#include <sys/stat.h>

namespace {

namespace fs = std::filesystem;

using telvane::maxFrames;

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

class Maker {
public:
    explicit Maker(const ReportOptions& o) : options(o), page("Telvane: " + Title(o.folder)) {}

    void Marked()
    {
        page.Section("The result");
        std::string file;
        Picture picture{"image/jpeg", "", 0, 0};
        const std::string name = InFolder("detected.jpg");
        if (!Load(name, file, "the marked picture, which every detection writes") ||
            !Accept(name, CheckJpeg(file, picture.width, picture.height), "a whole JPEG file"))
            return;
        picture.bytes = file;
        page.Paragraph("Written " + Date(name) + ".");
        Show(picture, "The first frame with the result marked on it", markedCaption);
    }

    void Votes()
    {
        page.Section("The votes for the centre");
        MatShort votes;
        if (!LoadShort("hough.bmp", expectedVotes, votes)) return;
        const Summits summits = FindSummits(votes, options.apart);
        if (summits.peak.votes < 1) {
            page.Verdict("bad", noVotes);
        } else {
            Clearness(summits);
        }
        Show(Png(VotePicture(votes, summits)), "Heat map of the votes", votesCaption);
        page.BeginRow();
        if (summits.peak.votes > 0)
            Show(Png(PeakPicture(votes, summits.peak, 40, 6)), "The peak, enlarged", peakCaption);
        Show(Png(HeatLegend(Max(Max(votes)))), "Scale of the heat map", scaleCaption);
        page.EndRow();
    }

    void Motion()
    {
        page.Section("The motion");
        MatShort u, v;
        const bool hasU = LoadShort("u_sum_sh.bmp", "the flow along x, which a run with -s writes", u);
        const bool hasV = LoadShort("v_sum_sh.bmp", "the flow along y, which a run with -s writes", v);
        if (!hasU || !hasV) {
            page.Paragraph("The motion needs both u_sum_sh.bmp and v_sum_sh.bmp, whole and of one run.");
            return;
        }
        const bool sameSize = u.dim1 == v.dim1 && u.dim2 == v.dim2;
        if (!Accept(InFolder("v_sum_sh.bmp"), sameSize ? "" : "of another size than u_sum_sh.bmp",
                    "both parts of one flow"))
            return;
        const double strongest = StrongestFlow(u, v);
        if (!(strongest > 0)) page.Verdict("bad", noMotion);
        Show(Png(FlowPicture(u, v)), "Direction and strength of the motion in colours", motionCaption);
        page.BeginRow();
        Show(Png(FlowLegend()),
             "Wheel of colours: red to the right, yellow to green down, cyan to the left, blue to violet up",
             wheelCaption);
        Show({"image/jpeg", GreyJpeg(StrengthPicture(u, v)), u.dim1, u.dim2},
             "Strength of the motion in grey",
             "The strength alone: black none, white the strongest, " + Number(strongest) + strengthCaption);
        page.EndRow();
    }

    void Frames()
    {
        page.Section("The frames");
        const std::string& folder = options.frames.empty() ? options.folder : options.frames;
        const std::string suffix = FrameSuffix(folder);
        int last = options.count;
        if (last == 0) {
            last = 1;
            while (last < maxFrames && Exists(FrameName(folder, last + 1, suffix))) last++;
        }
        page.BeginRow();
        Frame(FrameName(folder, 1, suffix), "The first frame", firstCaption);
        if (last > 1) Frame(FrameName(folder, last, suffix), "The last frame", lastCaption);
        page.EndRow();
    }

    Report Done()
    {
        Report report;
        report.problems = problems;
        if (shown > 0) report.html = page.Html();
        return report;
    }

private:
    static std::string Title(const std::string& folder)
    {
        std::error_code ignored;
        std::string path = fs::absolute(folder, ignored).lexically_normal().string();
        if (path.size() > 1 && path.back() == '/') path.pop_back();
        return path;
    }

    /// When a file was last written, in this machine's time.
    static std::string Date(const std::string& name)
    {
        struct stat status;
        std::tm parts;
        char text[40];
        if (stat(name.c_str(), &status) != 0 || localtime_r(&status.st_mtime, &parts) == nullptr ||
            std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", &parts) == 0)
            return "at an unknown time";
        return text;
    }

    static bool Exists(const std::string& name)
    {
        std::error_code ignored;
        return fs::exists(name, ignored);
    }

    /// Names within the current folder stay bare.
    static std::string Join(const std::string& folder, const std::string& name)
    {
        return folder == "." ? name : (fs::path(folder) / name).string();
    }

    std::string InFolder(const char* name) const { return Join(options.folder, name); }

    static std::string FrameName(const std::string& folder, int number, const std::string& suffix)
    {
        return Join(folder, std::string("img") + std::to_string(number) + suffix);
    }

    /// Frames are BMP files, or JPEG files where the run was told so. Of both the younger first one counts.
    static std::string FrameSuffix(const std::string& folder)
    {
        const std::string bmp = FrameName(folder, 1, ".bmp"), jpg = FrameName(folder, 1, ".jpg");
        if (!Exists(jpg)) return ".bmp";
        return Exists(bmp) && !Older(bmp, jpg) ? ".bmp" : ".jpg";
    }

    static bool Older(const std::string& a, const std::string& b)
    {
        std::error_code noA, noB;
        const fs::file_time_type timeA = fs::last_write_time(a, noA), timeB = fs::last_write_time(b, noB);
        return !noA && !noB && timeA < timeB;
    }

    /// Where there is a problem: tells of it, on the page too. \return whether there is none
    bool Accept(const std::string& name, const std::string& problem, const std::string& expected)
    {
        if (problem.empty()) return true;
        problems.push_back(name + ": " + problem + "; expected " + expected);
        page.Verdict("fair", "Not shown: " + problems.back() + ".");
        return false;
    }

    bool Load(const std::string& name, std::string& file, const std::string& expected)
    {
        return Accept(name, ReadWhole(name, file), expected);
    }

    bool LoadShort(const char* name, const std::string& expected, MatShort& picture)
    {
        std::string file;
        const std::string path = InFolder(name), detected = InFolder("detected.jpg");
        if (!Load(path, file, expected) ||
            !Accept(path, ReadShortPicture(file, picture), "a 16-bit picture as a run with -s writes it"))
            return false;
        // A run writes the marked picture first.
        if (Older(path, detected)) {
            problems.push_back(path + ": older than detected.jpg; expected a file of the same run");
            page.Verdict("fair", "Of an earlier run? " + problems.back() + ".");
        }
        return true;
    }

    void Show(const Picture& picture, const std::string& alternative, const std::string& caption)
    {
        if (picture.bytes.empty()) {
            page.Verdict("bad", alternative + " cannot be shown: not enough memory.");
            return;
        }
        page.Figure(picture, alternative, caption);
        shown++;
    }

    void Clearness(const Summits& s)
    {
        const std::string peak = "The peak has " + std::to_string(s.peak.votes) + " votes at " +
                                 Place(s.peak.x, s.peak.y) + " of the vote picture; that is pixel " +
                                 Place(s.peak.x - 1, s.peak.y - 1) +
                                 " of the frame, where the program sees the wheel's centre. ";
        const std::string apart = std::to_string(options.apart);
        const std::string rule = "Other places count where no place within " + apart + " columns and " +
                                 apart +
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

    void Frame(const std::string& name, const std::string& alternative, const std::string& caption)
    {
        const bool isJpeg = fs::path(name).extension() == ".jpg";
        std::string file;
        if (!Load(name, file, "a frame of the run, an 8-bit grey BMP or a JPEG file")) return;
        Picture picture{"image/jpeg", "", 0, 0};
        if (isJpeg) {
            if (!Accept(name, CheckJpeg(file, picture.width, picture.height), "a whole JPEG file")) return;
            picture.bytes = file;
        } else {
            MatByte frame;
            if (!Accept(name, ReadFrame(file, frame), "an uncompressed 8-bit grey BMP")) return;
            picture = {"image/jpeg", GreyJpeg(frame), frame.dim1, frame.dim2};
        }
        Show(picture, alternative, caption + " (" + fs::path(name).filename().string() + ")");
    }

    const ReportOptions& options;
    Page page;
    std::vector<std::string> problems;
    int shown = 0;
};

} // namespace

Report MakeReport(const ReportOptions& options)
{
    Maker maker(options);
    maker.Marked();
    maker.Votes();
    maker.Motion();
    maker.Frames();
    return maker.Done();
}

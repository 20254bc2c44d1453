// The options of wheelsim and what their words mean.
#include <simulator/Arguments.h>

#include <Telvane/Frames.h>
#include <simulator/SceneOptions.h>
#include <tools/CommandLine.h>
#include <tools/Numbers.h>

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string_view>
#include <system_error>
#include <vector>

namespace telvane {

namespace {

const char toolName[] = "wheelsim";

/// A whole number of the job.
struct JobOption {
    const char* name;
    int Job::*place;
    int lowest, highest;
    const char* unit;
    const char* meaning;

    std::string Limits() const
    {
        return "a whole N from " + std::to_string(lowest) + " to " + std::to_string(highest) + " " + unit;
    }
};
const JobOption jobOptions[] = {
    {"--count", &Job::count, 1, maxFrames, "frames", "frames to write"},
    {"--p1", &Job::period1, 1, maxPeriod, "camera frames",
     "kept frames lie p1, p2, p1, ... after their predecessors"},
    {"--p2", &Job::period2, 1, maxPeriod, "camera frames", "see p1"},
    {"--first", &Job::first, 0, 1000000, "camera frames",
     "camera frame that becomes img1.bmp; 10 gives the frames that Telvane keeps from the simulated camera"},
};

const char outMeaning[] = "folder for img1.bmp, img2.bmp, ...; made if missing (the current\n"
                          "folder, where there are none yet)";
const char previewMeaning[] = "instead of the frames, the first of them as one SVG picture with the "
                              "centre, radii, teeth, region and "
                              "sense of rotation marked and named as Telvane's arguments; a file whose name "
                              "ends in .svg, or a folder for "
                              "preview.svg, made if missing (none)";

const char description[] = "Draws a toothed wheel that turns before a camera, writes the frames as 8-bit BMP "
                           "files of 1280 x 960 pixels that\n"
                           "Telvane reads with -l, and prints the true centre. Pixel (x, y) has its middle "
                           "at exactly (x, y); y grows\n"
                           "downward, and angles from +x towards +y, clockwise.";

const char footer[] =
    "\nTwo lines for people come first, then lines for scripts:\n"
    "  TRUE_CENTRE=X,Y             where the axis meets the wheel's front, as the lens shows it\n"
    "  TRUE_RING_CENTRE=X,Y        the centre of the ring of teeth in the first frame; off the axis with "
    "eccentricity\n"
    "  TRUE_ELLIPSE=X,Y            the centre of the ellipse that the circle of the tooth tips is in the "
    "first frame\n"
    "  TRUE_OROI=[L,T,W,H,1]       the output region that the true centre gives\n"
    "  VOTES=Telvane -l ...        command line that finds the centre by flow votes (R3 = 0)\n"
    "  RING=Telvane -l ...         the same by ring search (R3 = -1); left out if the ring\n"
    "                              is not wholly inside the picture\n"
    "The command lines are for the folder with the frames, with radii as the picture shows them. With a "
    "disc, they\n"
    "blank it with -m. Where the picture is pushed, the lines say what holds before.\n"
    "\n"
    "Detection works best while the teeth move by 0.2 to 2.5 pixels from frame to frame. With equal\n"
    "periods the movement is period * speed; with different ones only frames one camera frame\n"
    "apart count.\n"
    "\n"
    "Exit status: 0 done, 1 a file could not be written, 2 an argument is wrong (nothing is written).";

std::string Meaning(const SceneOption& option)
{
    const std::string usual = option.absent ? option.absent : option.Numbers(WheelScene());
    return option.meaning + std::string("; ") + option.Limits() + " (" + usual + ")";
}

std::string Meaning(const JobOption& option)
{
    return option.meaning + std::string("; ") + option.Limits() + " (" + std::to_string(Job().*option.place) +
           ")";
}

/// Reads a number within its limits into the scene.
bool Read(std::string_view text, const Quantity& quantity, WheelScene& scene, std::size_t index)
{
    double value = 0;
    if (quantity.Whole()) {
        std::int64_t whole = 0;
        if (!ReadNumber(text, whole)) return false;
        value = static_cast<double>(whole);
    } else if (!ReadNumber(text, value)) return false;
    if (!quantity.Fits(value)) return false;
    std::visit(
        [&](auto place) {
            auto& target = place(scene, index);
            target = static_cast<std::decay_t<decltype(target)>>(value);
        },
        quantity.place);
    return true;
}

/// Reads the numbers of an option, separated by commas.
bool Read(std::string_view text, const SceneOption& option, WheelScene& scene)
{
    const std::size_t each = option.quantities.size();
    for (std::size_t n = 0;; n++) {
        const std::size_t comma = text.find(','), entry = n / each;
        if (entry >= option.most) return false;
        if (option.List() && n % each == 0) option.resize(scene, entry + 1);
        if (!Read(text.substr(0, comma), option.quantities[n % each], scene, entry)) return false;
        if (comma == text.npos) return (n + 1) % each == 0;
        text.remove_prefix(comma + 1);
    }
}

void Read(const CommandLine& line, const std::string& text, const JobOption& option, Job& job)
{
    int number = 0;
    if (!ReadNumber(std::string_view(text), number) || number < option.lowest || number > option.highest)
        line.Refuse(std::string(option.name) + " takes " + option.Limits() + ", not '" + text + "'");
    job.*option.place = number;
}

/// The file that --preview means: the one that is named, or preview.svg in the folder that is.
std::string PreviewFile(const CommandLine& line, const std::string& place)
{
    std::error_code ignored;
    const std::filesystem::path path = place;
    if (path.extension() == ".svg" && !std::filesystem::is_directory(path, ignored)) return place;
    if (path.has_extension() && path.filename() != "." && path.filename() != ".." &&
        !std::filesystem::is_directory(path, ignored))
        line.Refuse("--preview takes a file whose name ends in .svg, or a folder, not '" + place + "'");
    return (path / "preview.svg").string();
}

} // namespace

void Refuse(const std::string& problem) { CommandLine(toolName, "", "").Refuse(problem); }

Job ReadArguments(int argc, char** argv)
{
    using Word = std::optional<std::string>;
    CommandLine line(toolName, description, footer);
    const char files[] = "Frames and files";
    Word out, preview;
    std::vector<Word> jobWords(std::size(jobOptions)), sceneWords(SceneOptions().size());
    line.Word("--out", "DIR", outMeaning, out, files);
    for (std::size_t i = 0; i < jobWords.size(); i++)
        line.Word(jobOptions[i].name, "N", Meaning(jobOptions[i]), jobWords[i], files);
    line.Word("--preview", "PLACE", previewMeaning, preview, files);
    for (std::size_t i = 0; i < sceneWords.size(); i++) {
        const SceneOption& option = SceneOptions()[i];
        line.Word(option.name, option.Words(), Meaning(option), sceneWords[i], option.group);
    }
    line.Read(argc, argv);

    Job job;
    job.outNamed = out.has_value();
    if (out) job.out = *out;
    for (std::size_t i = 0; i < jobWords.size(); i++)
        if (jobWords[i]) Read(line, *jobWords[i], jobOptions[i], job);
    bool hubGiven = false;
    for (std::size_t i = 0; i < sceneWords.size(); i++) {
        const SceneOption& what = SceneOptions()[i];
        if (!sceneWords[i]) continue;
        const std::string& text = *sceneWords[i];
        if (!Read(text, what, job.scene))
            line.Refuse(what.name + (" takes " + what.Limits()) +
                        (what.List() ? ", up to " + std::to_string(what.most) + " times" : "") +
                        (what.quantities.size() > 1 || what.List() ? ", separated by commas" : "") +
                        ", not '" + text + "'");
        hubGiven = hubGiven || std::string_view(what.name) == "--hub";
    }
    if (!hubGiven) job.scene.hubR = job.scene.innerR * 60 / 216;
    if (preview) job.preview = PreviewFile(line, *preview);
    return job;
}

} // namespace telvane

// telvane-report: shows what a run has written, on one page.
#include <report/Report.h>

#include <Telvane/Frames.h>
#include <tools/CommandLine.h>
#include <tools/Files.h>
#include <tools/Text.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <optional>
#include <string>
#include <system_error>

namespace telvane {

namespace {

const char tool[] = "telvane-report";

const char description[] =
    "telvane-report shows what a run of Telvane with -s has written: the marked picture, the votes\n"
    "for the centre and how clear their peak is, the motion in colours, the first and the last\n"
    "frame. It writes one HTML file that needs no other. Run it in the folder of the run.";

const char footer[] =
    "\nFiles that are missing, damaged or of another kind are left out; standard error names each in\n"
    "a line of its own, and so does the page.\n"
    "\n"
    "Exit status: 0 the report was written; 1 nothing could be shown or the report could not be\n"
    "written, and an old one stays; 2 an argument is wrong.";

/// What the command line asks for.
struct Job {
    ReportOptions options;
    std::string out;
};

Job ReadArguments(int argc, char** argv)
{
    CommandLine line(tool, description, footer);
    std::optional<std::string> in, frames, count, apart, out;
    line.Word("--in", "DIR",
              "folder of the run, with detected.jpg, hough.bmp, u_sum_sh.bmp and v_sum_sh.bmp (the current "
              "folder)",
              in);
    line.Word("--frames", "DIR", "folder of img1.bmp, img2.bmp, ... or img1.jpg, ... (the folder of the run)",
              frames);
    line.Word(
        "--count", "N",
        "frames that the run took, 1 to 50: img1 and imgN are shown (as many as there are without a gap)",
        count);
    line.Word("--apart", "N",
              "how many columns or rows, 1 to 1000, the next best place must lie away from the peak of the "
              "votes (30)",
              apart);
    line.Word("--out", "FILE",
              "the file to write; an old one is replaced when the new one is complete (report.html in the "
              "folder of the run)",
              out);
    line.Read(argc, argv);

    Job job;
    ReportOptions& options = job.options;
    if (in) options.folder = *in;
    if (frames) options.frames = *frames;
    if (count) options.count = line.Integer("--count", *count, 1, maxFrames);
    if (apart) options.apart = line.Integer("--apart", *apart, 1, 1000);
    job.out = out                     ? *out
              : options.folder == "." ? "report.html"
                                      : (std::filesystem::path(options.folder) / "report.html").string();
    return job;
}

void NeedFolder(const std::string& name)
{
    std::error_code ignored;
    if (name.empty() || std::filesystem::is_directory(name, ignored)) return;
    Complain(tool, name + ": not there, or no folder; expected the folder of a run");
    std::exit(1);
}

int Run(int argc, char** argv)
{
    const Job job = ReadArguments(argc, argv);
    NeedFolder(job.options.folder);
    NeedFolder(job.options.frames);
    const Report report = MakeReport(job.options);
    for (const std::string& problem : report.problems) Complain(tool, problem);
    if (report.html.empty()) {
        Complain(tool, "nothing to show; expected the folder of a run with -s");
        return 1;
    }
    if (const std::string problem = WriteWhole(job.out, report.html); !problem.empty()) {
        Complain(tool, "cannot write " + job.out + ": " + problem);
        return 1;
    }
    std::printf("Wrote %s\n", Printable(job.out).c_str());
    return FlushOutput(tool) ? 0 : 1;
}

} // namespace

} // namespace telvane

int main(int argc, char** argv) { return telvane::RunTool(telvane::tool, telvane::Run, argc, argv); }

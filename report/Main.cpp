// telvane-report: shows what a run has written, on one page.
#include <report/Report.h>

#include <Telvane/Frames.h>
#include <tools/Arguments.h>
#include <tools/Files.h>

#include <cstdio>
#include <filesystem>
#include <string>
#include <system_error>

using namespace telvane;

namespace {

const Tool tool{"telvane-report", "usage: telvane-report [--in DIR] [--frames DIR] [--count N] [--apart N]\n"
                                  "                      [--out FILE] [--help]\n"};

const char help[] =
    "\n"
    "telvane-report shows what a run of Telvane with -s has written: the marked picture, the votes\n"
    "for the centre and how clear their peak is, the motion in colours, the first and the last\n"
    "frame. It writes one HTML file that needs no other. Run it in the folder of the run.\n"
    "\n"
    "  --in DIR      folder of the run, with detected.jpg, hough.bmp, u_sum_sh.bmp and\n"
    "                v_sum_sh.bmp                                          (the current folder)\n"
    "  --frames DIR  folder of img1.bmp, img2.bmp, ... or img1.jpg, ...    (the folder of the run)\n"
    "  --count N     frames that the run took, 1 to 50: img1 and imgN are shown\n"
    "                                                     (as many as there are without a gap)\n"
    "  --apart N     how many columns or rows, 1 to 1000, the next best place must lie away\n"
    "                from the peak of the votes                            (30)\n"
    "  --out FILE    the file to write; an old one is replaced when the new one is complete\n"
    "                                                     (report.html in the folder of the run)\n"
    "  --help        this text\n"
    "\n"
    "Files that are missing, damaged or of another kind are left out; standard error names each in\n"
    "a line of its own, and so does the page.\n"
    "\n"
    "Exit status: 0 the report was written; 1 nothing could be shown or the report could not be\n"
    "written, and an old one stays; 2 an argument is wrong.\n";

void Complain(const std::string& problem) { std::fprintf(stderr, "%s: %s\n", tool.name, problem.c_str()); }

void NeedFolder(const std::string& name)
{
    std::error_code ignored;
    if (name.empty() || std::filesystem::is_directory(name, ignored)) return;
    Complain(name + ": not there, or no folder; expected the folder of a run");
    std::exit(1);
}

} // namespace

int main(int argc, char** argv)
{
    tool.AnswerHelp(argc, argv, help);
    ReportOptions options;
    std::string out;
    for (int i = 1; i < argc; i += 2) {
        const std::string_view option = argv[i];
        const auto value = [&] { return ValueOf(tool, argc, argv, i); };
        if (option == "--in") options.folder = value();
        else if (option == "--frames") options.frames = value();
        else if (option == "--count") options.count = tool.Integer(option, value(), 1, telvane::maxFrames);
        else if (option == "--apart") options.apart = tool.Integer(option, value(), 1, 1000);
        else if (option == "--out") out = value();
        else tool.Refuse("there is no option '" + std::string(option) + "'");
    }
    NeedFolder(options.folder);
    NeedFolder(options.frames);
    if (out.empty())
        out = options.folder == "." ? "report.html"
                                    : (std::filesystem::path(options.folder) / "report.html").string();

    const Report report = MakeReport(options);
    for (const std::string& problem : report.problems) Complain(problem);
    if (report.html.empty()) {
        Complain("nothing to show; expected the folder of a run with -s");
        return 1;
    }
    if (const std::string problem = WriteWhole(out, report.html); !problem.empty()) {
        Complain("cannot write " + out + ": " + problem);
        return 1;
    }
    std::printf("Wrote %s\n", out.c_str());
    return std::fflush(stdout) == 0 ? 0 : 1;
}

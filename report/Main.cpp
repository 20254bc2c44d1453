// telvane-report: judges a run and shows what it has written, on one page or as a document.
#include <report/Document.h>
#include <report/Report.h>
#include <report/RunFolder.h>

#include <Telvane/Frames.h>
#include <run/Document.h>
#include <run/MissingFrames.h>
#include <tools/CommandLine.h>
#include <tools/Files.h>
#include <tools/Text.h>

#include <nlohmann/json.hpp>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <optional>
#include <string>
#include <system_error>
#include <vector>

namespace telvane {

namespace {

const char tool[] = "telvane-report";

const char description[] =
    "telvane-report judges a run of Telvane: what really moved, whether the answer can be trusted, and what\n"
    "to do if not. It writes one HTML page that needs no other file. Run it in the folder of the run.";

const char footer[] =
    "\nBehind -- may stand the command line of the run, as in\n"
    "  telvane-report -- Telvane -l 15 560 560 280 280 216 250 -1 0 360 360 40 1 0 0 0 0\n"
    "Then the answer is compared with it. Without it, run.json of the folder tells what was asked for, "
    "where\n"
    "telvane-run made it; without that, verdicts that need it are left out.\n"
    "\n"
    "Files that are damaged, of another kind or of another run are named on standard error, each in a line\n"
    "of its own, and so on the page.\n"
    "\n"
    "Exit status: 0 the report was written; 1 nothing could be shown or the report could not be written,\n"
    "and an old one stays; 2 an argument is wrong.";

/// What the command line asks for.
struct Job {
    ReportOptions options;
    std::string out;
    bool json = false;
};

Job ReadArguments(int argc, char** argv)
{
    CommandLine line(tool, description, footer);
    std::optional<std::string> in, frames, count, apart, out;
    std::optional<std::vector<std::string>> run;
    Job job;
    line.Word("--in", "DIR",
              "folder of the run, with detected.jpg, hough.bmp, u_sum_sh.bmp and v_sum_sh.bmp (the current "
              "folder)",
              in);
    line.Word("--frames", "DIR", "folder of img1.bmp, img2.bmp, ... or img1.jpg, ... (the folder of the run)",
              frames);
    line.Word("--count", "N",
              "frames of the run, 1 to 50 (those of its command line, or as many as there are without a gap)",
              count);
    line.Word("--apart", "N",
              "how many columns or rows, 1 to 1000, the next best place must lie away from the peak of the "
              "votes (30)",
              apart);
    line.Word("--out", "FILE",
              "the page; an old one is replaced when the new one is complete (report.html in the folder of "
              "the run)",
              out);
    line.Flag("--json", "print the judgement as a JSON document instead of writing the page", job.json);
    line.Rest(run);
    line.Read(argc, argv);

    ReportOptions& options = job.options;
    options.page = !job.json;
    if (in) options.folder = *in;
    if (frames) options.frames = *frames;
    if (count) options.count = line.Integer("--count", *count, 1, maxFrames);
    if (apart) options.apart = line.Integer("--apart", *apart, 1, 1000);
    if (out && job.json) line.Refuse("--out does not go with --json, which writes no file");
    job.out = out                     ? *out
              : options.folder == "." ? "report.html"
                                      : (std::filesystem::path(options.folder) / "report.html").string();
    if (run) {
        if (run->empty()) line.Refuse("behind -- the command line of the run is missing");
        const std::vector<std::string> words(run->begin() + 1, run->end());
        const std::string problem = ReadRunArguments(words, options.arguments.emplace());
        if (!problem.empty()) line.Refuse("the command line behind --: " + problem);
    }
    return job;
}

void NeedFolder(const std::string& name)
{
    std::error_code ignored;
    if (name.empty() || std::filesystem::is_directory(name, ignored)) return;
    Complain(tool, name + ": not there, or no folder; expected the folder of a run");
    std::exit(1);
}

/// \return 0, or 1 after a message
int WritePage(const Job& job, const Report& report)
{
    std::vector<std::string> inputs = report.inputs;
    inputs.push_back(RunFolder(job.options.folder, "").Path(runDocumentName));
    for (const std::string& input : inputs) {
        if (!SameFile(job.out, input)) continue;
        Complain(tool, "cannot write " + job.out + ": it is a file of the run, " + input);
        return 1;
    }
    if (const std::string problem = WriteWhole(job.out, report.html); !problem.empty()) {
        Complain(tool, "cannot write " + job.out + ": " + problem);
        return 1;
    }
    std::printf("Wrote %s\n", Printable(job.out).c_str());
    return 0;
}

/// What run.json in the folder of the run says, where no command line says it.
void TakeRunDocument(ReportOptions& options)
{
    const std::string name = RunFolder(options.folder, "").Path(runDocumentName);
    if (options.arguments || !Exists(name)) return;
    std::string text;
    RunDocument document;
    std::string problem = ReadWhole(name, text);
    if (problem.empty()) problem = ReadRunDocument(text, document);
    if (!problem.empty()) {
        Complain(tool, name + ": " + problem + "; expected what telvane-run writes");
        return;
    }
    options.arguments = document.request.arguments;
    options.outcome = document.outcome;
    options.lost = MissingFrames(document.err, document.request.arguments);
    options.command = [asked = document.request](const RunArguments& a) { return RunLine(asked, a); };
}

int Run(int argc, char** argv)
{
    Job job = ReadArguments(argc, argv);
    NeedFolder(job.options.folder);
    NeedFolder(job.options.frames);
    TakeRunDocument(job.options);
    const Report report = MakeReport(job.options);
    for (const std::string& problem : report.problems) Complain(tool, problem);
    if (!report.anything) {
        Complain(tool, "nothing to show; expected the folder of a run");
        return 1;
    }
    if (job.json) std::fputs(DocumentText(JudgementJson(report.diagnosis)).c_str(), stdout);
    else if (WritePage(job, report) != 0) return 1;
    return FlushOutput(tool) ? 0 : 1;
}

} // namespace

} // namespace telvane

[[gnu::init_priority(101)]] const telvane::Tool program(telvane::tool);

int main(int argc, char** argv) { return program.Run(telvane::Run, argc, argv); }

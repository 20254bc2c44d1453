// The story of a run.
#include <run/Run.h>

#include <diagnosis/Diagnosis.h>
#include <report/Document.h>
#include <report/Report.h>
#include <run/Document.h>
#include <run/Failure.h>
#include <run/Frames.h>
#include <run/MissingFrames.h>
#include <run/OutFolder.h>
#include <run/Output.h>
#include <run/Process.h>
#include <tools/CommandLine.h>
#include <tools/Files.h>
#include <tools/Text.h>

#include <nlohmann/json.hpp>

#include <cerrno>
#include <chrono>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <ctime>
#include <filesystem>
#include <string>
#include <system_error>
#include <utility>

#include <unistd.h>

namespace telvane {

namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

const char tool[] = "telvane-run", reportName[] = "report.html";

double Since(Clock::time_point begin) { return std::chrono::duration<double>(Clock::now() - begin).count(); }

std::string UtcTime(std::time_t time, const char* format)
{
    std::tm parts{};
    char text[40] = "";
    gmtime_r(&time, &parts);
    std::strftime(text, sizeof text, format, &parts);
    return text;
}

/// The program to start: the one that is named, or the one that belongs to this one. Recorded frames are for
/// the one with the simulated camera: the other would need its camera all the same.
std::string ProgramFor(const Request& request)
{
    std::error_code ignored;
    if (!request.telvane.empty()) return fs::absolute(request.telvane, ignored).string();
    const fs::path own = fs::read_symlink("/proc/self/exe", ignored).parent_path();
    if (request.arguments.files) return (own / "../lib/telvane/Telvane").lexically_normal().string();
    // Beside this one where they are installed, in a folder beside this one's where they are built.
    const fs::path beside = own / "Telvane";
    if (fs::is_regular_file(beside, ignored)) return beside.string();
    const fs::path built = own / "../Telvane/Telvane";
    return fs::is_regular_file(built, ignored) ? built.lexically_normal().string() : beside.string();
}

/// Seconds for a run: what was asked for, and what its grabs take at 10 a second.
double TimeFor(const Request& request)
{
    const RunArguments& a = request.arguments;
    if (a.files) return request.timeout;
    return request.timeout + GrabsOf(a).back() / 10.0;
}

std::string SourceOf(const Request& request, const std::string& err)
{
    if (request.arguments.files) return "files";
    return err.find("Simulated camera: these frames show a drawn wheel") != err.npos ? "simulated" : "camera";
}

/// The run that is in the making.
class Making {
public:
    explicit Making(Request r) : out(r.out)
    {
        document.request = std::move(r);
        document.source = SourceOf(Asked(), "");
        const std::time_t now = std::time(nullptr);
        document.started = UtcTime(now, "%Y-%m-%dT%H:%M:%SZ");
        stamp = UtcTime(now, "%Y%m%dT%H%M%SZ");
    }

    int Do();

private:
    const Request& Asked() const { return document.request; }
    int Lost(const std::string& problem);
    void Interpret(const Ended& ended);
    void Judge();
    std::string Write();
    int Tell();
    void TellPeople() const;
    nlohmann::ordered_json Json() const;
    [[noreturn]] void GiveWay();

    Clock::time_point begin = Clock::now();
    std::string stamp;
    RunDocument document;
    OutFolder out;
    Report report;
};

/// There is no run, or none that could be kept: nothing is left behind.
int Making::Lost(const std::string& problem)
{
    document.folder.clear();
    document.outcome.failure = problem;
    report.diagnosis = Diagnose({{}, Asked().arguments, {}, {}, document.outcome, {}});
    document.timings.total = Since(begin);
    return Tell();
}

int Making::Do()
{
    RunArguments& arguments = document.request.arguments;
    const RunFolder frames(Asked().frames, "");
    if (arguments.files) {
        if (Asked().given.count("count") == 0) arguments.count = 0;
        if (const std::string problem = CountFrames(frames, arguments.count); !problem.empty())
            return Lost(problem);
    }
    Command command{ProgramFor(Asked()), arguments.Words(), "", TimeFor(Asked())};
    document.command = command.Line();
    if (Asked().dryRun) {
        std::printf("%s\n", Printable(document.command).c_str());
        return FlushOutput(tool) ? goodAnswer : failedRun;
    }

    if (access(command.program.c_str(), X_OK) != 0)
        return Lost("cannot start " + command.program + ": " + SystemWords(errno));
    if (const std::string problem = out.Begin(stamp); !problem.empty()) {
        if (Caught() != 0) GiveWay();
        return Lost(problem);
    }
    document.folder = out.Final();
    if (arguments.files) {
        const std::string problem = TakeFrames(frames, arguments.count, out.Aside());
        if (Caught() != 0) GiveWay();
        if (!problem.empty()) return Lost(problem);
    }
    document.timings.frames = Since(begin);

    command.folder = out.Aside();
    const Ended ended = RunProcess(command);
    Interpret(ended);
    if (Caught() != 0) GiveWay();
    Judge();
    if (Caught() != 0) GiveWay();
    const std::string problem = Write();
    if (Caught() != 0 && !problem.empty()) GiveWay();
    return problem.empty() ? Tell() : Lost(problem);
}

void Making::Interpret(const Ended& ended)
{
    document.out = ended.out.Text();
    document.err = ended.err.Text();
    document.timings.program = ended.seconds;
    document.source = SourceOf(Asked(), document.err);
    if (ended.ending == Ending::exited) document.exitStatus = ended.code;

    RunOutcome& outcome = document.outcome;
    outcome.message = LastLineOf(document.err);
    outcome.failure = FailureOf(ended, Asked().arguments.files);
    if (!outcome.failure.empty()) return;
    Output output;
    const std::string problem = ended.out.Whole() ? ReadOutput(document.out, Asked().arguments, output)
                                                  : "it prints more than a run does";
    if (!problem.empty()) {
        outcome.failure = "Telvane did not answer: " + problem;
        return;
    }
    outcome.result = output.result;
    outcome.region = output.region;
    outcome.failure = DamagedFile(Asked().arguments, out.Aside());
}

void Making::Judge()
{
    const auto start = Clock::now();
    ReportOptions options;
    options.folder = out.Aside();
    options.called = out.Final();
    options.arguments = Asked().arguments;
    options.outcome = document.outcome;
    options.lost = MissingFrames(document.err, Asked().arguments);
    options.command = [this](const RunArguments& arguments) { return RunLine(Asked(), arguments); };
    report = MakeReport(options);
    document.timings.report = Since(start);
}

/// What the folder is to hold beside the program's own files; then it appears.
std::string Making::Write()
{
    const auto write = [this](const char* name, const std::string& bytes) {
        const fs::path path = fs::path(out.Aside()) / name;
        const std::string problem = WriteWhole(path.string(), bytes);
        return problem.empty() ? ""
                               : "cannot write " + (fs::path(out.Final()) / name).string() + ": " + problem;
    };
    if (!report.html.empty())
        if (std::string problem = write(reportName, report.html); !problem.empty()) return problem;
    document.timings.total = Since(begin);
    if (std::string problem = write(runDocumentName, DocumentText(Json())); !problem.empty()) return problem;
    if (Caught() != 0) return "to be ended";
    return out.Finish(Asked().keep);
}

nlohmann::ordered_json Making::Json() const { return ToJson(document, JudgementJson(report.diagnosis)); }

int Making::Tell()
{
    const RunOutcome& outcome = document.outcome;
    const bool failed = !outcome.failure.empty();
    if (failed)
        Complain(tool, outcome.failure + (document.folder.empty() ? "" : " (" + document.folder + ")"));
    if (Asked().json) std::fputs(DocumentText(Json()).c_str(), stdout);
    else if (!failed) TellPeople();
    if (!FlushOutput(tool) || failed) return failedRun;
    if (outcome.result != 0) return noAnswer;
    return report.diagnosis.verdict == Verdict::good ? goodAnswer : doubtfulAnswer;
}

void Making::TellPeople() const
{
    const Diagnosis& d = report.diagnosis;
    std::printf("Verdict: %s%s%s\n", Name(d.verdict), d.cure.empty() ? "" : ". ", d.cure.c_str());
    if (const auto& r = document.outcome.region)
        std::printf("Region: left %d, top %d, width %d, height %d\n", r->left, r->top, r->width, r->height);
    else std::printf("Region: none (RESULT=%d)\n", document.outcome.result.value_or(0));
    if (d.centre && d.sigma && d.degreesPerFrame)
        std::printf("Rotation: about %.2f, %.2f (+- %.2f, %.2f), %.3f degrees per frame %s\n", d.centre->x,
                    d.centre->y, d.sigma->x, d.sigma->y, std::fabs(*d.degreesPerFrame),
                    *d.degreesPerFrame < 0 ? "counter-clockwise" : "clockwise");
    else std::printf("Rotation: none that could be measured\n");
    const fs::path folder = document.folder;
    std::printf("Report: %s\n",
                Printable((folder / (report.html.empty() ? "" : reportName)).string()).c_str());
}

/// Ends as the signal asks for, and leaves nothing behind.
void Making::GiveWay()
{
    const int signal = Caught();
    Complain(tool, "ended by signal " + std::to_string(signal) +
                       (document.err.empty() ? "" : "; Telvane's last line: " + LastLineOf(document.err)));
    out.Abandon();
    std::signal(signal, SIG_DFL);
    raise(signal);
    _exit(failedRun);
}

} // namespace

int Run(Request request) { return Making(std::move(request)).Do(); }

} // namespace telvane

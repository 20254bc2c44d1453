// Measuring on the thread that films, trying in a program of its own.
#include <setup/Session.h>

#include <diagnosis/Diagnosis.h>
#include <report/Document.h>
#include <run/Document.h>
#include <run/Process.h>
#include <tools/Files.h>
#include <tools/Text.h>

#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <future>
#include <memory>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace telvane {

namespace {

using Json = nlohmann::ordered_json;

constexpr int measuredFrames = 15;

struct CameraWords {
    const char *name, *text;
};
CameraWords WordsFor(CameraState state)
{
    switch (state) {
    case CameraState::opening: return {"opening", "The camera is being opened."};
    case CameraState::films: return {"films", "The camera films."};
    case CameraState::away:
        return {"away",
                "The camera does not open: it is not there, or another program has it. Trying again."};
    case CameraState::silent: return {"silent", "The camera sends no pictures. Opening it again."};
    case CameraState::loses:
        return {"loses", "The camera sends pictures, but some are missing. Opening it again."};
    }
    return {"", ""};
}

/// Why there are no frames.
const char* NoFrames(CameraState state)
{
    return state == CameraState::loses ? "Pictures were missing each time that the frames were taken: see to "
                                         "this computer's load, and "
                                         "to the camera's cable and power supply."
                                       : "The camera failed while the frames were taken.";
}

/// A folder of this program's own that goes with its object, and where the program was killed with the next
/// one that is made.
class PrivateFolder {
public:
    PrivateFolder()
    {
        std::error_code none;
        std::filesystem::path place = std::filesystem::temp_directory_path(none);
        if (none) place = "/tmp";                       // what TMPDIR names is no folder
        place = std::filesystem::absolute(place, none); // telvane-run works in another one
        ClearAbandoned(place);
        std::string name = (place / prefix).string() + "XXXXXX";
        if (!mkdtemp(name.data())) return;
        path = name;
        lock = Locked(path);
    }
    PrivateFolder(const PrivateFolder&) = delete;
    PrivateFolder& operator=(const PrivateFolder&) = delete;
    ~PrivateFolder()
    {
        std::error_code ignored;
        if (!path.empty()) std::filesystem::remove_all(path, ignored);
        if (lock >= 0) close(lock);
    }
    std::string path; ///< empty: it could not be made

private:
    static constexpr char prefix[] = "telvane-setup-";
    int lock = -1; ///< tells that somebody works in it

    /// \return the folder with its lock; -1 where it is none, or somebody else's
    static int Locked(const std::string& folder)
    {
        const int open = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
        struct stat status;
        if (open >= 0 && fstat(open, &status) == 0 && status.st_uid == geteuid() &&
            flock(open, LOCK_EX | LOCK_NB) == 0)
            return open;
        if (open >= 0) close(open);
        return -1;
    }

    static void ClearAbandoned(const std::filesystem::path& place)
    {
        namespace fs = std::filesystem;
        const auto beginning = std::chrono::minutes(1); // what was made just now may not have its lock yet
        std::error_code problem;
        for (fs::directory_iterator i(place, problem), end; !problem && i != end; i.increment(problem)) {
            std::error_code ignored;
            const bool ours = i->path().filename().string().rfind(prefix, 0) == 0;
            if (!ours || fs::file_time_type::clock::now() - i->last_write_time(ignored) < beginning) continue;
            const int abandoned = Locked(i->path().string());
            if (abandoned < 0) continue;
            fs::remove_all(i->path(), ignored);
            close(abandoned);
        }
    }
};

/// \return nothing, or why not all frames could be written
std::string WriteFrames(CubByte* frames, CameraState state, const std::string& folder)
{
    if (!frames) return NoFrames(state);
    for (int i = 0; i < frames->dim3; i++) {
        const std::string name = folder + "/img" + std::to_string(i + 1) + ".bmp";
        errno = 0;
        if ((*frames)(RNG::All(), RNG::All(), i).WriteBMP(name.c_str()) != 0)
            return name + " could not be written" +
                   (errno != 0 ? ": " + std::generic_category().message(errno) : std::string());
    }
    return {};
}

Json Failure(const std::string& problem) { return {{"problem", Printable(problem)}}; }

} // namespace

Session::Session(Film& f, Wheel w, std::string c, std::string p)
    : film(f), config(std::move(c)), program(std::move(p)), wheel(std::move(w))
{
    film.Look(wheel.Seen());
}

Session::~Session()
{
    if (trial.joinable()) trial.join();
}

Json Session::State() const
{
    const FilmState state = film.State();
    const CameraWords words = WordsFor(state.camera);
    const FigureSet& f = state.figures;
    Json json;
    json["camera"] = {{"state", words.name}, {"text", words.text}};
    json["pictures"] = state.pictures;
    json["viewers"] = state.viewers;
    json["figures"] = {{"sharpness", f.sharpness},
                       {"best", f.best},
                       {"clipped", f.exposure.clipped},
                       {"dark", f.exposure.dark},
                       {"speed", f.speed && !f.speed->nearHalf ? Json(f.speed->pixels) : Json()},
                       {"nearHalf", f.speed && f.speed->nearHalf}};
    const std::lock_guard lock(mutex);
    json["job"] = job.empty() ? Json() : Json(job);
    json["measured"] = measuredCount;
    json["tried"] = triedCount;
    return json;
}

Json Session::WheelState() const
{
    const std::lock_guard lock(mutex);
    Json json;
    json["wheel"] = WheelJson(wheel);
    Request run;
    const std::string missing = CompleteRun(wheel, run);
    json["missing"] = missing.empty() ? Json() : Json(Printable(missing));
    json["run"] = missing.empty() ? Json(RunLine(wheel)) : Json();
    json["telvane"] = missing.empty() ? Json(run.arguments.CommandLine()) : Json();
    json["config"] = config.empty() ? Json() : Json(Printable(config));
    return json;
}

std::string Session::SetWheel(const Json& json)
{
    const std::lock_guard lock(mutex);
    std::string problem = ReadWheel(json, wheel);
    if (problem.empty()) film.Look(wheel.Seen());
    return problem;
}

std::string Session::Begin(const char* what)
{
    if (!job.empty()) return "A sequence is being taken already.";
    if (film.State().camera != CameraState::films) return WordsFor(film.State().camera).text;
    job = what;
    return {};
}

std::string Session::Measure()
{
    const std::lock_guard lock(mutex);
    if (std::string problem = Begin("measure"); !problem.empty()) return problem;
    Request run;
    const bool known = CompleteRun(wheel, run).empty();
    run.arguments.count = measuredFrames;
    const auto work = [this, known, arguments = run.arguments](CubByte* frames, CameraState state) {
        if (!frames) return EndMeasure(Failure(NoFrames(state)));
        RunSeen seen{*frames, {}, {}, {}, {}, {}}; // a copy shares the frames, an assignment would not
        if (known) seen.arguments = arguments;
        EndMeasure(JudgementJson(Diagnose(seen)));
    };
    if (film.Take({measuredFrames, run.arguments.period1, run.arguments.period2, work})) return {};
    job.clear();
    return "A sequence is being taken already.";
}

void Session::EndMeasure(const Json& result)
{
    const std::lock_guard lock(mutex);
    measured = result;
    measuredCount++;
    job.clear();
}

Json Session::Measured() const
{
    const std::lock_guard lock(mutex);
    return measured;
}

std::string Session::Try()
{
    const std::lock_guard lock(mutex);
    Request run;
    if (const std::string missing = CompleteRun(wheel, run); !missing.empty()) return Printable(missing);
    if (std::string problem = Begin("try"); !problem.empty()) return problem;
    if (trial.joinable()) trial.join(); // it has ended, for there is no job
    try {
        trial = std::thread([this, run, toml = TomlText(wheel)] { EndTrial(RunTrial(run, toml)); });
    } catch (const std::system_error&) {
        job.clear();
        return "There is not enough memory.";
    }
    return {};
}

Session::Trial Session::RunTrial(const Request& run, const std::string& toml)
{
    const PrivateFolder folder;
    if (folder.path.empty()) return {Failure("There is no room for temporary files."), ""};
    const auto written = std::make_shared<std::promise<std::string>>();
    std::future<std::string> problem = written->get_future();
    const RunArguments& a = run.arguments;
    const std::string frames = folder.path + "/frames", runs = folder.path + "/runs",
                      file = folder.path + "/wheel.toml";
    std::error_code failure;
    std::filesystem::create_directory(frames, failure);
    if (failure) return {Failure(frames + ": " + failure.message()), ""};
    if (!film.Take({a.count, a.period1, a.period2, [written, frames](CubByte* taken, CameraState state) {
                        written->set_value(WriteFrames(taken, state, frames));
                    }}))
        return {Failure("A sequence is being taken already."), ""};
    if (const std::string text = problem.get(); !text.empty()) return {Failure(text), ""};
    if (const std::string text = WriteWhole(file, toml); !text.empty())
        return {Failure(file + ": " + text), ""};

    // It has a limit of its own; this one is for the case that it fails to keep it.
    Command command{program, {"--config", file, "--frames", frames, "--out", runs, "--json"}, folder.path, 0};
    command.seconds = 2.0 * run.timeout + 30;
    const Ended ended = RunProcess(command);
    std::string document, page;
    if (!ReadWhole(runs + "/latest/run.json", document).empty()) {
        const std::string said = ended.err.LastLine();
        const std::string why = ended.ending == Ending::notStarted
                                    ? std::generic_category().message(ended.code)
                                : said.empty() ? "it ended without a result"
                                               : said;
        return {Failure(program + ": " + why), ""};
    }
    ReadWhole(runs + "/latest/report.html", page);
    Json json = ParseRunDocument(document);
    if (!json.is_object()) return {Failure(program + " wrote no JSON"), ""};
    json["problem"] = nullptr;
    return {std::move(json), std::move(page)};
}

void Session::EndTrial(Trial result)
{
    const std::lock_guard lock(mutex);
    tried = std::move(result.json);
    tried["report"] = !result.page.empty();
    report = std::move(result.page);
    triedCount++;
    job.clear();
}

Json Session::Tried() const
{
    const std::lock_guard lock(mutex);
    return tried;
}

std::string Session::Report() const
{
    const std::lock_guard lock(mutex);
    return report;
}

std::string Session::Toml(std::string& toml) const
{
    const std::lock_guard lock(mutex);
    Request run;
    toml = TomlText(wheel);
    return Printable(CompleteRun(wheel, run));
}

std::string Session::Keep()
{
    if (config.empty()) return "There is no --config to write.";
    std::string toml;
    if (std::string missing = Toml(toml); !missing.empty()) return missing;
    const std::lock_guard lock(keeping);
    const std::string problem = WriteWhole(config, toml);
    return problem.empty() ? "" : Printable(config + ": " + problem);
}

bool Session::Busy() const
{
    const std::lock_guard lock(mutex);
    return !job.empty();
}

} // namespace telvane

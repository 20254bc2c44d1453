// Loading, what is expected of each file, and dates.
#include <report/RunFiles.h>

#include <report/Pictures.h>

#include <Telvane/Frames.h>
#include <tools/Files.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <filesystem>
#include <utility>

namespace telvane {

namespace {

const char marked[] = "detected.jpg", votes[] = "hough.bmp", flowU[] = "u_sum_sh.bmp",
           flowV[] = "v_sum_sh.bmp";

const char sameRun[] = "; expected files of one run";

std::string BareName(const std::string& name) { return std::filesystem::path(name).filename().string(); }

/// "img3.bmp" or "img3.bmp to img15.bmp".
std::string Span(const RunFolder& folder, int first, int last)
{
    return folder.Frame(first) + (first < last ? " to " + BareName(folder.Frame(last)) : "");
}

class Loader {
public:
    Loader(const RunFolder& f, const std::optional<RunArguments>& a, Problems& p)
        : folder(f), arguments(a), problems(p)
    {
    }

    RunFiles Load(int count)
    {
        LoadFrames(count > 0 ? count : arguments ? arguments->count : 0);
        LoadMarked();
        LoadVotes();
        LoadFlow();
        CompareDates();
        return files;
    }

private:
    bool Has(const char* name) const { return Exists(folder.Path(name)); }

    // ------------------------------------------------------------------------------ frames

    void LoadFrames(int known)
    {
        const int count = known > 0 ? known : CountFrames();
        LeaveOutBeyond(count, known > 0);
        for (int i = 1; i <= count; i++) {
            files.frameNames.push_back(folder.Frame(i));
            const bool there = Exists(folder.Frame(i));
            files.anyFrame = files.anyFrame || there;
            files.frames.emplace_back();
            if (there) LoadFrame(folder.Frame(i), files.frames.back());
        }
        for (int i = 1; i <= count; i++) { // those that are missing, in one line where they follow each other
            int last = i;
            if (Exists(folder.Frame(i))) continue;
            while (last < count && !Exists(folder.Frame(last + 1))) last++;
            FrameProblem(Span(folder, i, last), "not there", "all " + std::to_string(count) + " frames");
            i = last;
        }
    }

    void LoadFrame(const std::string& name, MatByte& frame)
    {
        std::string file;
        std::string problem = ReadWhole(name, file);
        MatByte read;
        if (problem.empty())
            problem = folder.FramesAreJpeg() ? ReadJpegFrame(file, frameWidth, frameHeight, read)
                                             : ReadFrame(file, frameWidth, frameHeight, read);
        const char* expected =
            folder.FramesAreJpeg() ? "a whole JPEG file" : "an uncompressed 8-bit grey BMP";
        if (problem.empty()) frame = read;
        else FrameProblem(name, problem, std::string("a frame of the run, ") + expected);
    }

    void FrameProblem(const std::string& name, const std::string& problem, const std::string& expected)
    {
        problems.Accept(Problems::Part::frames, name, problem, expected);
        files.frameProblems.push_back(name + ": " + problem);
    }

    /// Frames without a gap, up to where older ones begin: a shorter run leaves the last ones of a longer
    /// one.
    int CountFrames()
    {
        const int all = folder.FramesWithoutGap();
        int count = std::min(all, 1);
        while (count < all && !OfEarlierRun(folder.Frame(count + 1), folder.Frame(1))) count++;
        for (int i = count + 1; i <= all; i++)
            if (count < 2 || !OfEarlierRun(folder.Frame(i), folder.Frame(1))) return all;
        return count;
    }

    void LeaveOutBeyond(int count, bool known)
    {
        int first = 0, last = 0;
        for (int i = count + 1; i <= maxFrames; i++)
            if (Exists(folder.Frame(i))) {
                first = first > 0 ? first : i;
                last = i;
            }
        if (first == 0) return;
        const std::string why = known && count < first
                                    ? "beyond the run's " + std::to_string(count) + " frames"
                                : first > count + 1 ? "behind a gap"
                                                    : "older than " + BareName(folder.Frame(1));
        problems.Doubt(Span(folder, first, last) + ": " + why + "; left out");
    }

    // ------------------------------------------------------------------------------ results

    void LoadMarked()
    {
        const std::string name = folder.Path(marked);
        const bool expected = Has(votes) || Has(flowU) || Has(flowV);
        if (!Exists(name) && !expected) return; // the run ended before, or wrote nothing
        std::string file;
        if (!problems.Accept(Problems::Part::marked, name, ReadWhole(name, file),
                             "the marked picture, which every detection writes"))
            return;
        MatByte picture;
        if (problems.Accept(Problems::Part::marked, name,
                            ReadJpegFrame(file, frameWidth, frameHeight, picture), "a whole JPEG file"))
            files.marked = {"image/jpeg", file, frameWidth, frameHeight};
    }

    void LoadVotes()
    {
        const bool told = arguments && arguments->HowSearched() == Method::votes;
        if (!Has(votes) && !(told && Has(flowU))) return;
        if (Has(votes) && arguments && !told) {
            problems.Doubt(folder.Path(votes) + ": votes, which a ring search does not cast; left out");
            return;
        }
        LoadNumbers(Problems::Part::votes, votes, "the votes, which flow voting writes with -s", files.votes);
    }

    void LoadFlow()
    {
        if (!Has(flowU) && !Has(flowV)) return;
        MatShort u, v;
        const bool hasU =
            LoadNumbers(Problems::Part::motion, flowU, "the flow along x, which a run with -s writes", u);
        const bool hasV =
            LoadNumbers(Problems::Part::motion, flowV, "the flow along y, which a run with -s writes", v);
        if (!hasU || !hasV) return;
        files.u = u;
        files.v = v;
        files.flowIsOfThisRun = true;
    }

    bool LoadNumbers(Problems::Part part, const char* bare, const std::string& expected, MatShort& numbers)
    {
        std::string file;
        const std::string name = folder.Path(bare);
        return problems.Accept(part, name, ReadWhole(name, file), expected) &&
               problems.Accept(part, name, ReadShortPicture(file, frameWidth + 1, frameHeight + 1, numbers),
                               "a 16-bit picture as a run with -s writes it");
    }

    // ------------------------------------------------------------------------------ dates

    /// A run takes or reads its frames, writes detected.jpg, then the votes and the flow.
    void CompareDates()
    {
        if (files.anyFrame && arguments && !arguments->files) {
            const std::string first = files.frameNames.front();
            if (!arguments->save) problems.Doubt(first + ": of another run; this one kept no frames");
            else if (OfEarlierRun(first, folder.Path(marked), std::chrono::minutes(2)))
                problems.Doubt(first + ": older than " + marked + sameRun);
        }
        std::vector<std::string> before; // what a run writes before this file, in turn
        if (files.anyFrame && !folder.FramesLieElsewhere()) before.push_back(files.frameNames.back());
        const bool hasFlow = files.u.dim1 > 0;
        for (const auto& [name, there] : {std::pair{marked, !files.marked.bytes.empty()},
                                          {votes, files.votes.dim1 > 0},
                                          {flowU, hasFlow},
                                          {flowV, hasFlow}}) {
            if (!there) continue;
            const std::string file = folder.Path(name);
            std::string other;
            for (const std::string& earlier : before)
                if (other.empty() && OfEarlierRun(file, earlier)) other = earlier;
            // The flow is written last, at once after the others.
            if (other.empty() && hasFlow && OfEarlierRun(file, folder.Path(flowU))) other = flowU;
            if (!other.empty()) problems.Doubt(file + ": older than " + BareName(other) + sameRun);
            if (!other.empty() && (name == flowU || name == flowV)) files.flowIsOfThisRun = false;
            before.push_back(file);
        }
    }

    const RunFolder& folder;
    const std::optional<RunArguments>& arguments;
    Problems& problems;
    RunFiles files;
};

} // namespace

RunFiles LoadRun(const RunFolder& folder, int count, const std::optional<RunArguments>& arguments,
                 Problems& problems)
{
    return Loader(folder, arguments, problems).Load(count);
}

CubByte Joined(const std::vector<MatByte>& frames)
{
    for (const MatByte& frame : frames)
        if (frame.dim1 == 0) return {};
    if (frames.empty()) return {};
    CubByte joined(frames.front().dim1, frames.front().dim2, static_cast<int>(frames.size()));
    for (std::size_t i = 0; i < frames.size(); i++) {
        MatByte place = joined(RNG::All(), RNG::All(), static_cast<int>(i));
        place = frames[i];
    }
    return joined;
}

} // namespace telvane

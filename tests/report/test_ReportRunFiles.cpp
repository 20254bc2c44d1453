// The files of a run as they are found in its folder: damaged, missing, of other kinds and of other runs.
#include <tests/support/ChildProcess.h>
#include <tests/support/Pictures.h>

#include <tests/reference/Files.h>
#include <tests/reference/Jpeg.h>

#include <report/RunFiles.h>

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

using namespace telvane;

namespace {

namespace fs = std::filesystem;
using Lines = std::vector<std::string>;

std::string Text(const reference::Bytes& bytes) { return std::string(bytes.begin(), bytes.end()); }

/// A frame of one grey value.
std::string Frame(int grey = 90)
{
    return Text(reference::BmpByte(pictures::Bytes(1280, 960, static_cast<std::uint8_t>(grey))));
}
std::string JpegFrame(int grey = 90)
{
    return Text(reference::JpegGrey(pictures::Bytes(1280, 960, static_cast<std::uint8_t>(grey)), 85));
}
std::string Numbers(int value)
{
    return Text(reference::BmpShort(pictures::Shorts(1281, 961, static_cast<std::int16_t>(value))));
}

const char marked[] = "detected.jpg", votes[] = "hough.bmp", flowU[] = "u_sum_sh.bmp",
           flowV[] = "v_sum_sh.bmp";

std::optional<RunArguments> Told(Method method, int count = 3)
{
    RunArguments a;
    a.count = count;
    a.files = a.save = true;
    a.offset = method == Method::votes ? 0 : -1;
    return a;
}

/// A folder in which every file is as old as the others.
class Folder {
public:
    /// The files of a run of flow voting with -s.
    explicit Folder(int frames = 3, bool results = true)
    {
        for (int i = 1; i <= frames; i++) Write("img" + std::to_string(i) + ".bmp", Frame(10 * i));
        if (!results) return;
        Write(marked, JpegFrame());
        Write(votes, Numbers(3));
        Write(flowU, Numbers(5));
        Write(flowV, Numbers(-7));
    }
    void Write(const std::string& name, const std::string& bytes)
    {
        folder.Write(name, bytes);
        Date(name, std::chrono::seconds(0));
    }
    void Date(const std::string& name, std::chrono::seconds later) const
    {
        fs::last_write_time(folder / name, written + later);
    }
    void Remove(const std::string& name) const { fs::remove(folder / name); }
    std::string Path() const { return folder.Path(); }

    struct Loaded {
        RunFiles files;
        Problems problems;
        Lines lines; ///< without the folder's path
    };
    Loaded Load(const std::optional<RunArguments>& arguments = {}, int count = 0,
                const std::string& frames = "") const
    {
        Loaded loaded;
        loaded.files = LoadRun(RunFolder(folder.Path(), frames), count, arguments, loaded.problems);
        for (std::string line : loaded.problems.Lines()) {
            for (std::size_t at; (at = line.find(folder.Path() + "/")) != line.npos;)
                line.erase(at, folder.Path().size() + 1);
            loaded.lines.push_back(line);
        }
        return loaded;
    }

private:
    TemporaryFolder folder;
    const fs::file_time_type written = fs::file_time_type::clock::now() - std::chrono::hours(24);
};

} // namespace

TEST(RunFiles, OfAWholeRunAreAllThere)
{
    const Folder folder;
    for (const auto& arguments : {std::optional<RunArguments>(), Told(Method::votes)}) {
        const auto loaded = folder.Load(arguments);
        EXPECT_EQ(loaded.lines, Lines());
        const RunFiles& files = loaded.files;
        ASSERT_EQ(files.frames.size(), 3u);
        for (int i = 0; i < 3; i++)
            EXPECT_EQ(files.frames[static_cast<std::size_t>(i)](640, 480), 10 * i + 10);
        EXPECT_EQ(files.frameNames[2], folder.Path() + "/img3.bmp");
        EXPECT_TRUE(files.anyFrame && files.flowIsOfThisRun && files.frameProblems.empty());
        EXPECT_EQ(files.marked.type, "image/jpeg");
        EXPECT_TRUE(files.marked.bytes == JpegFrame()) << "as it is";
        EXPECT_EQ(files.marked.width, 1280);
        EXPECT_EQ(files.marked.height, 960);
        EXPECT_EQ(files.votes(600, 400), 3);
        EXPECT_EQ(files.u(600, 400), 5);
        EXPECT_EQ(files.v(600, 400), -7);
    }
    const CubByte joined = Joined(folder.Load().files.frames);
    EXPECT_EQ(joined.dim3, 3);
    EXPECT_EQ(joined(5, 5, 0), 10);
    EXPECT_EQ(joined(5, 5, 2), 30);
    EXPECT_EQ(Joined({}).dim1, 0);
    EXPECT_EQ(Joined({folder.Load().files.frames[0], MatByte()}).dim1, 0) << "where one is not there";
}

TEST(RunFiles, WhatARunOfThisKindDoesNotWriteIsNoProblem)
{
    Folder folder;
    folder.Remove(votes);
    EXPECT_EQ(folder.Load().lines, Lines());
    EXPECT_EQ(folder.Load(Told(Method::ring)).lines, Lines());
    EXPECT_EQ(folder.Load(Told(Method::votes)).lines,
              Lines{"hough.bmp: not there; expected the votes, which flow voting writes with -s"});
    for (const char* name : {flowU, flowV}) folder.Remove(name);
    EXPECT_EQ(folder.Load(Told(Method::votes)).lines, Lines()) << "without -s";
    EXPECT_FALSE(folder.Load().files.flowIsOfThisRun);
    folder.Remove(marked);
    EXPECT_EQ(folder.Load(Told(Method::votes)).lines, Lines()) << "frames are all there is";
    for (int i = 1; i <= 3; i++) folder.Remove("img" + std::to_string(i) + ".bmp");
    EXPECT_EQ(folder.Load().lines, Lines());
    EXPECT_FALSE(folder.Load().files.anyFrame);
}

TEST(RunFiles, WhatIsMissingIsNamedWithWhatWritesIt)
{
    struct Missing {
        const char *name, *expected;
        Problems::Part part;
    };
    for (const auto& [name, expected, part] :
         {Missing{marked, "the marked picture, which every detection writes", Problems::Part::marked},
          {votes, "the votes, which flow voting writes with -s", Problems::Part::votes},
          {flowU, "the flow along x, which a run with -s writes", Problems::Part::motion},
          {flowV, "the flow along y, which a run with -s writes", Problems::Part::motion}}) {
        const Folder folder;
        folder.Remove(name);
        const auto loaded = folder.Load(Told(Method::votes));
        EXPECT_EQ(loaded.lines, Lines{std::string(name) + ": not there; expected " + expected});
        EXPECT_EQ(loaded.problems.Of(part).size(), 1u) << name;
        EXPECT_EQ(loaded.files.marked.bytes.empty(), name == marked);
        EXPECT_EQ(loaded.files.votes.dim1 == 0, name == votes);
        const bool flow = name != flowU && name != flowV;
        EXPECT_EQ(loaded.files.u.dim1 > 0, flow) << "both or none";
        EXPECT_EQ(loaded.files.v.dim1 > 0, flow);
        EXPECT_EQ(loaded.files.flowIsOfThisRun, flow);
    }
    // Any one result makes the marked picture be missed.
    for (const char* name : {votes, flowU, flowV}) {
        Folder folder(0, false);
        folder.Write(name, Numbers(1));
        EXPECT_EQ(folder.Load().lines.front(),
                  "detected.jpg: not there; expected the marked picture, which every detection writes");
    }
}

TEST(RunFiles, DamagedAndForeignFilesAreNamedAndTheRestLoaded)
{
    const std::string small = Text(reference::BmpShort(pictures::Shorts(41, 33)));
    const std::string whole = "a whole JPEG file", numbers = "a 16-bit picture as a run with -s writes it",
                      grey = "a frame of the run, an uncompressed 8-bit grey BMP";
    struct Bad {
        const char* name;
        std::string problem, bytes, expected;
    };
    Folder folder;
    for (const Bad& bad : std::vector<Bad>{
             {marked, "a JPEG file that is damaged or cut short", JpegFrame().substr(0, 5000), whole},
             {marked, "not a JPEG file", small, whole},
             {marked, "of 640 x 480 pixels, not 1280 x 960",
              Text(reference::JpegGrey(pictures::Bytes(640, 480, 90), 85)), whole},
             {votes, "not a BMP file", JpegFrame(), numbers},
             {votes, "cut short within its header", Numbers(0).substr(0, 30), numbers},
             {votes, "of 41 x 33 pixels, not 1281 x 961", small, numbers},
             {flowU, "a BMP file of 8 bits per pixel, compression 0", Frame(), numbers},
             {flowV, "not a BMP file", "", numbers},
             {"img1.bmp", "a BMP file of 16 bits per pixel, compression 3", small, grey},
             {"img2.bmp", "of 640 x 480 pixels, not 1280 x 960",
              Text(reference::BmpByte(pictures::Bytes(640, 480, 90))), grey},
             {"img3.bmp", "cut short: 1280 x 960 pixels need 1229878 bytes, there are 1000000",
              Frame().substr(0, 1000000), grey}}) {
        TemporaryFolder aside;
        fs::rename(folder.Path() + "/" + bad.name, aside / "kept");
        folder.Write(bad.name, bad.bytes);
        const auto loaded = folder.Load();
        EXPECT_EQ(loaded.lines, Lines{bad.name + (": " + bad.problem) + "; expected " + bad.expected});
        const std::string name = bad.name;
        EXPECT_EQ(loaded.files.marked.bytes.empty(), name == marked) << name;
        EXPECT_EQ(loaded.files.votes.dim1 == 0, name == votes) << name;
        EXPECT_EQ(loaded.files.u.dim1 == 0, name == flowU || name == flowV) << name;
        ASSERT_EQ(loaded.files.frames.size(), 3u);
        for (int i = 0; i < 3; i++)
            EXPECT_EQ(loaded.files.frames[static_cast<std::size_t>(i)].dim1 == 0,
                      name == "img" + std::to_string(i + 1) + ".bmp");
        const bool isFrame = name.rfind("img", 0) == 0;
        ASSERT_EQ(loaded.files.frameProblems.size(), isFrame);
        if (isFrame) {
            EXPECT_EQ(loaded.files.frameProblems[0], folder.Path() + "/" + name + ": " + bad.problem);
        }
        fs::rename(aside / "kept", folder.Path() + "/" + bad.name);
    }
    folder.Remove(votes);
    fs::create_directory(folder.Path() + "/" + votes);
    EXPECT_EQ(folder.Load().lines,
              Lines{"hough.bmp: Is a directory; expected the votes, which flow voting writes with -s"});
}

TEST(RunFiles, FramesThatAreMissingAreNamedTogether)
{
    Folder folder(6, false);
    folder.Remove("img2.bmp");
    folder.Remove("img3.bmp");
    folder.Remove("img5.bmp");
    auto loaded = folder.Load({}, 6);
    EXPECT_EQ(loaded.lines, (Lines{"img2.bmp to img3.bmp: not there; expected all 6 frames",
                                   "img5.bmp: not there; expected all 6 frames"}));
    EXPECT_EQ(loaded.files.frameProblems.size(), 2u);
    EXPECT_EQ(loaded.files.frames.size(), 6u);
    // The command line says how many there must be, unless the number itself is given.
    loaded = folder.Load(Told(Method::votes, 7));
    EXPECT_EQ(loaded.lines.back(), "img7.bmp: not there; expected all 7 frames");
    loaded = folder.Load(Told(Method::votes, 7), 1);
    EXPECT_EQ(loaded.lines, Lines{"img4.bmp to img6.bmp: beyond the run's 1 frames; left out"});
    EXPECT_EQ(loaded.files.frames.size(), 1u);
}

TEST(RunFiles, FramesBeyondTheRunAreLeftOut)
{
    using std::chrono::seconds;
    Folder folder(5, false);
    const Lines beyond{"img4.bmp to img5.bmp: beyond the run's 3 frames; left out"};
    EXPECT_EQ(folder.Load(Told(Method::votes)).lines, beyond);
    EXPECT_EQ(folder.Load({}, 3).lines, beyond);
    EXPECT_EQ(folder.Load({}, 3).problems.Doubts().size(), 1u) << "it may be another run's";
    EXPECT_EQ(folder.Load().files.frames.size(), 5u);
    // Of nothing but the files the dates tell, beyond the two seconds that a run may take.
    for (const char* name : {"img4.bmp", "img5.bmp"}) folder.Date(name, seconds(-2));
    EXPECT_EQ(folder.Load().files.frames.size(), 5u);
    for (const char* name : {"img4.bmp", "img5.bmp"}) folder.Date(name, seconds(-3));
    EXPECT_EQ(folder.Load().files.frames.size(), 3u);
    EXPECT_EQ(folder.Load().lines, Lines{"img4.bmp to img5.bmp: older than img1.bmp; left out"});
    folder.Remove("img4.bmp");
    EXPECT_EQ(folder.Load().lines, Lines{"img5.bmp: behind a gap; left out"});
    EXPECT_EQ(folder.Load({}, 3).lines, Lines{"img5.bmp: beyond the run's 3 frames; left out"});
}

TEST(RunFiles, FramesThatWereCopiedInAnyOrderAreOneRun)
{
    const Folder folder(4, false);
    folder.Date("img1.bmp", std::chrono::minutes(-1));
    folder.Date("img3.bmp", std::chrono::minutes(-2));
    EXPECT_EQ(folder.Load().lines, Lines());
    EXPECT_EQ(folder.Load().files.frames.size(), 4u);
    // One frame is no run: nothing is left out for being older than it.
    for (const char* name : {"img2.bmp", "img3.bmp", "img4.bmp"}) folder.Date(name, -std::chrono::hours(1));
    EXPECT_EQ(folder.Load().files.frames.size(), 4u);
    folder.Date("img2.bmp", -std::chrono::minutes(1));
    EXPECT_EQ(folder.Load().files.frames.size(), 2u) << "as old as the first, before two that are older";
}

TEST(RunFiles, ThoseOfDifferentRunsAreToldApart)
{
    using std::chrono::hours, std::chrono::seconds;
    const std::string sameRun = "; expected files of one run";
    for (const char* name : {marked, votes, flowU, flowV}) {
        const Folder folder;
        folder.Date(name, seconds(-2));
        EXPECT_EQ(folder.Load().lines, Lines()) << name << ", as long as a run may take";
        folder.Date(name, seconds(-3));
        const auto loaded = folder.Load();
        EXPECT_EQ(loaded.lines, Lines{std::string(name) + ": older than img3.bmp" + sameRun});
        EXPECT_EQ(loaded.files.flowIsOfThisRun, name != flowU && name != flowV);
        EXPECT_EQ(loaded.files.u.dim1, 1281) << "it is shown nevertheless";
        // Frames of elsewhere may be younger than the run.
        const TemporaryFolder other;
        for (int i = 1; i <= 3; i++)
            fs::copy(folder.Path() + "/img" + std::to_string(i) + ".bmp", other.Path());
        for (const char* result : {marked, votes, flowU, flowV}) folder.Date(result, hours(-1));
        EXPECT_EQ(folder.Load({}, 0, other.Path()).lines, Lines());
    }
    const Folder folder;
    for (int i = 1; i <= 3; i++) folder.Date("img" + std::to_string(i) + ".bmp", hours(-3));
    EXPECT_EQ(folder.Load().lines, Lines()) << "frames may be older than what is read from them";
    folder.Date(marked, hours(-1));
    EXPECT_EQ(folder.Load().lines, Lines{"detected.jpg: older than u_sum_sh.bmp" + sameRun});
    EXPECT_TRUE(folder.Load().files.flowIsOfThisRun);
    folder.Date(flowU, hours(-2));
    folder.Date(flowV, hours(-2));
    EXPECT_EQ(folder.Load().lines, (Lines{"u_sum_sh.bmp: older than detected.jpg" + sameRun,
                                          "v_sum_sh.bmp: older than detected.jpg" + sameRun}));
    EXPECT_FALSE(folder.Load().files.flowIsOfThisRun);
}

TEST(RunFiles, OfACameraMustBeThoseOfItsRun)
{
    const Folder folder;
    std::optional<RunArguments> told = Told(Method::votes);
    told->files = false;
    EXPECT_EQ(folder.Load(told).lines, Lines());
    // A run takes its frames before it answers, and not minutes before.
    for (int i = 1; i <= 3; i++) folder.Date("img" + std::to_string(i) + ".bmp", std::chrono::seconds(-119));
    EXPECT_EQ(folder.Load(told).lines, Lines());
    folder.Date("img1.bmp", std::chrono::seconds(-121));
    EXPECT_EQ(folder.Load(told).lines, Lines{"img1.bmp: older than detected.jpg; expected files of one run"});
    EXPECT_EQ(folder.Load(Told(Method::votes)).lines, Lines()) << "files may be as old as they like";
    told->save = false;
    EXPECT_EQ(folder.Load(told).lines, Lines{"img1.bmp: of another run; this one kept no frames"});
}

TEST(RunFiles, VotesOfAnEarlierRunAreLeftOutAfterARingSearch)
{
    const Folder folder;
    const auto loaded = folder.Load(Told(Method::ring));
    EXPECT_EQ(loaded.lines, Lines{"hough.bmp: votes, which a ring search does not cast; left out"});
    EXPECT_EQ(loaded.files.votes.dim1, 0);
}

TEST(RunFiles, OfFramesOfBothKindsTheYoungerCount)
{
    using std::chrono::milliseconds, std::chrono::seconds;
    Folder folder(3, false);
    for (int i = 1; i <= 2; i++) folder.Write("img" + std::to_string(i) + ".jpg", JpegFrame(40 + i));
    EXPECT_EQ(folder.Load().files.frames.size(), 3u) << "BMP files where they are as old";
    folder.Date("img1.jpg", seconds(1));
    auto loaded = folder.Load();
    ASSERT_EQ(loaded.files.frames.size(), 2u);
    EXPECT_EQ(loaded.files.frameNames[1], folder.Path() + "/img2.jpg");
    EXPECT_NEAR(loaded.files.frames[1](600, 400), 42, 1);
    folder.Write("img2.jpg", JpegFrame().substr(0, 3000));
    folder.Date("img1.jpg", seconds(1));
    EXPECT_EQ(folder.Load().lines, Lines{"img2.jpg: a JPEG file that is damaged or cut short; expected a "
                                         "frame of the run, a whole JPEG file"});
    folder.Date("img1.jpg", seconds(-1));
    EXPECT_EQ(folder.Load().files.frames.size(), 3u);
    folder.Remove("img1.bmp");
    EXPECT_EQ(folder.Load().files.frames.size(), 2u);
}

TEST(RunFolder, NamesWithinTheCurrentFolderStayBare)
{
    const RunFolder here(".", ""), there("a/b", "c"), called("a/b", "", "/runs/today/");
    EXPECT_EQ(here.Path("hough.bmp"), "hough.bmp");
    EXPECT_EQ(here.Frame(7), "img7.bmp");
    EXPECT_FALSE(here.FramesLieElsewhere());
    EXPECT_EQ(there.Path("hough.bmp"), "a/b/hough.bmp");
    EXPECT_EQ(there.Frame(1), "c/img1.bmp");
    EXPECT_TRUE(there.FramesLieElsewhere());
    EXPECT_EQ(there.Title(), (fs::current_path() / "a/b").string());
    EXPECT_EQ(called.Title(), "/runs/today");
    EXPECT_EQ(called.Path("x"), "a/b/x");
    EXPECT_EQ(RunFolder("/", "").Title(), "/");
    EXPECT_EQ(LastWritten("a/b/nothing"), "at an unknown time");
}

TEST(RunFolder, FiftyFramesAreTheMost)
{
    const TemporaryFolder folder;
    const RunFolder run(folder.Path(), "");
    EXPECT_EQ(run.FramesWithoutGap(), 0);
    for (int i = 1; i <= 52; i++) folder.Write("img" + std::to_string(i) + ".bmp", "");
    EXPECT_EQ(run.FramesWithoutGap(), 50);
    fs::remove(folder / "img9.bmp");
    EXPECT_EQ(run.FramesWithoutGap(), 8);
}

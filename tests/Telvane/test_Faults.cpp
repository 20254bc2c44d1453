// The program when the world around it fails: full disks, folders that cannot be written, broken frame files,
// cameras that fall off, closed streams, and its own end in the middle of writing.
#include <tests/support/ScriptedRuns.h>

#include <tests/reference/CommandLine.h>
#include <tests/reference/Files.h>
#include <tests/reference/Jpeg.h>

#include <array>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
#include <limits>
#include <string>
#include <vector>

#include <fcntl.h>
#include <linux/capability.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

const std::string program = TELVANE_PATH, filmCamera = TELVANE_FILM_CAMERA,
                  toldDetection = TELVANE_TOLD_DETECTION;

// ---------------------------------------------------------------------------------- runs that write all

const std::string loadingFailed = "Error -1:  ... error loading images!\n";
const std::string diskFull = "Output file write error --- out of disk space?\n"; // libjpeg's words
const std::string detectionDone = "Detection ...\n ... completed\nRESULT=0\nOROI=[412,118,300,260,1]\n";

std::string GrabbingDone(int frames)
{
    std::string out = "Grabbing images ...\n";
    for (int i = -10; i < frames; i++) out += std::to_string(i) + " ";
    return out + "\n ... completed\n";
}

/// A run that grabs two frames, saves them, and writes the pictures that the detection answers with: the
/// result as wide as a frame, the others as wide as votes and flow.
class Faults : public testing::Test {
protected:
    enum Saving { asBmp, asJpeg };

    Faults() { Answers("1280 400  1281 300  1281 200  1281 100"); }

    void Answers(const std::string& sizes)
    {
        folder.Write("detection.txt", "0 412 118 300 260 1  " + sizes + "  5 5  5 5");
    }

    static Words CommandLine(Saving saving, int frames = 2)
    {
        return Join({{toldDetection, "-n", std::to_string(frames), "-s"},
                     saving == asJpeg ? Words{"-jpg"} : Words(),
                     Geometry().Arguments()});
    }

    Finished Run(Saving saving, const std::function<void()>& before = {})
    {
        RunOptions options;
        options.before = before;
        options.timeout = std::chrono::seconds(200);
        return ::Run(CommandLine(saving), folder.Path(), options);
    }

    /// What the file of that name holds after a run without faults.
    static reference::Bytes Whole(const std::string& name)
    {
        if (name == "detected.jpg") return reference::JpegGrey(Answer<std::uint8_t>(1280, 400), 85);
        if (name == "hough.bmp") return reference::BmpShort(Answer<std::int16_t>(1281, 300));
        if (name == "u_sum_sh.bmp") return reference::BmpShort(Answer<std::int16_t>(1281, 200));
        if (name == "v_sum_sh.bmp") return reference::BmpShort(Answer<std::int16_t>(1281, 100));
        const BytePicture frame = FilmFrame(10 + std::stoi(name.substr(3))); // ten warm it up
        return name.find(".jpg") != std::string::npos ? reference::JpegGrey(frame, 85)
                                                      : reference::BmpByte(frame);
    }

    /// In the order in which they are written.
    static Words Written(Saving saving)
    {
        const std::string suffix = saving == asJpeg ? ".jpg" : ".bmp";
        return {"img1" + suffix, "img2" + suffix, "detected.jpg",
                "hough.bmp",     "u_sum_sh.bmp",  "v_sum_sh.bmp"};
    }

    void FilesOfAnEarlierRun(const Words& names) const
    {
        for (const std::string& name : names) folder.Write(name, "an earlier " + name);
    }

    TemporaryFolder folder;
};

/// Other limits for the child, or none.
void LimitFilesTo(rlim_t bytes, void (*onLimit)(int))
{
    std::signal(SIGXFSZ, onLimit);
    const rlimit limit{bytes, bytes};
    if (setrlimit(RLIMIT_FSIZE, &limit) != 0) _exit(126);
}

TEST_F(Faults, WithoutAnyEverythingIsWritten)
{
    for (const Saving saving : {asBmp, asJpeg}) {
        const Finished run = Run(saving);
        EXPECT_EQ(run.status, 0);
        EXPECT_EQ(run.out, GrabbingDone(2) + detectionDone);
        EXPECT_EQ(run.err, "");
        for (const std::string& name : Written(saving)) EXPECT_TRUE(HasFile(folder, name, Whole(name)));
    }
}

// ---------------------------------------------------------------------------------- full disks

TEST_F(Faults, BmpOnAFullDiskIsPassedOver)
{
    for (const char* const full : {"img1.bmp", "img2.bmp", "hough.bmp", "u_sum_sh.bmp", "v_sum_sh.bmp"}) {
        for (const std::string& name : Written(asBmp)) std::filesystem::remove(folder / name);
        std::filesystem::create_symlink("/dev/full", folder / full);
        const Finished run = Run(asBmp);
        EXPECT_EQ(run.status, 0) << full;
        EXPECT_EQ(run.out, GrabbingDone(2) + detectionDone) << full;
        EXPECT_EQ(run.err, "") << full;
        for (const std::string& name : Written(asBmp)) {
            if (name == full) continue;
            EXPECT_TRUE(HasFile(folder, name, Whole(name))) << "disk full at " << full;
        }
    }
}

TEST_F(Faults, JpegOnAFullDiskEndsTheProgram)
{
    for (const char* const full : {"img1.jpg", "img2.jpg", "detected.jpg"}) {
        for (const std::string& name : Written(asJpeg)) std::filesystem::remove(folder / name);
        std::filesystem::create_symlink("/dev/full", folder / full);
        const Finished run = Run(asJpeg);
        EXPECT_EQ(run.status, 1) << full;
        EXPECT_EQ(run.err, diskFull) << full;
        EXPECT_EQ(run.out, GrabbingDone(2) + (full == std::string("detected.jpg") ? detectionDone : ""));
        // What comes before is whole, and what comes after is not begun.
        bool before = true;
        for (const std::string& name : Written(asJpeg)) {
            if (name == full) {
                before = false;
            } else {
                EXPECT_TRUE(HasFile(folder, name, before ? Whole(name) : reference::Bytes()));
            }
        }
    }
}

TEST_F(Faults, BmpBeyondTheFileSizeLimitIsCutThere)
{
    // At a header, at the palette, where the writer's buffer of 65536 bytes is full, and within the pixels.
    for (const rlim_t limit : {rlim_t{53}, rlim_t{60}, rlim_t{1000}, rlim_t{65536}, rlim_t{200001}}) {
        for (const std::string& name : Written(asBmp)) std::filesystem::remove(folder / name);
        Answers("0 0  1281 300  1281 200  1281 100"); // no JPEG
        const Finished run = Run(asBmp, [limit] { LimitFilesTo(limit, SIG_IGN); });
        EXPECT_EQ(run.status, 0) << limit;
        EXPECT_EQ(run.out, GrabbingDone(2) + detectionDone) << limit;
        EXPECT_EQ(run.err, "") << limit;
        for (const char* const name : {"img1.bmp", "img2.bmp", "hough.bmp", "u_sum_sh.bmp", "v_sum_sh.bmp"}) {
            reference::Bytes cut = Whole(name);
            ASSERT_GT(cut.size(), limit);
            cut.resize(limit);
            EXPECT_TRUE(HasFile(folder, name, cut)) << "limit " << limit;
        }
    }
}

TEST_F(Faults, JpegBeyondTheFileSizeLimitEndsTheProgram)
{
    for (const rlim_t limit : {rlim_t{1}, rlim_t{600}, rlim_t{4096}, rlim_t{100000}}) {
        for (const std::string& name : Written(asBmp)) std::filesystem::remove(folder / name);
        FilesOfAnEarlierRun({"hough.bmp", "u_sum_sh.bmp", "v_sum_sh.bmp"});
        const Finished run = Run(asBmp, [limit] { LimitFilesTo(limit, SIG_IGN); });
        EXPECT_EQ(run.status, 1) << limit;
        EXPECT_EQ(run.out, GrabbingDone(2) + detectionDone) << limit;
        EXPECT_EQ(run.err, diskFull) << limit;
        reference::Bytes cut = Whole("detected.jpg");
        ASSERT_GT(cut.size(), limit);
        cut.resize(limit);
        EXPECT_TRUE(HasFile(folder, "detected.jpg", cut)) << "limit " << limit;
        for (const char* const name : {"hough.bmp", "u_sum_sh.bmp", "v_sum_sh.bmp"})
            EXPECT_EQ(folder.Read(name), std::string("an earlier ") + name) << "limit " << limit;
    }
}

TEST_F(Faults, SignalOfTheFileSizeLimitEndsTheProgramAtTheFirstFileBeyondIt)
{
    struct Case {
        Saving saving;
        rlim_t limit;
        std::string cut; ///< the first file that is larger
    };
    const rlim_t afterFrames = Whole("img1.bmp").size();
    Answers("1280 400  1281 900  1281 200  1281 100"); // the votes larger than a frame
    for (const Case& c : {Case{asBmp, 70000, "img1.bmp"}, Case{asBmp, afterFrames, "hough.bmp"},
                          Case{asJpeg, 70000, "img1.jpg"}}) {
        FilesOfAnEarlierRun(Written(c.saving));
        const Untouched earlier(folder);
        const Finished run = Run(c.saving, [&c] { LimitFilesTo(c.limit, SIG_DFL); });
        EXPECT_EQ(run.signal, SIGXFSZ) << c.cut;
        bool before = true;
        for (const std::string& name : Written(c.saving)) {
            if (name == c.cut) {
                EXPECT_EQ(std::filesystem::file_size(folder / name), c.limit);
                before = false;
            } else if (before) {
                EXPECT_TRUE(HasFile(folder, name, Whole(name))) << c.cut;
            } else {
                EXPECT_EQ(folder.Read(name), "an earlier " + name) << c.cut;
            }
        }
    }
}

// ---------------------------------------------------------------------------------- standard output

TEST_F(Faults, OutputThatNobodyTakesDoesNotKeepThePicturesBack)
{
    struct Case {
        const char* what;
        std::function<void()> before;
    };
    const rlim_t roomForALine = 25;
    for (const Case& c : std::vector<Case>{
             {"full", [] { SendOutputTo("/dev/full"); }},
             {"closed", [] { close(STDOUT_FILENO); }},
             {"all three closed",
              [] {
                  for (const int fd : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) close(fd);
              }},
             {"a pipe that nobody reads, and no signal of it",
              [] {
                  std::signal(SIGPIPE, SIG_IGN);
                  int ends[2];
                  if (pipe(ends) != 0 || dup2(ends[1], STDOUT_FILENO) < 0) _exit(126);
                  close(ends[0]);
                  close(ends[1]);
              }},
         }) {
        for (const Saving saving : {asBmp, asJpeg}) {
            for (const std::string& name : Written(saving)) std::filesystem::remove(folder / name);
            const Finished run = Run(saving, c.before);
            EXPECT_EQ(run.status, 0) << c.what;
            EXPECT_EQ(run.out, "") << c.what;
            EXPECT_EQ(run.err, "") << c.what;
            // Files take the descriptors that are free: nothing that is printed gets into them.
            for (const std::string& name : Written(saving))
                EXPECT_TRUE(HasFile(folder, name, Whole(name))) << c.what;
        }
    }

    // A file for the output that reaches its limit; pictures have no room either then.
    Answers("0 0  1281 300  1281 200  1281 100");
    const Finished run = Run(asBmp, [] {
        LimitFilesTo(roomForALine, SIG_IGN);
        SendOutputTo("output.txt");
    });
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(folder.Read("output.txt"), (GrabbingDone(2) + detectionDone).substr(0, roomForALine));
}

TEST_F(Faults, BrokenPipeEndsTheProgramBeforeItWritesAnything)
{
    FilesOfAnEarlierRun(Written(asBmp));
    const Untouched files(folder);
    const Finished run = Run(asBmp, [] {
        std::signal(SIGPIPE, SIG_DFL);
        int ends[2];
        if (pipe(ends) != 0 || dup2(ends[1], STDOUT_FILENO) < 0) _exit(126);
        close(ends[0]);
        close(ends[1]);
    });
    EXPECT_EQ(run.signal, SIGPIPE);
    EXPECT_TRUE(files.Still());
}

TEST_F(Faults, ErrorsThatNobodyReadsKeepTheirStatus)
{
    const auto mute = [] { close(STDERR_FILENO); };
    RunOptions options;
    options.before = mute;
    EXPECT_EQ(::Run(Join({{program, "-l", "1"}, Geometry().Arguments()}), folder.Path(), options).status,
              255);
    EXPECT_EQ(::Run({program, "-l", "0"}, folder.Path(), options).status, 1);
    std::filesystem::create_symlink("/dev/full", folder / "detected.jpg");
    EXPECT_EQ(Run(asBmp, mute).status, 1);
}

// ---------------------------------------------------------------------------------- unwritable folders

/// A folder without permission to write, for root as well: the child gives up the right to pass over
/// permission bits. It keeps the one to pass through folders, since the program may lie in one that is closed
/// to others.
class ReadOnly {
public:
    explicit ReadOnly(const TemporaryFolder& where) : path(where.Path())
    {
        using std::filesystem::perms;
        std::filesystem::permissions(path, perms::owner_read | perms::owner_exec);
    }
    ReadOnly(const ReadOnly&) = delete;
    ReadOnly& operator=(const ReadOnly&) = delete;
    ~ReadOnly() { std::filesystem::permissions(path, std::filesystem::perms::owner_all); }

    static void WithoutPrivilege()
    {
        if (geteuid() == 0 && prctl(PR_CAPBSET_DROP, CAP_DAC_OVERRIDE) != 0) _exit(126);
    }

private:
    const std::string path;
};

Finished RunWithoutPrivilege(const TemporaryFolder& folder, const Words& words)
{
    RunOptions options;
    options.before = ReadOnly::WithoutPrivilege;
    options.timeout = std::chrono::seconds(200);
    return Run(words, folder.Path(), options);
}

TEST_F(Faults, FolderThatCannotBeWrittenKeepsNothingBackButTheFiles)
{
    for (const Saving saving : {asBmp, asJpeg}) {
        const Words before = FilesIn(folder);
        const ReadOnly closed(folder);
        const Finished run = RunWithoutPrivilege(folder, CommandLine(saving));
        EXPECT_EQ(run.status, 0);
        EXPECT_EQ(run.out.substr(0, GrabbingDone(2).size()), GrabbingDone(2));
        EXPECT_NE(run.out.find("RESULT=0\nOROI=["), std::string::npos) << run.out;
        EXPECT_EQ(run.err, "");
        EXPECT_EQ(FilesIn(folder), before);
    }
}

TEST(FaultsOfFolders, DetectionInAFolderThatCannotBeWritten)
{
    const TemporaryFolder folder;
    const std::vector<BytePicture> frames = {WheelFrame(WheelScene(), 10), WheelFrame(WheelScene(), 11)};
    WriteFrames(folder, frames);
    const Words words = Join({Split("-l 2 -s"), Geometry().Arguments()});
    const reference::Run predicted = reference::PredictRun(words, frames);
    ASSERT_EQ(predicted.detection.result, 0);
    const ReadOnly closed(folder);
    const Finished run = RunWithoutPrivilege(folder, Join({{program}, words}));
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.out, predicted.out);
    EXPECT_EQ(run.err, "");
    EXPECT_EQ(FilesIn(folder), (Words{"img1.bmp", "img2.bmp"}));
}

TEST_F(Faults, FilesThatCannotBeWrittenStayAndTheOthersAreWritten)
{
    for (const std::string& locked : {std::string("img2.bmp"), std::string("detected.jpg"),
                                      std::string("hough.bmp"), std::string("v_sum_sh.bmp")}) {
        for (const std::string& name : Written(asBmp)) std::filesystem::remove(folder / name);
        FilesOfAnEarlierRun({locked});
        std::filesystem::permissions(folder / locked, std::filesystem::perms::owner_read);
        const Finished run = RunWithoutPrivilege(folder, CommandLine(asBmp));
        EXPECT_EQ(run.status, 0) << locked;
        EXPECT_EQ(run.out, GrabbingDone(2) + detectionDone) << locked;
        EXPECT_EQ(run.err, "") << locked;
        for (const std::string& name : Written(asBmp)) {
            if (name == locked) {
                EXPECT_EQ(folder.Read(name), "an earlier " + name);
            } else {
                EXPECT_TRUE(HasFile(folder, name, Whole(name))) << locked;
            }
        }
    }
}

TEST_F(Faults, FoldersInThePlaceOfFilesArePassedOver)
{
    for (const char* const name : {"img1.bmp", "detected.jpg", "hough.bmp", "u_sum_sh.bmp"})
        std::filesystem::create_directory(folder / name);
    const Finished run = Run(asBmp);
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.out, GrabbingDone(2) + detectionDone);
    EXPECT_EQ(run.err, "");
    for (const char* const name : {"img2.bmp", "v_sum_sh.bmp"})
        EXPECT_TRUE(HasFile(folder, name, Whole(name)));
}

// ---------------------------------------------------------------------------------- broken frame files

class FrameFile : public testing::Test {
protected:
    /// A frame of 1280 x 960, every pixel another than its neighbours.
    static const reference::Bytes& Good()
    {
        static const reference::Bytes bytes = reference::BmpByte(NoiseFrame(1280, 960, 31));
        return bytes;
    }

    /// Writes the lower bytes of the number over the header's.
    static reference::Bytes With(reference::Bytes bytes, std::size_t offset, std::int32_t value, int width)
    {
        for (int i = 0; i < width; i++)
            bytes[offset + static_cast<std::size_t>(i)] =
                static_cast<unsigned char>(static_cast<std::uint32_t>(value) >> 8 * i);
        return bytes;
    }

    void ExpectRefused(const std::string& what) const
    {
        const Finished run = RunIn(folder, program, Join({Split("-l 1 -s"), RefusedGeometry().Arguments()}));
        EXPECT_EQ(run.status, 255) << what;
        EXPECT_EQ(run.out, "Loading images ...\n") << what;
        EXPECT_EQ(run.err, loadingFailed) << what;
        EXPECT_EQ(FilesIn(folder), Words{"img1.bmp"}) << what;
    }

    void ExpectHalt(const reference::Bytes& bytes, const std::string& what) const
    {
        folder.Write("img1.bmp", AsText(bytes));
        const FailStop stop = RunProgramUntilHalt(
            Join({{program}, Split("-l 1"), RefusedGeometry().Arguments()}), folder.Path());
        EXPECT_TRUE(stop.halted) << what << " " << stop.state;
        EXPECT_EQ(stop.out, "Loading images ...\n") << what;
        EXPECT_EQ(stop.err,
                  ErrorLine("Resize_ubyte: Object cannot be resized, data are referenced by another object") +
                      "\n")
            << what;
    }

    /// The detection gets the frame of Good(): with one frame it has no result and writes it unmarked.
    void ExpectLoaded(const reference::Bytes& bytes, const std::string& what) const
    {
        folder.Write("img1.bmp", AsText(bytes));
        Geometry g;
        g.R3 = "0";
        const Finished run = RunIn(folder, program, Join({Split("-l 1"), g.Arguments()}));
        EXPECT_EQ(run.status, 0) << what;
        EXPECT_TRUE(HasFile(folder, "detected.jpg", reference::JpegGrey(NoiseFrame(1280, 960, 31), 85)))
            << what;
        std::filesystem::remove(folder / "detected.jpg");
    }

    TemporaryFolder folder;
};

TEST_F(FrameFile, CutAtAnyByteOfItsHeadersIsRefused)
{
    for (std::size_t length = 0; length < 54; length++) {
        folder.Write("img1.bmp", AsText(Good()).substr(0, length));
        ExpectRefused("cut to " + std::to_string(length));
    }
}

TEST_F(FrameFile, CutInPaletteOrPixelsIsRefused)
{
    const std::size_t palette = 54, pixels = 1078, end = Good().size();
    ASSERT_EQ(end, 1229878u);
    for (const std::size_t length :
         {palette, palette + 1, palette + 512, pixels - 1, pixels, pixels + 1, pixels + 1279, pixels + 1280,
          pixels + 1281, pixels + 1280 * 480 + 7, end - 1280, end - 1}) {
        folder.Write("img1.bmp", AsText(Good()).substr(0, length));
        ExpectRefused("cut to " + std::to_string(length));
    }
    ExpectLoaded(Good(), "whole");
}

TEST_F(FrameFile, BytesBehindThePixelsAreLeftAlone)
{
    for (const std::size_t more : {std::size_t{1}, std::size_t{3}, std::size_t{100000}}) {
        reference::Bytes longer = Good();
        longer.insert(longer.end(), more, 0xA5);
        ExpectLoaded(longer, std::to_string(more) + " more");
    }
    // The figure of the whole file is not looked at.
    ExpectLoaded(With(Good(), 2, 99, 4), "said to be shorter");
    ExpectLoaded(With(Good(), 2, INT32_MAX, 4), "said to be longer");
}

TEST_F(FrameFile, FolderInItsPlaceIsRefused)
{
    std::filesystem::create_directory(folder / "img1.bmp");
    ExpectRefused("a folder");
}

TEST_F(FrameFile, APipeInItsPlaceIsWaitedFor)
{
    const std::string path = folder / "img1.bmp";
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    Geometry g;
    g.R3 = "0";
    const FailStop waits =
        RunProgramUntilHalt(Join({{program}, Split("-l 1"), g.Arguments()}), folder.Path());
    EXPECT_TRUE(waits.halted) << waits.state;
    EXPECT_EQ(waits.out, "Loading images ...\n");
    EXPECT_EQ(waits.err, "");

    child_process::Child run(
        child_process::Becoming(Join({{program}, Split("-l 1"), g.Arguments()}), folder.Path(), {}), "");
    {
        std::ofstream pipe(path, std::ios::binary);
        pipe << AsText(Good());
    }
    for (int i = 0; i < 20000 && !run.Ended(); i++) run.Read(std::chrono::milliseconds(10));
    EXPECT_EQ(WEXITSTATUS(run.Status()), 0) << run.err;
    EXPECT_TRUE(HasFile(folder, "detected.jpg", reference::JpegGrey(NoiseFrame(1280, 960, 31), 85)));
}

TEST_F(FrameFile, LinksThatLeadNowhereAreRefused)
{
    std::filesystem::create_symlink("nothing there", folder / "img1.bmp");
    ExpectRefused("a link to nothing");
    std::filesystem::remove(folder / "img1.bmp");
    std::filesystem::create_symlink("img1.bmp", folder / "img1.bmp");
    ExpectRefused("a link to itself");
    for (const char* const device : {"/dev/null", "/dev/zero"}) {
        std::filesystem::remove(folder / "img1.bmp");
        std::filesystem::create_symlink(device, folder / "img1.bmp");
        ExpectRefused(device);
    }
}

TEST_F(FrameFile, OfColourOrAnotherDepthIsRefused)
{
    // Whole 24-bit pictures, with and without an image size, and other depths and forms of pixels.
    reference::Bytes colour = With(With(Good(), 28, 24, 2), 46, 0, 4);
    colour.resize(54 + 3 * 1280 * 960, 77);
    folder.Write("img1.bmp", AsText(With(colour, 10, 54, 4)));
    ExpectRefused("24 bits, no image size");
    folder.Write("img1.bmp", AsText(With(With(colour, 10, 54, 4), 34, 3 * 1280 * 960, 4)));
    ExpectRefused("24 bits");
    for (const int bits : {0, 1, 4, 7, 16, 32}) {
        folder.Write("img1.bmp", AsText(With(Good(), 28, bits, 2)));
        ExpectRefused(std::to_string(bits) + " bits");
    }
    for (const int compression : {1, 2, 3, -1}) {
        folder.Write("img1.bmp", AsText(With(Good(), 30, compression, 4)));
        ExpectRefused("compression " + std::to_string(compression));
    }
    for (const int size : {12, 0, 39, 41, 124, -1}) {
        folder.Write("img1.bmp", AsText(With(Good(), 14, size, 4)));
        ExpectRefused("a second header of " + std::to_string(size));
    }
}

TEST_F(FrameFile, OfNoWidthOrHeightIsRefused)
{
    for (const std::size_t field : {18, 22}) {
        folder.Write("img1.bmp", AsText(With(Good(), field, 0, 4)));
        ExpectRefused("size 0 at " + std::to_string(field));
    }
}

TEST_F(FrameFile, OfNegativeHeightOrWidthStopsTheProgramForGood)
{
    // Stored from the top: another size than the frame's, since sizes are signed.
    ExpectHalt(With(Good(), 22, -960, 4), "height -960");
    ExpectHalt(With(Good(), 18, -1280, 4), "width -1280");
    ExpectHalt(With(With(Good(), 18, -1280, 4), 22, -960, 4), "both");
    ExpectHalt(With(Good(), 22, INT32_MIN, 4), "lowest height");
}

TEST_F(FrameFile, OfAnotherSizeStopsTheProgramForGoodBeforeAnyPixelIsRead)
{
    reference::Bytes headersOnly = Good();
    headersOnly.resize(1078);
    ExpectHalt(With(headersOnly, 18, 1279, 4), "1279 wide");
    ExpectHalt(With(headersOnly, 22, 961, 4), "961 high");
    ExpectHalt(With(With(headersOnly, 18, 1, 4), 22, 1, 4), "1 x 1");
    ExpectHalt(With(With(headersOnly, 18, INT32_MAX, 4), 22, INT32_MAX, 4), "largest");
}

// ---------------------------------------------------------------------------------- cameras that fall off

class FailingCamera : public testing::Test {
protected:
    /// A detection on what is kept of so many frames. Memory from malloc is filled: what is not written
    /// shows.
    void ExpectDetectionOn(const std::vector<BytePicture>& frames, const std::string& fault) const
    {
        folder.Write(filmFault, fault);
        Geometry g;
        g.wid = g.hgh = "20";
        g.cx = g.cy = "10";
        g.innerR = "20";
        g.outerR = "22";
        const Words words = Join({{"-n", std::to_string(frames.size()), "-s"}, g.Arguments()});
        RunOptions options;
        options.environment = {"MALLOC_PERTURB_=165"};
        options.timeout = std::chrono::seconds(200);
        const Finished run = ::Run(Join({{filmCamera}, words}), folder.Path(), options);
        const reference::Run predicted = reference::PredictRun(words, frames);
        EXPECT_EQ(run.status, 0) << fault;
        EXPECT_EQ(run.out, predicted.out) << fault;
        EXPECT_EQ(run.err, predicted.err) << fault;
        ExpectPictures(folder, predicted);
        for (std::size_t i = 0; i < frames.size(); i++)
            EXPECT_TRUE(HasFile(folder, FrameName(i), reference::BmpByte(frames[i]))) << fault;
    }

    const TemporaryFolder folder;
};

TEST_F(FailingCamera, LastBufferIsTakenAgainWhenItStopsDelivering)
{
    ExpectDetectionOn({FilmFrame(11), FilmFrame(12), FilmFrame(12), FilmFrame(12)}, "12 stays");
    ExpectDetectionOn({FilmFrame(1), FilmFrame(1)}, "1 stays"); // while it warms up
}

TEST_F(FailingCamera, FramesWithoutABufferAreBlack)
{
    const BytePicture black(1280, 960, 0);
    ExpectDetectionOn({black, black}, "0 null");
    ExpectDetectionOn({FilmFrame(11), FilmFrame(12), black}, "12 null");
    ExpectDetectionOn({FilmFrame(10), black}, "10 null"); // what warmed it up stays in the first frame
}

// ---------------------------------------------------------------------------------- killed while writing

TEST_F(Faults, TwoRunsAtOnceInOneFolderLeaveFilesOfBoth)
{
    // The first run is held up where its votes would go, and the second one comes and ends in between.
    const std::string path = folder / "hough.bmp";
    ASSERT_EQ(mkfifo(path.c_str(), 0666), 0);
    const child_process::Descriptor reader(open(path.c_str(), O_RDONLY | O_NONBLOCK));
    ASSERT_GE(reader.Get(), 0);
    child_process::Child first(child_process::Becoming(CommandLine(asBmp), folder.Path(), {}), "");
    pollfd end{reader.Get(), POLLIN, 0};
    ASSERT_EQ(poll(&end, 1, 200000), 1);
    std::filesystem::remove(path);
    const reference::Bytes firstFlow = Whole("u_sum_sh.bmp");
    Answers("1280 300  1281 310  1281 210  1281 110");
    ASSERT_EQ(Run(asBmp).status, 0);
    EXPECT_TRUE(HasFile(folder, "u_sum_sh.bmp", reference::BmpShort(Answer<std::int16_t>(1281, 210))));
    std::array<char, 65536> rest;
    for (int i = 0; i < 20000 && !first.Ended(); i++)
        if (read(reader.Get(), rest.data(), rest.size()) <= 0) usleep(1000);
    ASSERT_TRUE(first.Ended());
    EXPECT_TRUE(HasFile(folder, "detected.jpg", reference::JpegGrey(Answer<std::uint8_t>(1280, 300), 85)));
    EXPECT_TRUE(HasFile(folder, "hough.bmp", reference::BmpShort(Answer<std::int16_t>(1281, 310))));
    EXPECT_TRUE(HasFile(folder, "u_sum_sh.bmp", firstFlow)) << "of the run that wrote it last";
}

class Killed : public Faults {
protected:
    /// Kills the program when a file of that name has begun and cannot go on: a pipe in its place takes the
    /// first 64 kB only.
    void WhileWriting(const std::string& name, Saving saving) const
    {
        const std::string path = folder / name;
        std::filesystem::remove(path);
        ASSERT_EQ(mkfifo(path.c_str(), 0666), 0);
        const child_process::Descriptor reader(open(path.c_str(), O_RDONLY | O_NONBLOCK));
        ASSERT_GE(reader.Get(), 0);
        child_process::Child child(child_process::Becoming(CommandLine(saving), folder.Path(), {}), "");
        pollfd end{reader.Get(), POLLIN, 0};
        ASSERT_EQ(poll(&end, 1, 200000), 1);
        EXPECT_NE(end.revents & POLLIN, 0);
        EXPECT_FALSE(child.Ended());
        child.Kill();
        std::filesystem::remove(path);
    }
};

TEST_F(Killed, FilesOfAnEarlierRunThatWereNotReachedAreIntact)
{
    for (const Saving saving : {asBmp, asJpeg}) {
        const Words files = Written(saving);
        for (std::size_t k = 0; k < files.size(); k++) {
            for (const std::string& name : files) std::filesystem::remove(folder / name);
            FilesOfAnEarlierRun(files);
            WhileWriting(files[k], saving);
            for (std::size_t i = 0; i < files.size(); i++) {
                if (i < k) {
                    EXPECT_TRUE(HasFile(folder, files[i], Whole(files[i]))) << "killed at " << files[k];
                } else if (i > k) {
                    EXPECT_EQ(folder.Read(files[i]), "an earlier " + files[i]) << "killed at " << files[k];
                }
            }
        }
    }
}

} // namespace

// The program as a process, with frames from files and from the simulated camera: what it prints, what it
// writes, and its exit status.
#include <tests/support/ProgramRuns.h>

#include <tests/reference/CommandLine.h>

#include <simulator/Wheel.h>

#include <chrono>
#include <cstddef>
#include <string>
#include <utility>
#include <vector>

namespace {

const std::string program = TELVANE_PATH;

/// The first frames that the simulated camera gives after warming up.
const std::vector<BytePicture>& WheelPictures()
{
    static const std::vector<BytePicture> pictures = [] {
        std::vector<BytePicture> frames;
        for (int i = 0; i < 4; i++) frames.push_back(WheelFrame(WheelScene(), 10 + i));
        return frames;
    }();
    return pictures;
}

std::vector<BytePicture> FirstPictures(std::size_t count)
{
    return {WheelPictures().begin(), WheelPictures().begin() + static_cast<std::ptrdiff_t>(count)};
}

/// The frames that the simulated camera's run keeps.
std::vector<BytePicture> CameraPictures(int count, int period1, int period2)
{
    std::vector<BytePicture> frames;
    int at = 10;
    for (int i = 0; i < count; i++) {
        if (i > 0) at += i % 2 != 0 ? period1 : period2;
        frames.push_back(WheelFrame(WheelScene(), at));
    }
    return frames;
}

/// Takes the camera's own line off the front.
std::string WithoutTheCamerasLine(const std::string& err)
{
    const std::size_t end = err.find('\n');
    EXPECT_NE(end, std::string::npos) << err;
    EXPECT_NE(err.substr(0, end).find("imulated"), std::string::npos) << err;
    return end == std::string::npos ? err : err.substr(end + 1);
}

void ExpectAsPredicted(const TemporaryFolder& folder, const Finished& run, const reference::Run& predicted)
{
    EXPECT_EQ(run.status, predicted.status);
    EXPECT_EQ(run.out, predicted.out);
    EXPECT_EQ(run.err, predicted.err);
    ExpectPictures(folder, predicted);
}

// ---------------------------------------------------------------------------------- usage

TEST(Program, WrongCommandLinesShowTheUsage)
{
    const std::string positional =
        " 600 560 300 280 216 250 -1 0 360 360 40 1 0 0 0 0"; // 16 words, where the error lies before them
    const TemporaryFolder folder;
    for (const std::string& line : {
             std::string(),
             // A value is missing.
             std::string("-n"),
             std::string("-l"),
             std::string("-p1"),
             std::string("-p2"),
             std::string("-s -jpg -n"),
             std::string("-l 3 -p1"),
             std::string("-m"),
             std::string("-m 1 2 3"),
             std::string("-m 1 2 3 4 -m 1 2 3"),
             // A count or a period is out of range.
             "-n 0" + positional,
             "-n 51" + positional,
             "-l 0" + positional,
             "-l 51" + positional,
             "-n -1" + positional,
             "-l 1000000" + positional,
             "-p1 0" + positional,
             "-p1 51" + positional,
             "-p2 0" + positional,
             "-p2 51" + positional,
             "-p1 -3" + positional,
             // Words that are no numbers are 0.
             "-n abc" + positional,
             "-l x3" + positional,
             "-p1 -s" + positional,
             "-n 0x5" + positional,
             // The low 32 bits: 0, -1, 51.
             "-n 4294967296" + positional,
             "-n 99999999999999999999" + positional,
             "-l 4294967347" + positional,
             // An option further on does not mend it.
             "-n 0 -n 3" + positional,
             "-p1 51 -p1 1" + positional,
             "-l 3 -l 51" + positional,
             // A fourth mask.
             "-m 1 2 3 4 -m 1 2 3 4 -m 1 2 3 4 -m 1 2 3 4" + positional,
             // Too few positional arguments.
             std::string("-l 3"),
             std::string("-l 3 -s -jpg -p1 1 -p2 1 -m 1 2 3 4"),
             std::string("-l 3 600 560 300 280 216 250 -1 0 360 360 40 1 0 0 0"),
             std::string("1 2 3"),
             // Options are exact: these are positional, and the rest after them as well.
             std::string("-L 3"),
             std::string("--n 3"),
             std::string("-jp -n 3"),
             std::string("-M 1 2 3 4"),
         }) {
        const Words words = Split(line);
        const Finished run = RunIn(folder, program, words);
        EXPECT_EQ(run.status, 1) << line;
        EXPECT_EQ(run.err, usageLines) << line;
        EXPECT_EQ(run.out, "") << line;
        EXPECT_TRUE(reference::ParseCommandLine(words).usage) << line;
    }
    EXPECT_EQ(FilesIn(folder), Words());
}

TEST(Program, EmptyWordsAreNumbersToo)
{
    const TemporaryFolder folder;
    const Finished run = RunIn(folder, program, Join({{"-n", ""}, Geometry().Arguments()}));
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.err, usageLines);
}

TEST(Program, WrongCommandLineLeavesTheFilesOfAnEarlierRun)
{
    const TemporaryFolder folder;
    for (const char* const name :
         {"img1.bmp", "img1.jpg", "detected.jpg", "hough.bmp", "u_sum_sh.bmp", "v_sum_sh.bmp"})
        folder.Write(name, std::string("an earlier ") + name);
    const Untouched files(folder);
    EXPECT_EQ(RunIn(folder, program, Split("-n 51 -s")).status, 1);
    EXPECT_EQ(RunIn(folder, program, Split("-l 1 -s 1 2 3")).status, 1);
    EXPECT_TRUE(files.Still());
    EXPECT_EQ(FilesIn(folder).size(), 6u);
}

TEST(Program, CommandLinesThatAreAccepted)
{
    // There is no frame: each ends at the first one.
    const TemporaryFolder folder;
    const std::string positional = " 600 560 300 280 216 250 -1 0 360 360 40 1 0 0 0 0";
    for (const std::string& line : {
             "-l 1" + positional,
             "-l 50" + positional,
             "-l 3 -p1 1 -p2 50" + positional,
             "-p2 50 -p1 50 -jpg -s -l 2" + positional,
             "-s -s -jpg -jpg -s -l 2" + positional,
             "-m 1 2 3 4 -l 2 -m 1 2 3 4 -m 1 2 3 4" + positional,
             "-n 7 -l 2" + positional,
             "-l 2 -l 3 -p1 4 -p1 5" + positional,
             "-l 4294967297" + positional, // the low 32 bits are 1
             "-l +5" + positional,
             "-l 7up" + positional,
             // The words behind -m are its own, whatever they look like.
             "-l 2 -m -n -l -s -m" + positional,
             // More than 16 positional arguments.
             "-l 2" + positional + " 17 -n 0 -m",
             // Positional arguments that look like options, with 16 words in all; no teeth.
             std::string("-l 2 -5 -q a b c d e f g h 0 -n -s -jpg -m -l"),
         }) {
        const Words words = Split(line);
        const Finished run = RunIn(folder, program, words);
        EXPECT_EQ(run.status, 255) << line;
        EXPECT_EQ(run.err, "Error -1:  ... error loading images!\n") << line;
        EXPECT_EQ(run.out, "Loading images ...\n") << line;
        const reference::Run predicted = reference::PredictRun(words, {});
        EXPECT_EQ(predicted.status, 255) << line;
        EXPECT_EQ(predicted.err, run.err) << line;
        EXPECT_EQ(predicted.out, run.out) << line;
    }
    EXPECT_EQ(FilesIn(folder), Words());
}

// ---------------------------------------------------------------------------------- frames that do not load

TEST(Program, MissingSecondFrameEndsTheRun)
{
    const TemporaryFolder folder;
    WriteFrames(folder, FirstPictures(1));
    folder.Write("img3.bmp", AsText(reference::BmpByte(WheelPictures()[2])));
    const Untouched files(folder);
    const Finished run = RunIn(folder, program, Join({Split("-l 3 -s"), Geometry().Arguments()}));
    EXPECT_EQ(run.status, 255);
    EXPECT_EQ(run.err, "Error -1:  ... error loading images!\n");
    EXPECT_EQ(run.out, "Loading images ...\n");
    EXPECT_TRUE(files.Still());
    EXPECT_EQ(FilesIn(folder), (Words{"img1.bmp", "img3.bmp"}));
}

TEST(Program, FramesAreReadInOrderUpToTheFirstThatFails)
{
    // A frame of another size stops the program for good. Before the missing one it is met ...
    const reference::Bytes small = reference::BmpByte(BytePicture(640, 480, 9));
    const Words words = Join({Split("-l 3"), RefusedGeometry().Arguments()});
    {
        const TemporaryFolder folder;
        folder.Write("img1.bmp", AsText(small));
        EXPECT_TRUE(RunProgramUntilHalt(Join({{program}, words}), folder.Path()).halted);
    }
    // ... and behind it it is not.
    const TemporaryFolder folder;
    WriteFrames(folder, FirstPictures(1));
    folder.Write("img3.bmp", AsText(small));
    EXPECT_EQ(RunIn(folder, program, words).status, 255);
}

TEST(Program, FilesThatAreNoGreyFramesEndTheRun)
{
    const reference::Bytes good = reference::BmpByte(WheelPictures()[0]);
    std::vector<reference::Bytes> bad(4, good);
    bad[0].clear();
    bad[1][0] = 'X';
    bad[2].resize(good.size() - 1);
    bad[3][28] = 24; // bits per pixel
    for (const reference::Bytes& bytes : bad) {
        const TemporaryFolder folder;
        folder.Write("img1.bmp", AsText(bytes));
        const Finished run = RunIn(folder, program, Join({Split("-l 1"), RefusedGeometry().Arguments()}));
        EXPECT_EQ(run.status, 255);
        EXPECT_EQ(run.err, "Error -1:  ... error loading images!\n");
        EXPECT_EQ(run.out, "Loading images ...\n");
    }
}

TEST(Program, FrameOfAnotherSizeStopsTheProgramForGood)
{
    for (const auto& [w, h] : std::vector<std::pair<int, int>>{{1279, 960}, {960, 1280}, {1280, 961}}) {
        for (const char* const count : {"1", "2"}) {
            const TemporaryFolder folder;
            folder.Write("img1.bmp", AsText(reference::BmpByte(BytePicture(w, h, 9))));
            const Words words = Join({{"-l", count}, Geometry().Arguments()});
            const FailStop stop = RunProgramUntilHalt(Join({{program}, words}), folder.Path());
            EXPECT_TRUE(stop.halted) << stop.state;
            EXPECT_EQ(stop.out, "Loading images ...\n");
            EXPECT_EQ(
                stop.err,
                ErrorLine("Resize_ubyte: Object cannot be resized, data are referenced by another object") +
                    "\n");
            const reference::Run predicted = reference::PredictRun(words, {BytePicture(w, h, 9)});
            EXPECT_TRUE(predicted.halts);
            EXPECT_EQ(predicted.out, stop.out);
            EXPECT_EQ(predicted.err, stop.err);
        }
    }
}

// ---------------------------------------------------------------------------------- runs from files

TEST(Program, RingSearchOnFrameFiles)
{
    const TemporaryFolder folder;
    const std::vector<BytePicture> frames = FirstPictures(3);
    WriteFrames(folder, frames);
    const Untouched files(folder);
    Geometry g;
    g.ang1 = "-30";
    g.ang2 = "200";
    g.bkgCorr = "-50";
    const Words words = Join({Split("-l 3 -s"), g.Arguments()});
    const Finished run = RunIn(folder, program, words);
    const reference::Run predicted = reference::PredictRun(words, frames);
    ExpectAsPredicted(folder, run, predicted);
    EXPECT_TRUE(files.Still()); // loaded frames are not saved again
    EXPECT_EQ(FilesIn(folder), (Words{"detected.jpg", "img1.bmp", "img2.bmp", "img3.bmp", "u_sum_sh.bmp",
                                      "v_sum_sh.bmp"})); // there are no votes
    // The wheel stands at (652.4, 471.7): within a pixel or two the region begins at (352, 192).
    ASSERT_EQ(predicted.detection.result, 0);
    EXPECT_NEAR(predicted.detection.oroi[0], 352, 2);
    EXPECT_NEAR(predicted.detection.oroi[1], 192, 2);
    const std::string begin =
        "Loading images ...\n ... completed\nDetection ...\n ... completed\nRESULT=0\nOROI=[";
    EXPECT_EQ(run.out.substr(0, begin.size()), begin);
}

TEST(Program, VotesWithThreeMasksOnFrameFiles)
{
    const TemporaryFolder folder;
    const std::vector<BytePicture> frames = FirstPictures(3);
    WriteFrames(folder, frames);
    folder.Write("detected.jpg", std::string(3000000, 'x')); // of an earlier run, and longer
    folder.Write("hough.bmp", std::string(6000000, 'x'));
    Geometry g;
    g.R3 = "0";
    const Words words =
        Join({Split("-m 0 0 200 150 -s -m 600 100 90 180 -jpg -m 900 -20 9999 400 -l 3"), g.Arguments()});
    const Finished run = RunIn(folder, program, words);
    const reference::Run predicted = reference::PredictRun(words, frames);
    EXPECT_EQ(predicted.detection.result, 0);
    ExpectAsPredicted(folder, run, predicted);
    EXPECT_EQ(FilesIn(folder), (Words{"detected.jpg", "hough.bmp", "img1.bmp", "img2.bmp", "img3.bmp",
                                      "u_sum_sh.bmp", "v_sum_sh.bmp"}));
}

TEST(Program, UnequalPeriodsOnFrameFiles)
{
    const TemporaryFolder folder;
    const std::vector<BytePicture> frames = CameraPictures(4, 1, 3);
    WriteFrames(folder, frames);
    Geometry g;
    g.R3 = "5";
    const Words words = Join({Split("-p1 1 -l 4 -p2 3 -s"), g.Arguments()});
    const Finished run = RunIn(folder, program, words);
    const reference::Run predicted = reference::PredictRun(words, frames);
    EXPECT_EQ(predicted.detection.result, 0);
    ExpectAsPredicted(folder, run, predicted);
}

TEST(Program, RepeatedOptionsAndWordsBehindThePositionalOnes)
{
    const TemporaryFolder folder;
    const std::vector<BytePicture> frames = FirstPictures(2);
    WriteFrames(folder, FirstPictures(3));
    Geometry g;
    g.wid = "600.9"; // digits only
    g.hgh = " +560pixels";
    g.fullAng = "100";
    g.teethCnt = "0";
    g.initSpd = "fast";
    // Both periods are 7 in the end: the frames are taken as one sequence.
    const Words words = Join({Split("-p1 3 -n 9 -jpg -p2 7 -m 5 5 20 20 -l 3 -p1 7 -l 2"), g.Arguments(),
                              Split("-s -m 0 0 1280 960 99")});
    const Finished run = RunIn(folder, program, words);
    const reference::Run predicted = reference::PredictRun(words, frames);
    EXPECT_EQ(predicted.detection.result, 0);
    EXPECT_EQ(predicted.detection.oroi[2], 600);
    ExpectAsPredicted(folder, run, predicted);
    EXPECT_EQ(FilesIn(folder),
              (Words{"detected.jpg", "img1.bmp", "img2.bmp", "img3.bmp"})); // -s was not an option
}

TEST(Program, RegionOutOfRangeIsNoErrorOfTheProgram)
{
    const TemporaryFolder folder;
    const std::vector<BytePicture> frames = FirstPictures(1);
    WriteFrames(folder, frames);
    Geometry g;
    g.R3 = "0"; // a single frame has no flow: the highest of no votes lies at 0, 0
    const Words words = Join({Split("-l 1 -s"), g.Arguments()});
    const Finished run = RunIn(folder, program, words);
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.out, "Loading images ...\n ... completed\nDetection ...\n ... completed\nRESULT=-4\n");
    EXPECT_EQ(run.err, "Error 4: Calculated <oroi> is out of range, f_cx = 0, f_cy = 0\n");
    const reference::Run predicted = reference::PredictRun(words, frames);
    ExpectAsPredicted(folder, run, predicted);
    EXPECT_TRUE(Same(predicted.detected, frames[0])); // written without marks
    EXPECT_EQ(FilesIn(folder),
              (Words{"detected.jpg", "hough.bmp", "img1.bmp", "u_sum_sh.bmp", "v_sum_sh.bmp"}));
}

TEST(Program, RingLargerThanThePictureIsOutOfRange)
{
    const TemporaryFolder folder;
    WriteFrames(folder, FirstPictures(1));
    Geometry g;
    g.outerR = "481"; // 963 rows
    const Finished run = RunIn(folder, program, Join({Split("-l 1"), g.Arguments()}));
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.out, "Loading images ...\n ... completed\nDetection ...\n ... completed\nRESULT=-4\n");
    EXPECT_EQ(run.err, "Error 4: Calculated <oroi> is out of range, f_cx = -inf, f_cy = -inf\n");
}

TEST(Program, RefusedGeometryWritesNoPictures)
{
    const TemporaryFolder folder;
    WriteFrames(folder, FirstPictures(1));
    folder.Write("detected.jpg", "of an earlier run");
    const Untouched files(folder);
    std::vector<Geometry> refused(4);
    refused[0] = RefusedGeometry();
    refused[1].cy = "561";
    refused[2].innerR = "250";
    refused[3].innerR = "-1";
    for (const Geometry& g : refused) {
        const Finished run = RunIn(folder, program, Join({Split("-l 1 -s"), g.Arguments()}));
        EXPECT_EQ(run.status, 0);
        EXPECT_EQ(run.out, "Loading images ...\n ... completed\nDetection ...\n ... completed\nRESULT=-1\n");
        EXPECT_EQ(run.err, "Error 1: Invalid argument <params>\n");
    }
    EXPECT_TRUE(files.Still());
    EXPECT_EQ(FilesIn(folder), (Words{"detected.jpg", "img1.bmp"}));
}

TEST(Program, CentreRowMayEqualTheHeight)
{
    const TemporaryFolder folder;
    const std::vector<BytePicture> frames = {BytePicture(1280, 960, 100)};
    WriteFrames(folder, frames);
    Geometry g;
    g.hgh = g.cy = "250"; // the ring is found at (250, 250)
    g.cx = "0";
    const Words words = Join({Split("-l 1"), g.Arguments()});
    const Finished run = RunIn(folder, program, words);
    EXPECT_EQ(run.out, "Loading images ...\n ... completed\nDetection ...\n ... "
                       "completed\nRESULT=0\nOROI=[250,0,600,250,1]\n");
    ExpectAsPredicted(folder, run, reference::PredictRun(words, frames));
}

// ---------------------------------------------------------------------------------- fail-stops of a run

TEST(Program, EmptyMaskStopsTheProgramForGood)
{
    // Each of the three is looked at; the ones before are good.
    const TemporaryFolder folder;
    WriteFrames(folder, FirstPictures(1));
    for (const std::string& masks :
         {std::string("-m 10 10 0 5"), std::string("-m 10 10 5 5 -m 10 10 5 0"),
          std::string("-m 10 10 5 5 -m 2000 0 0 0 -m 10 10 -3 5"), std::string("-m 9 9 x y")}) {
        const Words words = Join({Split("-l 1 " + masks), RefusedGeometry().Arguments()});
        const FailStop stop = RunProgramUntilHalt(Join({{program}, words}), folder.Path());
        EXPECT_TRUE(stop.halted) << stop.state;
        EXPECT_EQ(stop.out, "Loading images ...\n ... completed\n") << masks;
        EXPECT_EQ(stop.err, ErrorLine("RNG: Invalid range selection") + "\n") << masks;
        EXPECT_TRUE(reference::PredictRun(words, FirstPictures(1)).halts) << masks;
    }
    EXPECT_EQ(FilesIn(folder), Words{"img1.bmp"});
}

TEST(Program, BackgroundOfNoPixelsStopsTheProgramForGood)
{
    const TemporaryFolder folder;
    WriteFrames(folder, FirstPictures(1));
    Geometry g;
    g.R3 = "0";
    g.wid = "0";
    g.cx = "-5";
    g.cy = "-5";
    g.bkgCorr = "-50";
    const FailStop stop = RunProgramUntilHalt(Join({{program}, Split("-l 1 -s"), g.Arguments()}),
                                              folder.Path(), std::chrono::seconds(100));
    EXPECT_TRUE(stop.halted) << stop.state;
    EXPECT_EQ(stop.out, "Loading images ...\n ... completed\nDetection ...\n");
    EXPECT_EQ(stop.err, ErrorLine("RNG: Invalid range selection") + "\n");
    EXPECT_EQ(FilesIn(folder), Words{"img1.bmp"});
}

// ---------------------------------------------------------------------------------- runs from the camera

TEST(Program, RingSearchOnCameraFramesSavedAsBmp)
{
    const TemporaryFolder folder;
    const std::vector<BytePicture> frames = CameraPictures(2, 1, 1);
    const Words words = Join({Split("-n 2 -s"), Geometry().Arguments()});
    Finished run = RunIn(folder, program, words);
    run.err = WithoutTheCamerasLine(run.err);
    const reference::Run predicted = reference::PredictRun(words, frames);
    EXPECT_EQ(predicted.detection.result, 0);
    ExpectAsPredicted(folder, run, predicted);
    const std::string begin =
        "Grabbing images ...\n-10 -9 -8 -7 -6 -5 -4 -3 -2 -1 0 1 \n ... completed\nDetection ...\n";
    EXPECT_EQ(run.out.substr(0, begin.size()), begin);
    for (std::size_t i = 0; i < 2; i++)
        EXPECT_TRUE(HasFile(folder, FrameName(i), reference::BmpByte(frames[i])));
    EXPECT_EQ(FilesIn(folder),
              (Words{"detected.jpg", "img1.bmp", "img2.bmp", "u_sum_sh.bmp", "v_sum_sh.bmp"}));
}

TEST(Program, VotesOnCameraFramesSavedAsJpeg)
{
    const TemporaryFolder folder;
    const std::vector<BytePicture> frames = CameraPictures(3, 2, 1);
    Geometry g;
    g.R3 = "0";
    // The mask comes after the saving: it is not in the saved frames.
    const Words words = Join({Split("-jpg -p1 2 -m 0 0 300 300 -s -n 3"), g.Arguments()});
    Finished run = RunIn(folder, program, words);
    run.err = WithoutTheCamerasLine(run.err);
    ExpectAsPredicted(folder, run, reference::PredictRun(words, frames));
    for (std::size_t i = 0; i < 3; i++)
        EXPECT_TRUE(HasFile(folder, FrameName(i, ".jpg"), reference::JpegGrey(frames[i], 85)));
    EXPECT_EQ(FilesIn(folder), (Words{"detected.jpg", "hough.bmp", "img1.jpg", "img2.jpg", "img3.jpg",
                                      "u_sum_sh.bmp", "v_sum_sh.bmp"}));
}

TEST(Program, JpgAloneSavesNothing)
{
    const TemporaryFolder folder;
    const Finished run = RunIn(folder, program, Join({Split("-n 1 -jpg"), RefusedGeometry().Arguments()}));
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.out,
              "Grabbing images ...\n-10 -9 -8 -7 -6 -5 -4 -3 -2 -1 0 \n ... completed\nDetection ...\n"
              " ... completed\nRESULT=-1\n");
    EXPECT_EQ(WithoutTheCamerasLine(run.err), "Error 1: Invalid argument <params>\n");
    EXPECT_EQ(FilesIn(folder), Words());
}

TEST(Program, LastOfTheTwoModesIsTaken)
{
    const TemporaryFolder folder;
    WriteFrames(folder, FirstPictures(1));
    const Words refused = RefusedGeometry().Arguments();
    EXPECT_EQ(RunIn(folder, program, Join({Split("-l 5 -n 1"), refused})).out.substr(0, 19),
              "Grabbing images ...");
    EXPECT_EQ(RunIn(folder, program, Join({Split("-n 5 -l 1"), refused})).out,
              "Loading images ...\n ... completed\nDetection ...\n ... completed\nRESULT=-1\n");
}

TEST(Program, CameraIsSilentWhenFramesComeFromFiles)
{
    const TemporaryFolder folder;
    WriteFrames(folder, FirstPictures(1));
    EXPECT_EQ(RunIn(folder, program, Join({Split("-l 1"), RefusedGeometry().Arguments()})).err,
              "Error 1: Invalid argument <params>\n");
}

} // namespace

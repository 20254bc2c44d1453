// The program as a process with cameras of the tests' own: one that does not open, and one that hands out
// known bytes and writes down how it is called.
#include <tests/support/ScriptedRuns.h>

#include <tests/reference/CommandLine.h>

#include <cstddef>
#include <string>
#include <vector>

namespace {

const std::string closedCamera = TELVANE_CLOSED_CAMERA, filmCamera = TELVANE_FILM_CAMERA;

/// The log of a run that takes frames after so many grabs each, the warm-up not counted.
std::string LogOf(const std::vector<int>& grabsPerFrame)
{
    std::string log = "constructed\nopen(true)\n";
    for (int i = 0; i < 10; i++) log += "grab\ndata\nsize\n";
    for (const int grabs : grabsPerFrame) {
        for (int i = 0; i < grabs; i++) log += "grab\n";
        log += "data\nsize\n";
    }
    return log + "destroyed\n";
}

const std::string detectionRefused = " ... completed\nDetection ...\n ... completed\nRESULT=-1\n";

std::string GrabbedOutput(int frames)
{
    std::string out = "Grabbing images ...\n";
    for (int i = -10; i < frames; i++) out += std::to_string(i) + " ";
    return out + "\n" + detectionRefused;
}

TEST(ProgramCameras, CameraThatDoesNotOpenEndsTheRun)
{
    const TemporaryFolder folder;
    WriteFrames(folder, {BytePicture(1280, 960, 7)});
    const Untouched files(folder);
    // The camera is opened in both modes.
    for (const std::string& options : {std::string(), std::string("-n 2 -s"), std::string("-l 1 -s"),
                                       std::string("-l 3"), std::string("-m 5 5 0 0 -n 1")}) {
        const Words words = Join({Split(options), Geometry().Arguments()});
        const Finished run = RunIn(folder, closedCamera, words);
        EXPECT_EQ(run.status, 1) << options;
        EXPECT_EQ(run.out, "") << options;
        EXPECT_EQ(run.err, "Could not open the camera\n") << options;
        reference::Circumstances circumstances;
        circumstances.cameraOpens = false;
        const reference::Run predicted = reference::PredictRun(words, {}, circumstances);
        EXPECT_EQ(predicted.status, run.status);
        EXPECT_EQ(predicted.out, run.out);
        EXPECT_EQ(predicted.err, run.err);
    }
    EXPECT_TRUE(files.Still());
    EXPECT_EQ(FilesIn(folder), Words{"img1.bmp"});
}

TEST(ProgramCameras, UsageComesBeforeTheCamera)
{
    const TemporaryFolder folder;
    for (const std::string& program : {closedCamera, filmCamera}) {
        for (const std::string& line : {std::string(), std::string("-n 51"), std::string("-n 2 1 2 3")}) {
            const Finished run = RunIn(folder, program, Split(line));
            EXPECT_EQ(run.status, 1) << line;
            EXPECT_EQ(run.out, "") << line;
            EXPECT_EQ(run.err, usageLines) << line;
        }
    }
    EXPECT_EQ(FilesIn(folder), Words()); // the camera was not even constructed
}

TEST(ProgramCameras, CameraIsGrabbedByThePeriods)
{
    struct Case {
        const char* options;
        std::vector<int> grabs;
    };
    for (const Case& c : std::vector<Case>{{"-n 4 -p1 2 -p2 5", {1, 2, 5, 2}},
                                           {"-p1 3 -n 3 -p2 3", {1, 3, 3}},
                                           {"-n 5 -p2 4", {1, 1, 4, 1, 4}},
                                           {"-p1 50 -n 2 -p2 50", {1, 50}},
                                           {"-n 1 -p1 9", {1}}}) {
        const TemporaryFolder folder;
        const Finished run =
            RunIn(folder, filmCamera, Join({Split(c.options), RefusedGeometry().Arguments()}));
        EXPECT_EQ(run.status, 0) << c.options;
        EXPECT_EQ(run.out, GrabbedOutput(static_cast<int>(c.grabs.size()))) << c.options;
        EXPECT_EQ(run.err, "Error 1: Invalid argument <params>\n") << c.options;
        EXPECT_EQ(folder.Read(filmLog), LogOf(c.grabs)) << c.options;
        EXPECT_EQ(FilesIn(folder), Words{filmLog}) << c.options;
    }
}

TEST(ProgramCameras, FifteenFramesUnlessACountIsGiven)
{
    const TemporaryFolder folder;
    const Finished run = RunIn(folder, filmCamera, RefusedGeometry().Arguments());
    EXPECT_EQ(run.out, "Grabbing images ...\n"
                       "-10 -9 -8 -7 -6 -5 -4 -3 -2 -1 0 1 2 3 4 5 6 7 8 9 10 11 12 13 14 \n"
                       " ... completed\n"
                       "Detection ...\n"
                       " ... completed\n"
                       "RESULT=-1\n");
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(folder.Read(filmLog), LogOf(std::vector<int>(15, 1)));
}

TEST(ProgramCameras, CountsFromOneToFiftyAsNumbersOrWhatBeginsSo)
{
    struct Case {
        const char* word;
        int count;
    };
    for (const Case& c : std::vector<Case>{{"1", 1},
                                           {"50", 50},
                                           {"+5", 5},
                                           {"007", 7},
                                           {"3.9", 3},
                                           {"2up", 2},
                                           {"4294967298", 2},
                                           {"-4294967293", 3}}) {
        const TemporaryFolder folder;
        const Finished run = RunIn(folder, filmCamera, Join({{"-n", c.word}, RefusedGeometry().Arguments()}));
        EXPECT_EQ(run.status, 0) << c.word;
        EXPECT_EQ(run.out, GrabbedOutput(c.count)) << c.word;
    }
    const TemporaryFolder folder;
    EXPECT_EQ(RunIn(folder, filmCamera, Join({{"-n", " \t4"}, RefusedGeometry().Arguments()})).out,
              GrabbedOutput(4));
}

TEST(ProgramCameras, GrabbedFramesAreSavedAsTheyAre)
{
    const TemporaryFolder folder;
    const Finished run = RunIn(folder, filmCamera,
                               Join({Split("-n 3 -s -p2 3 -m 0 0 600 600"), RefusedGeometry().Arguments()}));
    EXPECT_EQ(run.out, GrabbedOutput(3));
    EXPECT_TRUE(HasFile(folder, "img1.bmp", reference::BmpByte(FilmFrame(11))));
    EXPECT_TRUE(HasFile(folder, "img2.bmp", reference::BmpByte(FilmFrame(12))));
    EXPECT_TRUE(HasFile(folder, "img3.bmp", reference::BmpByte(FilmFrame(15))));
    EXPECT_EQ(FilesIn(folder), (Words{filmLog, "img1.bmp", "img2.bmp", "img3.bmp"}));
}

TEST(ProgramCameras, GrabbedFramesAreSavedAsJpegOverOlderOnes)
{
    const TemporaryFolder folder;
    folder.Write("img2.jpg", std::string(3000000, 'x'));
    folder.Write("img1.bmp", "of an earlier run");
    folder.Write("img3.jpg", "of a longer run");
    const Finished run =
        RunIn(folder, filmCamera, Join({Split("-jpg -n 2 -s"), RefusedGeometry().Arguments()}));
    EXPECT_EQ(run.out, GrabbedOutput(2));
    EXPECT_TRUE(HasFile(folder, "img1.jpg", reference::JpegGrey(FilmFrame(11), 85)));
    EXPECT_TRUE(HasFile(folder, "img2.jpg", reference::JpegGrey(FilmFrame(12), 85)));
    EXPECT_EQ(folder.Read("img1.bmp"), "of an earlier run");
    EXPECT_EQ(folder.Read("img3.jpg"), "of a longer run");
    EXPECT_EQ(FilesIn(folder), (Words{filmLog, "img1.bmp", "img1.jpg", "img2.jpg", "img3.jpg"}));
}

TEST(ProgramCameras, FiftiethFrameIsSavedUnderItsNumber)
{
    const TemporaryFolder folder;
    const Finished run = RunIn(folder, filmCamera, Join({Split("-n 50 -s"), RefusedGeometry().Arguments()}));
    EXPECT_EQ(run.out, GrabbedOutput(50));
    EXPECT_EQ(FilesIn(folder).size(), 51u);
    for (const int i : {9, 10, 50})
        EXPECT_TRUE(
            HasFile(folder, "img" + std::to_string(i) + ".bmp", reference::BmpByte(FilmFrame(10 + i))));
}

TEST(ProgramCameras, CameraIsOpenedAndLeftAloneWhenFramesComeFromFiles)
{
    const TemporaryFolder folder;
    WriteFrames(folder, {BytePicture(1280, 960, 7)});
    EXPECT_EQ(RunIn(folder, filmCamera, Join({Split("-l 1 -s"), RefusedGeometry().Arguments()})).status, 0);
    EXPECT_EQ(folder.Read(filmLog), "constructed\nopen(true)\ndestroyed\n");
    EXPECT_EQ(FilesIn(folder), (Words{filmLog, "img1.bmp"}));
}

TEST(ProgramCameras, NoiseFromTheCameraGivesThePredictedPictures)
{
    const TemporaryFolder folder;
    Geometry g;
    g.wid = g.hgh = "20";
    g.cx = g.cy = "10";
    g.innerR = "20";
    g.outerR = "22";
    g.bkgCorr = "-50";
    const Words words = Join({Split("-n 3 -s -p2 2"), g.Arguments()});
    const Finished run = RunIn(folder, filmCamera, words);
    const std::vector<BytePicture> frames = {FilmFrame(11), FilmFrame(12), FilmFrame(14)};
    const reference::Run predicted = reference::PredictRun(words, frames);
    EXPECT_EQ(predicted.detection.result, 0);
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.out, predicted.out);
    EXPECT_EQ(run.err, predicted.err);
    ExpectPictures(folder, predicted);
}

} // namespace

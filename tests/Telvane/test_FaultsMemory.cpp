// The program when there is no more memory, by limits on its addresses.
#include <tests/support/ProgramRuns.h>

#include <tests/reference/CommandLine.h>

#include <functional>
#include <map>
#include <string>
#include <vector>

#include <sys/resource.h>
#include <unistd.h>

namespace {

const std::string program = TELVANE_PATH;

enum class End { notStarted, noCamera, notLoaded, noRoomInJpeg, halted, haltedInADetection, good };

/// Runs the program with so many bytes of addresses. Every end that is none of the above fails the test.
End EndWithin(rlim_t bytes, const TemporaryFolder& folder, const Words& words, const std::string& goodOutput)
{
    const FailStop stop =
        RunProgramUntilHalt(Join({{program}, words}), folder.Path(), std::chrono::seconds(100), [bytes] {
            const rlimit limit{bytes, bytes};
            if (setrlimit(RLIMIT_AS, &limit) != 0) _exit(126);
        });
    const std::string noMemory = "Datablock::create: Not enough memory";
    const std::string described =
        std::to_string(bytes) + " bytes: " + stop.state + "\n" + stop.out + stop.err;
    if (stop.halted) {
        EXPECT_TRUE(stop.line == ErrorLine(noMemory) || stop.line == ErrorLine(noMemory, " 0:OF_Norm") ||
                    stop.line == ErrorLine(noMemory, " 0:GetBackground"))
            << described;
        return stop.out.find("Detection") == std::string::npos ? End::halted : End::haltedInADetection;
    }
    // The loader's own end, before anything of the program runs.
    if (stop.state == "exited with 127" && stop.err.find("shared librar") != std::string::npos)
        return End::notStarted;
    if (stop.state == "exited with 1" && stop.err == "Could not open the camera\n") return End::noCamera;
    if (stop.state == "exited with 255" && stop.err == "Error -1:  ... error loading images!\n")
        return End::notLoaded;
    if (stop.state == "exited with 1" && stop.err.find("Insufficient memory") != std::string::npos)
        return End::noRoomInJpeg;
    EXPECT_EQ(stop.state, "exited with 0") << described;
    EXPECT_EQ(stop.out, goodOutput) << described;
    return End::good;
}

TEST(FaultsOfMemory, EveryLimitEndsInAFailStopOrAnErrorAndNeverInACrash)
{
    const TemporaryFolder folder;
    const std::vector<BytePicture> frames = {WheelFrame(WheelScene(), 10), WheelFrame(WheelScene(), 11),
                                             WheelFrame(WheelScene(), 12)};
    WriteFrames(folder, frames);
    for (const char* const method : {"-1", "0"}) {
        Geometry g;
        g.R3 = method;
        g.bkgCorr = "-50";
        const Words words = Join({Split("-l 3 -s -m 1 1 9 9"), g.Arguments()});
        const reference::Run predicted = reference::PredictRun(words, frames);
        ASSERT_EQ(predicted.detection.result, 0);
        std::map<End, int> ends;
        const rlim_t kB = 1024;
        for (rlim_t limit = 4000 * kB; limit < 60000 * kB; limit += 1500 * kB)
            ends[EndWithin(limit, folder, words, predicted.out)]++;
        EXPECT_GT(ends[End::halted] + ends[End::noCamera], 0);
        EXPECT_GT(ends[End::haltedInADetection], 0);
        EXPECT_GT(ends[End::good], 0);
    }
}

TEST(FaultsOfMemory, FramesThatFindNoRoomStopTheProgramForGood)
{
    // 50 frames are 61 MB.
    const TemporaryFolder folder;
    const FailStop stop = RunProgramUntilHalt(Join({{program, "-n", "50"}, Geometry().Arguments()}),
                                              folder.Path(), std::chrono::seconds(100), [] {
                                                  const rlimit limit{50000000, 50000000};
                                                  if (setrlimit(RLIMIT_AS, &limit) != 0) _exit(126);
                                              });
    EXPECT_TRUE(stop.halted) << stop.state;
    EXPECT_EQ(stop.out, "");
    EXPECT_EQ(stop.err, ErrorLine("Datablock::create: Not enough memory") + "\n");
    EXPECT_EQ(FilesIn(folder), Words());
}

} // namespace

// Recorded frames on their way into a run's folder.
#include <run/Frames.h>

#include <tests/support/ProgramRuns.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

using namespace telvane;
namespace fs = std::filesystem;

namespace {

std::string Frame(std::uint8_t grey)
{
    BytePicture picture(1280, 960);
    std::fill(picture.a.begin(), picture.a.end(), grey);
    return AsText(reference::BmpByte(picture));
}

TEST(TakenFrames, AreCountedFromTheFirstOn)
{
    TemporaryFolder folder;
    const auto count = [&](int asked, std::string& problem) {
        problem = CountFrames(RunFolder(folder.Path(), ""), asked);
        return asked;
    };
    const auto problem = [&](int asked) {
        std::string said;
        count(asked, said);
        return said;
    };
    std::string none;
    EXPECT_EQ(problem(0),
              (folder / "img1.bmp") + ": not there; expected img1.bmp, img2.bmp, ... or img1.jpg, ...");
    folder.Write("img1.bmp", "x");
    EXPECT_EQ(problem(0), (folder / "img2.bmp") + ": not there; a run takes at least two frames");
    EXPECT_EQ(problem(2), (folder / "img2.bmp") + ": not there; --count asks for 2 frames");
    for (const char* name : {"img2.bmp", "img3.bmp", "img5.bmp"}) folder.Write(name, "x");
    EXPECT_EQ(count(0, none), 3);
    EXPECT_EQ(none, "");
    EXPECT_EQ(count(2, none), 2);
    EXPECT_EQ(count(3, none), 3);
    EXPECT_EQ(none, "");
    EXPECT_EQ(problem(4), (folder / "img4.bmp") + ": not there; --count asks for 4 frames");
}

TEST(TakenFrames, AreFilesOfTheRunsOwnAlsoWhereTheyWereLinks)
{
    TemporaryFolder folder;
    for (const char* name : {"kept", "there", "run"}) fs::create_directory(folder / name);
    folder.Write("kept/a.bmp", Frame(7));
    folder.Write("there/img2.bmp", Frame(8));
    fs::create_symlink("../kept/a.bmp", folder / "there/img1.bmp");
    EXPECT_EQ(TakeFrames(RunFolder(folder / "there", ""), 2, folder / "run"), "");
    EXPECT_EQ(FilesIn(folder), (Words{"kept", "run", "there"}));
    for (const auto& [name, grey] : {std::pair{"run/img1.bmp", 7}, {"run/img2.bmp", 8}}) {
        EXPECT_FALSE(fs::is_symlink(folder / name)) << name;
        EXPECT_TRUE(folder.Read(name) == Frame(static_cast<std::uint8_t>(grey))) << name;
    }
}

TEST(TakenFrames, AreCopiedWhereNoLinkCanBeMade)
{
    TemporaryFolder folder;
    for (const char* name : {"there", "run"}) fs::create_directory(folder / name);
    folder.Write("there/img1.bmp", Frame(9));
    folder.Write("run/img1.bmp", "in the way of a link, as another disk is");
    EXPECT_EQ(TakeFrames(RunFolder(folder / "there", ""), 1, folder / "run"), "");
    EXPECT_TRUE(folder.Read("run/img1.bmp") == Frame(9));
}

TEST(TakenFrames, AJpegFrameThatIsNoneIsNamedWithWhatConvertsIt)
{
    TemporaryFolder folder;
    for (const char* name : {"there", "run"}) fs::create_directory(folder / name);
    const std::string frame = folder / "there/img1.jpg";
    folder.Write("there/img1.jpg", AsText(reference::JpegGrey(BytePicture(160, 120), 85)));
    const std::string problem = TakeFrames(RunFolder(folder / "there", ""), 1, folder / "run");
    EXPECT_EQ(problem, frame + ": of 160 x 120 pixels, not 1280 x 960; to convert it: convert " + frame +
                           " -colorspace Gray -gravity center -background black -extent 1280x960 " + frame);
    EXPECT_TRUE(fs::is_empty(folder / "run"));
}

} // namespace

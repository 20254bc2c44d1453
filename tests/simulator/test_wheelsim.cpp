// wheelsim, the tool that writes the frames of the drawn wheel.

#include <tests/simulator/Drawn.h>
#include <tests/support/Decoded.h>
#include <tests/support/ProgramRuns.h>
#include <tests/support/Svg.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <utility>

namespace {

namespace fs = std::filesystem;

/// Runs wheelsim in a folder of its own, which goes with the object.
class Wheelsim : public testing::Test {
protected:
    /// Words separated by blanks, '' for an empty one; frames go to Frames() unless they say otherwise.
    Finished Run(const std::string& arguments) const
    {
        Words words = Join({{WHEELSIM_PATH, "--out", "frames"}, Split(arguments)});
        std::replace(words.begin(), words.end(), std::string("''"), std::string());
        return ::Run(words, folder.Path());
    }

    fs::path Frames() const { return folder / "frames"; }

    /// The pixels of a frame file, top row first.
    Bytes Pixels(int number) const
    {
        const std::string name = "frames/" + FrameName(static_cast<std::size_t>(number - 1));
        if (!folder.Has(name)) return {};
        const std::string file = folder.Read(name);
        Bytes grey;
        if (file.size() != 1229878) return grey;
        for (int y = 959; y >= 0; y--)
            grey.insert(grey.end(), file.begin() + 1078 + y * 1280, file.begin() + 1078 + (y + 1) * 1280);
        return grey;
    }

    std::size_t FileCount() const
    {
        std::size_t count = 0;
        if (fs::exists(Frames()))
            for ([[maybe_unused]] const auto& entry : fs::directory_iterator(Frames())) count++;
        return count;
    }

    TemporaryFolder folder;
};

/// The text after "name=" of the one line that begins so; empty if there is none or more than one.
std::string Value(const std::string& out, const std::string& name)
{
    const std::string text = "\n" + out, key = "\n" + name + "=";
    const std::size_t at = text.find(key);
    if (at == text.npos || text.find(key, at + 1) != text.npos) return {};
    const std::size_t start = at + key.size();
    return text.substr(start, text.find('\n', start) - start);
}

TEST_F(Wheelsim, WritesTheFramesOfTheScene)
{
    const Finished run = Run("--count 3");
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.err, "");
    EXPECT_EQ(FileCount(), 3u);
    for (int i = 1; i <= 3; i++) {
        EXPECT_EQ(fs::file_size(Frames() / ("img" + std::to_string(i) + ".bmp")), 1229878u);
        EXPECT_TRUE(Pixels(i) == Draw(WheelScene(), i - 1)) << i;
    }
}

TEST_F(Wheelsim, FramesOfTheCurrentFolderAreReplacedOnlyWhenItIsNamed)
{
    const Words bare = {WHEELSIM_PATH, "--count", "1"};
    const Finished first = ::Run(bare, folder.Path());
    EXPECT_EQ(first.status, 0) << first.err;
    EXPECT_EQ(first.out.substr(0, first.out.find('\n')), "Wrote 1 frame (camera frame 0) to .");
    fs::rename(folder / "img1.bmp", folder / "img50.bmp");

    const Finished second = ::Run(bare, folder.Path());
    EXPECT_EQ(second.status, 2);
    EXPECT_EQ(second.out, "");
    EXPECT_EQ(second.err,
              "wheelsim: the current folder has frames already: name another by --out, or this one by "
              "--out . to replace them\n");
    EXPECT_FALSE(folder.Has("img1.bmp"));

    const Finished third = ::Run(Join({bare, {"--out", "."}}), folder.Path());
    EXPECT_EQ(third.status, 0) << third.err;
    EXPECT_TRUE(folder.Has("img1.bmp"));
}

TEST_F(Wheelsim, PrintsTheCentreAndTheCommandLines)
{
    const Finished run = Run("--count 1");
    EXPECT_EQ(Value(run.out, "TRUE_CENTRE"), "652.4,471.7");
    EXPECT_EQ(Value(run.out, "TRUE_RING_CENTRE"), "652.4,471.7");
    EXPECT_EQ(Value(run.out, "TRUE_ELLIPSE"), "652.4,471.7");
    EXPECT_EQ(Value(run.out, "TRUE_OROI"), "[502,342,300,260,1]");
    EXPECT_EQ(Value(run.out, "VOTES"), "Telvane -l 1 300 260 150 130 216 250 0 0 360 360 40 1 0 0 0 0");
    EXPECT_EQ(Value(run.out, "RING"), "Telvane -l 1 300 260 150 130 216 250 -1 0 360 360 40 1 0 0 0 0");
}

TEST_F(Wheelsim, SaysWhatItWroteAndWhatTurns)
{
    const auto lines = [](const Finished& run) {
        const std::size_t end = run.out.find('\n', run.out.find('\n') + 1);
        return run.out.substr(0, end + 1);
    };
    EXPECT_EQ(lines(Run("--count 2 --first 3 --p1 4 --speed -0.5 --inner 100 --outer 120.5 --teeth 9")),
              "Wrote 2 frames (camera frames 3 to 7) to frames\n"
              "Centre 652.4, 471.7; radii 100 and 120.5; 9 teeth; -0.5 degrees per camera frame "
              "(counter-clockwise)\n");
    EXPECT_EQ(lines(Run("--count 1 --first 3")),
              "Wrote 1 frame (camera frame 3) to frames\n"
              "Centre 652.4, 471.7; radii 216 and 250; 40 teeth; 0.4 degrees per camera frame (clockwise)\n");
    EXPECT_EQ(lines(Run("--preview p.svg --noise 0 --first 3 --speed 0 --count 50")),
              "Wrote camera frame 3 with its geometry marked to p.svg\n"
              "Centre 652.4, 471.7; radii 216 and 250; 40 teeth; 0 degrees per camera frame (at rest)\n");
}

TEST_F(Wheelsim, TheHubGrowsWithTheWheelUnlessItIsGiven)
{
    ASSERT_EQ(Run("--count 1 --noise 0 --inner 108 --outer 130").status, 0);
    WheelScene scene;
    scene.noise = 0;
    scene.innerR = 108;
    scene.outerR = 130;
    scene.hubR = 30;
    EXPECT_TRUE(Pixels(1) == Draw(scene, 0));
}

TEST_F(Wheelsim, EveryOptionReachesTheScene)
{
    const Finished run = Run("--count 1 --centre 400.25,+500 --inner 100.5 --outer 130 --teeth 24 "
                             "--speed -0.5 --start 3 --spokes 4 --hub 20 --uneven 0.1 --noise 2.5 "
                             "--seed 4294967295 --first 7 --disc 1100,120,40,2,0");
    ASSERT_EQ(run.status, 0) << run.err;
    WheelScene scene;
    scene.centreX = 400.25;
    scene.centreY = 500;
    scene.innerR = 100.5;
    scene.outerR = 130;
    scene.teeth = 24;
    scene.degreesPerFrame = -0.5;
    scene.startAngle = 3;
    scene.spokes = 4;
    scene.hubR = 20;
    scene.uneven = 0.1;
    scene.noise = 2.5;
    scene.seed = 4294967295u;
    scene.disc.x = 1100;
    scene.disc.y = 120;
    scene.disc.radius = 40;
    scene.disc.dx = 2;
    EXPECT_TRUE(Pixels(1) == Draw(scene, 7));
    EXPECT_EQ(Value(run.out, "VOTES"),
              "Telvane -l 1 -m 1056 76 129 89 300 260 150 130 100 130 0 0 360 360 24 -1 0 0 0 0");
}

TEST_F(Wheelsim, PrintsTheTruthAsTheLensShowsIt)
{
    const Finished run = Run("--count 1 --centre 400,300 --lens 0.1 --eccentric 5,90 --push 0,9,9");
    ASSERT_EQ(run.status, 0) << run.err;
    const auto seen = [](double x, double y) {
        const double bend = 1 + 0.1 * ((x - 640) * (x - 640) + (y - 480) * (y - 480)) / 640000;
        return std::pair{640 + (x - 640) * bend, 480 + (y - 480) * bend};
    };
    const auto [x, y] = seen(400, 300);
    for (const auto& [line, place] : {std::pair{"TRUE_CENTRE", seen(400, 300)},
                                      {"TRUE_RING_CENTRE", seen(400, 305)},
                                      {"TRUE_ELLIPSE", seen(400, 305)}}) {
        double printedX = 0, printedY = 0;
        ASSERT_EQ(std::sscanf(Value(run.out, line).c_str(), "%lf,%lf", &printedX, &printedY), 2) << line;
        EXPECT_NEAR(printedX, place.first, 0.0001) << line;
        EXPECT_NEAR(printedY, place.second, 0.0001) << line;
    }
    // Seen from near, the middle of the ellipse is not the ring's centre.
    const Finished near = Run("--count 1 --tilt 30,0 --distance 800 --centre 640,480 --eccentric 5,90");
    for (const auto& [line, place] :
         {std::pair{"TRUE_CENTRE", std::pair{640.0, 480.0}}, {"TRUE_RING_CENTRE", {640.0, 485.0}}}) {
        double printedX = 0, printedY = 0;
        ASSERT_EQ(std::sscanf(Value(near.out, line).c_str(), "%lf,%lf", &printedX, &printedY), 2) << line;
        EXPECT_NEAR(printedX, place.first, 0.00005) << line;
        EXPECT_NEAR(printedY, place.second, 0.00005) << line;
    }
    // Its ends along the tilt lie 250 cos 30 / (1 -+ 250 sin 30 / 800) pixels from the axis.
    const double reach = std::sqrt(250.0 * 250 - 25) * std::cos(circle / 12), far = 125.0 / 800;
    double ellipseX = 0;
    ASSERT_EQ(std::sscanf(Value(near.out, "TRUE_ELLIPSE").c_str(), "%lf,", &ellipseX), 1);
    EXPECT_NEAR(ellipseX, 640 + (reach / (1 + far) - reach / (1 - far)) / 2, 0.1);
    // The radii are those that the picture shows.
    double mean = 0;
    for (int i = 0; i < 3600; i++) {
        const auto [px, py] =
            seen(400 + 250 * std::cos(i / 3600.0 * circle), 300 + 250 * std::sin(i / 3600.0 * circle));
        mean += std::hypot(px - x, py - y) / 3600;
    }
    int innerR = 0, outerR = 0;
    ASSERT_EQ(
        std::sscanf(Value(run.out, "VOTES").c_str(), "Telvane -l 1 %*d %*d %*d %*d %d %d", &innerR, &outerR),
        2);
    EXPECT_EQ(outerR, std::lround(mean));
    EXPECT_GT(outerR, 254);
    EXPECT_GT(innerR, 218);
}

TEST_F(Wheelsim, PeriodsSkipCameraFrames)
{
    const Finished run = Run("--count 4 --p1 3 --p2 1 --first 10");
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(Value(run.out, "VOTES").rfind("Telvane -l 4 -p1 3 -p2 1 300 ", 0), 0u);
    EXPECT_EQ(Value(Run("--count 2 --p2 5").out, "VOTES").rfind("Telvane -l 2 -p1 1 -p2 5 300 ", 0), 0u);
    ASSERT_EQ(Run("--count 4 --p1 3 --first 10").status, 0);
    const int frames[] = {10, 13, 14, 17};
    for (int i = 0; i < 4; i++) EXPECT_TRUE(Pixels(i + 1) == Draw(WheelScene(), frames[i])) << i;
}

TEST_F(Wheelsim, RegionStaysInsideThePicture)
{
    const Finished upperLeft = Run("--count 1 --centre 30,30");
    EXPECT_EQ(Value(upperLeft.out, "TRUE_OROI"), "[10,10,170,150,1]");
    const Finished lowerRight = Run("--count 1 --centre 1249,929");
    EXPECT_EQ(Value(lowerRight.out, "TRUE_OROI"), "[1099,799,170,150,1]");
}

TEST_F(Wheelsim, NoRingSearchWhereTheRingLeavesThePicture)
{
    const Finished run = Run("--count 1 --centre 240,480");
    EXPECT_EQ(run.status, 0);
    EXPECT_NE(Value(run.out, "VOTES"), "");
    EXPECT_EQ(run.out.find("RING="), std::string::npos);
}

TEST_F(Wheelsim, MaskOfTheDiscHidesItInEveryFrame)
{
    // A slanting path is the hard case: the mask's corners are cut off.
    const Finished run = Run("--count 21 --noise 0 --speed 0 --uneven 0 --disc 110,120,40,4,5");
    ASSERT_EQ(run.status, 0) << run.err;
    const std::string votes = Value(run.out, "VOTES");
    int x = 0, y = 0, w = 0, h = 0;
    ASSERT_EQ(std::sscanf(votes.c_str(), "Telvane -l 21 -m %d %d %d %d", &x, &y, &w, &h), 4) << votes;
    ASSERT_GE(x, 0);
    ASSERT_GE(y, 0);
    const int cut = 2 * std::min(w, h) / 7;
    WheelScene scene = Plain();
    scene.degreesPerFrame = 0;
    const Bytes without = Draw(scene, 0);
    for (int number = 1; number <= 21; number++) {
        const Bytes grey = Pixels(number);
        ASSERT_EQ(grey.size(), without.size());
        for (std::size_t i = 0; i < grey.size(); i++) {
            if (grey[i] == without[i]) continue;
            const int dx = static_cast<int>(i % 1280) - x, dy = static_cast<int>(i / 1280) - y;
            const int fromSide = std::min(dx, w - 1 - dx), fromEnd = std::min(dy, h - 1 - dy);
            ASSERT_TRUE(fromSide > 0 && fromEnd > 0 && fromSide + fromEnd > cut) << number << ": " << i;
        }
    }
}

TEST_F(Wheelsim, BadArgumentsWriteNothing)
{
    for (const char* arguments :
         {"--count 0",
          "--count 51",
          "--count -1",
          "--count x",
          "--count 1.5",
          "--count 1e1",
          "--count ''",
          "--count 99999999999999999999",
          "--count",
          "--count 3 --teeth",
          "--p1 0",
          "--p2 51",
          "--p1",
          "--first -1",
          "--first 1000001",
          "--centre 5",
          "--centre 600,400,1",
          "--centre 600,",
          "--centre ,",
          "--centre a,b",
          "--centre nan,nan",
          "--centre inf,400",
          "--centre -400,400",
          "--centre 600,1e9",
          "--centre 1e999,1",
          "--centre 29.9,400",
          "--centre 600,929.5",
          "--inner 250",
          "--inner 300",
          "--inner -1",
          "--inner nan",
          "--outer 100",
          "--outer inf",
          "--outer 1e300",
          "--teeth 0",
          "--teeth -5",
          "--teeth 1001",
          "--teeth many",
          "--speed nan",
          "--speed 361",
          "--speed -1e9",
          "--speed 0.4deg",
          "--speed 0,4",
          "--speed ''",
          "--start 400",
          "--spokes -1",
          "--spokes 101",
          "--hub 217",
          "--hub -1",
          "--hub nan",
          "--uneven 1.1",
          "--uneven -0.1",
          "--noise -1",
          "--noise 101",
          "--noise inf",
          "--seed -1",
          "--seed 4294967296",
          "--seed 1.5",
          "--disc 100,100,40",
          "--disc 100,100,-40,1,1",
          "--disc 100,100,nan,1,1",
          "--disc 20,20,40,1,1",
          "--disc 1200,100,40,5,0",
          "--disc 1e99,0,1,0,0",
          "--disc 100,100,40,5000,0",
          "--tilt 61,0",
          "--tilt 8",
          "--tilt 8,0,0",
          "--tilt -1,0",
          "--tilt 8,nan",
          "--tilt 010x,0",
          "--distance 499",
          "--distance 1e999",
          "--distance -1",
          "--distance 510 --eccentric 6,0",
          "--thickness 1001",
          "--thickness 3OO",
          "--eccentric 1001,0",
          "--eccentric 5",
          "--lens -0.11",
          "--lens 0.51",
          "--vignette 1.1",
          "--highlight 1,2,3",
          "--highlight 1,2,3,256",
          "--highlight 1,2,-3,6",
          "--shadow 1,2,3,1.1",
          "--flicker 1.1,2",
          "--flicker 0.1",
          "--flicker 0.1,0.5",
          "--gain 0",
          "--gain 101",
          "--exposure 1.01",
          "--exposure -0.1",
          "--rolling 2",
          "--fullwell -1",
          "--fullwell 1000001",
          "--rownoise 101",
          "--hot -1",
          "--hot 100001",
          "--hot 1.5",
          "--ramp 11",
          "--jerk 5",
          "--jerk 5,1,6",
          "--jerk "
          "1,1,2,1,3,1,4,1,5,1,6,1,7,1,8,1,9,1,10,1,11,1,12,1,13,1,14,1,15,1,16,1,17,1,18,"
          "1,19,1,20,1,21,1",
          "--jerk 5.5,1",
          "--jerk 5,361",
          "--push 5,1",
          "--push 5,1,101",
          "--push -1,1,1",
          "--repeat -1",
          "--repeat 1,",
          "--repeat 2000001",
          "--lose x",
          "--lose 1,2,3.5",
          "--scratches 201",
          "--dirt -1",
          "--texture 51",
          "--out",
          "--out ''",
          "--out --count",
          "--preview",
          "--preview ''",
          "--preview --count",
          "--preview picture.jpg",
          "--preview a.svg.txt",
          "--preview p.png",
          "--preview p.svg --teeth 0",
          "--colour red",
          "frames",
          "-l 3",
          "''",
          "--"}) {
        const Finished run = Run(arguments);
        EXPECT_EQ(run.status, 2) << arguments;
        EXPECT_EQ(run.out, "") << arguments;
        EXPECT_EQ(run.err.rfind("wheelsim: ", 0), 0u) << arguments << ": " << run.err;
        EXPECT_EQ(run.err.find('\n'), run.err.size() - 1) << arguments << ": one line, not " << run.err;
        EXPECT_FALSE(fs::exists(Frames())) << arguments;
    }
}

TEST_F(Wheelsim, RefusalsNameOptionLimitsAndValue)
{
    for (const auto& [arguments, said] :
         {std::pair{"--tilt 90,0",
                    "--tilt takes ANGLE from 0 to 60 degrees, DIRECTION from -360 to 360 degrees, "
                    "separated by commas, not '90,0'"},
          {"--teeth many", "--teeth takes a whole N from 1 to 1000 teeth, not 'many'"},
          {"--count 51", "--count takes a whole N from 1 to 50 frames, not '51'"},
          {"--speed nan", "--speed takes D from -360 to 360 degrees, not 'nan'"},
          {"--lose 1,x",
           "--lose takes a whole FRAME from 0 to 2000000, up to 100 times, separated by commas, not "
           "'1,x'"},
          {"--hub 217", "--hub must lie between 0 and the inner radius, 216, not 217"},
          {"--inner 250", "--inner must lie below --outer, not 250 and 250"},
          {"--distance 400",
           "--distance must be 0, or at least twice the outer radius with the eccentricity, 500 "
           "pixels, not 400"},
          {"--centre 5,400",
           "--centre must lie at least 30 pixels within the picture of 1280 x 960, not at 5,400"},
          {"--out --count", "--out needs a value"},
          {"--teeth 12 --count", "--count needs a value"},
          {"--colour red", "there is no option '--colour'"}})
        EXPECT_EQ(Run(arguments).err, "wheelsim: " + std::string(said) + "\n");
}

TEST_F(Wheelsim, NumbersMayHaveSignsAndNoDigitBeforeThePoint)
{
    const Finished run = Run("--count 1 --speed -.5 --start +.5 --uneven=.25 --teeth 010 --speed -.25");
    ASSERT_EQ(run.status, 0) << run.err;
    WheelScene scene;
    scene.degreesPerFrame = -0.25; // the later one holds
    scene.startAngle = 0.5;
    scene.uneven = 0.25;
    scene.teeth = 10;
    EXPECT_TRUE(Pixels(1) == Draw(scene, 0));
}

TEST_F(Wheelsim, EveryInfluenceReachesTheScene)
{
    const Finished run = Run("--count 2 --first 6 --tilt 8,30 --distance 2000 --thickness 40 --eccentric "
                             "5,90 --lens 0.1 --vignette 0.4 "
                             "--highlight 750,400,125,60 --shadow 500,600,150,0.5 --flicker 0.1,2.5 --gain "
                             "1.2 --exposure 1 --rolling 0.5 "
                             "--fullwell 1000 --rownoise 2 --hot 50 --ramp 0.1 --jerk 4,1,7,-2 --push "
                             "7,3.5,-2 --repeat 7 --lose 2,3 "
                             "--scratches 40 --dirt 60 --texture 20");
    ASSERT_EQ(run.status, 0) << run.err;
    WheelScene scene;
    scene.tilt = 8;
    scene.tiltDirection = 30;
    scene.distance = 2000;
    scene.thickness = 40;
    scene.eccentricity = 5;
    scene.eccentricDirection = 90;
    scene.lens = 0.1;
    scene.vignette = 0.4;
    scene.highlight = {750, 400, 125, 60};
    scene.shadow = {500, 600, 150, 0.5};
    scene.flicker = 0.1;
    scene.flickerPeriod = 2.5;
    scene.gain = 1.2;
    scene.exposure = 1;
    scene.rolling = 0.5;
    scene.fullWell = 1000;
    scene.rowNoise = 2;
    scene.hotPixels = 50;
    scene.ramp = 0.1;
    scene.jerks = {{4, 1}, {7, -2}};
    scene.push = {7, 3.5, -2};
    scene.repeated = {7};
    scene.lost = {2, 3};
    scene.scratches = 40;
    scene.dirt = 60;
    scene.texture = 20;
    for (int i = 0; i < 2; i++) EXPECT_TRUE(Pixels(i + 1) == Draw(scene, 6 + i)) << i;
}

TEST_F(Wheelsim, ExtremeScenesAreDrawn)
{
    for (const char* arguments :
         {"--inner 0 --outer 0.001", "--outer 100000", "--inner 99999 --outer 100000",
          "--teeth 1000 --spokes 100 --noise 100 --uneven 1", "--teeth 1 --spokes 0 --hub 0 --speed 0",
          "--speed 360 --start -360", "--first 1000000 --count 2 --p1 50 --p2 50",
          "--tilt 60,45 --distance 500 --thickness 1000 --lens 0.5", "--eccentric 1000,-360 --lens -0.1",
          "--speed 360 --exposure 1 --inner 20 --outer 30",
          "--inner 0 --outer 0.001 --thickness 1000 --tilt 60,0 --scratches 200 --dirt 200",
          "--outer 100000 --scratches 200 --dirt 200 --rolling 1 --ramp 10 --first 1000000",
          "--fullwell 1 --gain 100 --rownoise 100 --hot 100000 --texture 50", "--gain 0.01 --flicker 1,1",
          "--highlight -100000,0,100000,255 --shadow 100000,0,100000,1 --vignette 1",
          "--push 0,100,-100 --lens -0.1 --texture 50"}) {
        const Finished run = Run(std::string("--count 1 ") + arguments);
        EXPECT_EQ(run.status, 0) << arguments << ": " << run.err;
        EXPECT_EQ(run.err, "") << arguments;
    }
}

TEST_F(Wheelsim, FileThatCannotBeWrittenIsAnError)
{
    folder.Write("file", "no folder");
    for (const auto& [place, why] : {std::pair{"file", "Not a directory"}, {"missing/folder", "not there"}}) {
        const Finished run = Run(std::string("--count 2 --out ") + place);
        EXPECT_EQ(run.status, 1);
        EXPECT_EQ(run.err, std::string("wheelsim: cannot write ") + place + "/img1.bmp: " + why + "\n");
        EXPECT_EQ(run.out, "");
    }
}

TEST_F(Wheelsim, NamesOfAnyBytesReachNoTerminal)
{
    EXPECT_EQ(Run("--count 1 --out a\033[2J\xFF").out.substr(0, 42),
              "Wrote 1 frame (camera frame 0) to a\\x1B[2J");
    EXPECT_EQ(Run("--count 1 --out a\033[2J\xFF/none/there").err,
              "wheelsim: cannot write a\\x1B[2J\\xFF/none/there/img1.bmp: not there\n");
    EXPECT_NE(Run("--preview a\033/b.svg").out.find(" marked to a\\x1B/b.svg\n"), std::string::npos);
    EXPECT_EQ(Run("--a\033").err, "wheelsim: there is no option '--a\\x1B'\n");
}

TEST_F(Wheelsim, WhatIsNoRegularFileIsNotReplaced)
{
    folder.Write("elsewhere.bmp", "the old one");
    fs::create_directory(Frames());
    fs::create_symlink("../elsewhere.bmp", Frames() / "img1.bmp");
    ASSERT_EQ(mkfifo((Frames() / "img2.bmp").c_str(), 0600), 0);
    const Finished run = Run("--count 2");
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.err, "wheelsim: cannot write frames/img2.bmp: nobody reads from it\n");
    EXPECT_TRUE(fs::is_symlink(Frames() / "img1.bmp"));
    EXPECT_TRUE(fs::is_fifo(Frames() / "img2.bmp"));
    EXPECT_EQ(fs::file_size(folder / "elsewhere.bmp"), 1078u + 1280 * 960);
}

/// The grey values of the frame that the preview is drawn over.
Bytes FrameBelow(const svg::Document& drawn)
{
    Bytes grey;
    const std::string type = "data:image/png;base64,";
    for (const svg::Shape& shape : drawn.All()) {
        if (shape.name != "image" || shape.Text("href").rfind(type, 0) != 0) continue;
        const decoded::Colours picture =
            decoded::DecodePng(html::FromBase64(shape.Text("href").substr(type.size())));
        EXPECT_EQ(shape.Number("width"), picture.width);
        EXPECT_EQ(shape.Number("height"), picture.height);
        for (int y = 0; y < picture.height; y++)
            for (int x = 0; x < picture.width; x++) grey.push_back(picture.At(x, y) & 255);
    }
    return grey;
}

/// The places of a mark that is two crossing lines.
svg::Point CrossOf(const svg::Document& drawn)
{
    const auto lines = drawn.Shapes("found-centre", "line");
    if (lines.size() != 2) return {};
    const auto across = lines[0].Places(), down = lines[1].Places();
    return {(across[0].x + across[1].x) / 2, (down[0].y + down[1].y) / 2};
}

bool Names(const svg::Document& drawn, const std::string& of, const std::string& words)
{
    const auto labels = drawn.Labels(of);
    return std::any_of(labels.begin(), labels.end(), [&](const svg::Shape& l) { return l.text == words; });
}

bool Explains(const svg::Document& drawn, const std::string& words)
{
    const auto legend = drawn.Legend();
    return std::find(legend.begin(), legend.end(), words) != legend.end();
}

TEST_F(Wheelsim, PreviewMarksTheGeometryOnTheFirstFrame)
{
    const Finished run = Run("--preview p.svg --first 3 --count 7 --start 2");
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.err, "");
    EXPECT_FALSE(fs::exists(Frames())) << "no frames are written";
    EXPECT_EQ(Value(run.out, "VOTES"), "Telvane -l 7 300 260 150 130 216 250 0 0 360 360 40 1 0 0 0 0");
    const svg::Document drawn(folder.Read("p.svg"));
    WheelScene scene;
    scene.startAngle = 2;
    EXPECT_TRUE(FrameBelow(drawn) == Draw(scene, 3)) << "camera frame 3, without marks";

    const auto circles = drawn.Shapes("given-circles", "circle");
    ASSERT_EQ(circles.size(), 2u);
    for (const svg::Shape& circle : circles) EXPECT_EQ(svg::Distance(circle.Middle(), {652.4, 471.7}), 0);
    EXPECT_EQ(circles[0].Number("r"), 216);
    EXPECT_EQ(circles[1].Number("r"), 250);
    // A dot in the middle of every tooth: tooth i stands at 2 + 3 * 0.4 + 9 i degrees.
    const auto teeth = drawn.Shapes("teeth", "circle");
    ASSERT_EQ(teeth.size(), 40u);
    for (int i = 0; i < 40; i++) {
        const double angle = (3.2 + 9 * i) * 3.14159265358979 / 180;
        const svg::Point tooth = {652.4 + 233 * std::cos(angle), 471.7 + 233 * std::sin(angle)};
        EXPECT_LT(svg::Distance(teeth[i].Middle(), tooth), 0.01) << i;
    }
    // The region that TRUE_OROI names, and the centre.
    ASSERT_EQ(Value(run.out, "TRUE_OROI"), "[502,342,300,260,1]");
    const auto region = drawn.Shapes("region", "rect");
    ASSERT_EQ(region.size(), 1u);
    EXPECT_EQ(svg::Distance(region[0].Places()[0], {501.5, 341.5}), 0);
    EXPECT_EQ(svg::Distance(region[0].Places()[2], {801.5, 601.5}), 0);
    EXPECT_LT(svg::Distance(CrossOf(drawn), {652.4, 471.7}), 0.01);
    EXPECT_EQ(drawn.Groups("sense").at(0).Text("data-sense"), "cw");
    for (const auto& [of, words] : {std::pair{"given-circles", "<innerR> 216"},
                                    {"given-circles", "<outerR> 250"},
                                    {"measures", "<wid> 300"},
                                    {"measures", "<hgh> 260"},
                                    {"measures", "<cx> 150"},
                                    {"measures", "<cy> 130"},
                                    {"angles", "<ang1>, <ang2>"},
                                    {"scale", "90\xC2\xB0"},
                                    {"sense", "<angSpd> 1"},
                                    {"found-centre", "centre"}})
        EXPECT_TRUE(Names(drawn, of, words)) << words;
    for (const char* words :
         {"<teethCnt> 40", "wheel's centre 652.4, 471.7", "OROI=[502,342,300,260,1]", "<angSpd> 1 clockwise"})
        EXPECT_TRUE(Explains(drawn, words)) << words;
}

// The pictures below have no noise, which says nothing about marks and takes most of the time of a PNG file.

TEST_F(Wheelsim, PreviewShowsTheSenseOfRotation)
{
    EXPECT_EQ(Run("--noise 0 --preview p.svg --speed -0.5").status, 0);
    svg::Document drawn(folder.Read("p.svg"));
    EXPECT_EQ(drawn.Groups("sense").at(0).Text("data-sense"), "ccw");
    EXPECT_TRUE(Names(drawn, "sense", "<angSpd> -1"));
    EXPECT_EQ(Run("--noise 0 --preview p.svg --speed 0").status, 0);
    drawn = svg::Document(folder.Read("p.svg"));
    EXPECT_TRUE(drawn.Groups("sense").empty());
    EXPECT_TRUE(Explains(drawn, "<angSpd> 0 at rest"));
}

TEST_F(Wheelsim, RadiiAreToldInWholePixels)
{
    const Finished run = Run("--noise 0 --preview p.svg --inner 216.3 --outer 249.6");
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_NE(run.out.find("; radii 216.3 and 249.6;"), run.out.npos) << run.out;
    EXPECT_EQ(Value(run.out, "VOTES"), "Telvane -l 15 300 260 150 130 216 250 0 0 360 360 40 1 0 0 0 0");
    EXPECT_EQ(Value(run.out, "RING"), "Telvane -l 15 300 260 150 130 216 250 -1 0 360 360 40 1 0 0 0 0");
    const svg::Document drawn(folder.Read("p.svg"));
    EXPECT_TRUE(Names(drawn, "given-circles", "<innerR> 216"));
    EXPECT_TRUE(Names(drawn, "given-circles", "<outerR> 250"));
}

TEST_F(Wheelsim, PreviewMarksATiltedWheelWhereItIsSeen)
{
    const Finished run = Run("--noise 0 --preview p.svg --tilt 25,0 --centre 640,480 --speed 0");
    ASSERT_EQ(run.status, 0) << run.err;
    const svg::Document drawn(folder.Read("p.svg"));
    const auto lines = drawn.Shapes("given-circles", "path");
    ASSERT_EQ(lines.size(), 2u);
    // From infinitely far, the ring is narrower by the tilt's cosine and as high as before.
    const double narrow = std::cos(25 * 3.14159265358979 / 180);
    for (std::size_t i : {0u, 1u}) {
        const double radius = i == 0 ? 216 : 250;
        EXPECT_EQ(lines[i].Text("d").back(), 'Z');
        for (const svg::Point& p : lines[i].Places())
            EXPECT_NEAR(std::hypot((p.x - 640) / narrow, p.y - 480), radius, 0.02);
        EXPECT_GE(lines[i].Places().size(), 90u);
    }
}

TEST_F(Wheelsim, PreviewMarksWhatTheLensShows)
{
    const char scene[] =
        "--tilt 8,30 --distance 1500 --lens 0.05 --centre 500,400 --eccentric 20,90 --first 10";
    ASSERT_EQ(Run(std::string("--noise 0 --preview p.svg ") + scene).status, 0);
    WheelScene wheel;
    wheel.tilt = 8;
    wheel.tiltDirection = 30;
    wheel.distance = 1500;
    wheel.lens = 0.05;
    wheel.centreX = 500;
    wheel.centreY = 400;
    wheel.eccentricity = 20;
    wheel.eccentricDirection = 90;
    const svg::Document drawn(folder.Read("p.svg"));
    const telvane::WheelTruth truth = telvane::TruthOf(wheel, 10);
    EXPECT_GT(std::hypot(truth.axis.x - truth.ring.x, truth.axis.y - truth.ring.y), 15);
    EXPECT_LT(svg::Distance(CrossOf(drawn), {truth.axis.x, truth.axis.y}), 0.02);
    const auto ring = drawn.Shapes("ring-centre", "circle");
    ASSERT_EQ(ring.size(), 1u);
    EXPECT_LT(svg::Distance(ring[0].Middle(), {truth.ring.x, truth.ring.y}), 0.02);
    EXPECT_TRUE(Names(drawn, "ring-centre", "ring's centre"));

    // The wheel stands turned by 4 degrees, and the ring's centre at 94.
    const auto face = [&](double degrees, double radius) {
        const double a = degrees * 3.14159265358979 / 180, e = 94 * 3.14159265358979 / 180;
        const telvane::WheelPlace p = telvane::SeenAt(wheel, 20 * std::cos(e) + radius * std::cos(a),
                                                      20 * std::sin(e) + radius * std::sin(a));
        return svg::Point{p.x, p.y};
    };
    const auto lines = drawn.Shapes("given-circles", "path");
    ASSERT_EQ(lines.size(), 2u);
    for (std::size_t i : {0u, 1u}) {
        const auto places = lines[i].Places();
        for (std::size_t k = 0; k < places.size(); k++) {
            const double degrees = 360.0 * static_cast<double>(k) / static_cast<double>(places.size());
            EXPECT_LT(svg::Distance(places[k], face(degrees, i == 0 ? 216 : 250)), 0.02) << degrees;
        }
    }
    const auto teeth = drawn.Shapes("teeth", "circle");
    ASSERT_EQ(teeth.size(), 40u);
    for (std::size_t i = 0; i < 40; i++)
        EXPECT_LT(svg::Distance(teeth[i].Middle(), face(4 + 9.0 * static_cast<double>(i), 233)), 0.02) << i;
    // Arrows of the radii end on the lines.
    const auto heads = drawn.Shapes("given-circles", "head");
    ASSERT_EQ(heads.size(), 2u);
    for (std::size_t i : {0u, 1u}) {
        double nearest = 1000;
        for (double degrees = 0; degrees < 360; degrees += 0.5)
            nearest =
                std::min(nearest, svg::Distance(heads[i].Places()[0], face(degrees, i == 0 ? 216 : 250)));
        EXPECT_LT(nearest, 1.2);
    }
}

TEST_F(Wheelsim, PreviewMarksAnEccentricRingAroundItsOwnCentre)
{
    ASSERT_EQ(Run("--noise 0 --preview p.svg --centre 600,500 --start 30 --eccentric 20,90").status, 0);
    const svg::Document drawn(folder.Read("p.svg"));
    EXPECT_LT(svg::Distance(CrossOf(drawn), {600, 500}), 0.01);
    EXPECT_LT(svg::Distance(drawn.Shapes("ring-centre", "circle").at(0).Middle(), {600, 520}), 0.01);
    const auto circles = drawn.Shapes("given-circles", "circle");
    ASSERT_EQ(circles.size(), 2u);
    for (const svg::Shape& circle : circles) EXPECT_LT(svg::Distance(circle.Middle(), {600, 520}), 0.01);
    EXPECT_TRUE(Explains(drawn, "ring's centre 600, 520"));
}

TEST_F(Wheelsim, PreviewBendsTheCirclesAsTheLensDoes)
{
    ASSERT_EQ(Run("--noise 0 --preview p.svg --lens 0.2 --centre 900,300").status, 0);
    const svg::Document drawn(folder.Read("p.svg"));
    WheelScene scene;
    scene.centreX = 900;
    scene.centreY = 300;
    scene.lens = 0.2;
    const auto lines = drawn.Shapes("given-circles", "path");
    ASSERT_EQ(lines.size(), 2u);
    const telvane::WheelPlace right = telvane::SeenAt(scene, 250, 0);
    EXPECT_LT(svg::Distance(lines[1].Places()[0], {right.x, right.y}), 0.02);
    EXPECT_GT(right.x, 1160) << "where a straight lens would show 1150";
}

TEST_F(Wheelsim, PreviewMarksTheRectangleThatHidesTheDisc)
{
    const Finished run = Run("--noise 0 --preview p.svg --disc 110,120,40,4,5");
    ASSERT_EQ(run.status, 0) << run.err;
    const std::string votes = Value(run.out, "VOTES");
    int left = 0, top = 0, width = 0, height = 0;
    ASSERT_EQ(std::sscanf(votes.c_str(), "Telvane -l 15 -m %d %d %d %d ", &left, &top, &width, &height), 4);
    const svg::Document drawn(folder.Read("p.svg"));
    const auto mask = drawn.Shapes("mask", "path");
    ASSERT_EQ(mask.size(), 1u);
    const auto corners = mask[0].Places();
    ASSERT_EQ(corners.size(), 8u);
    const int cut = 2 * std::min(width, height) / 7;
    EXPECT_EQ(svg::Distance(corners[0], {left - 0.5 + cut, top - 0.5}), 0);
    EXPECT_EQ(svg::Distance(corners[3], {left - 0.5 + width, top - 0.5 + height - cut}), 0);
    EXPECT_TRUE(Explains(drawn, "-m " + std::to_string(left) + " " + std::to_string(top) + " " +
                                    std::to_string(width) + " " + std::to_string(height) + " blanked"));
}

TEST_F(Wheelsim, PreviewGoesIntoAFolder)
{
    fs::create_directory(folder / "there.d");
    for (const char* place : {"new", "there.d", "new/"}) {
        const Finished run = Run(std::string("--noise 0 --preview ") + place);
        EXPECT_EQ(run.status, 0) << run.err;
        EXPECT_NO_THROW(svg::Document(folder.Read(std::string(place) + "/preview.svg"))) << place;
    }
    EXPECT_EQ(Run("--noise 0 --preview .").status, 0);
    EXPECT_TRUE(folder.Has("preview.svg"));
}

TEST_F(Wheelsim, PreviewsOfExtremeScenesAreDrawn)
{
    for (const char* arguments :
         {"--inner 0 --outer 0.001", "--outer 100000", "--inner 99999 --outer 100000", "--teeth 1000",
          "--centre 30,30", "--centre 1249,929 --speed -1", "--speed 0 --disc 110,120,40,4,5", "--teeth 1",
          "--tilt 60,45 --distance 500 --lens 0.5 --eccentric 1000,10 --outer 220 --distance 2500"}) {
        const Finished run = Run(std::string("--noise 0 --preview p.svg ") + arguments);
        EXPECT_EQ(run.status, 0) << arguments << ": " << run.err;
        const std::string text = folder.Read("p.svg");
        EXPECT_EQ(FrameBelow(svg::Document(text)).size(), 1280u * 960) << arguments;
        const std::string marks = text.substr(text.find("<g transform")); // behind the letters of the frame
        for (const char* none : {"nan", "inf"}) EXPECT_EQ(marks.find(none), marks.npos) << arguments;
    }
}

TEST_F(Wheelsim, PreviewThatCannotBeWrittenIsAnError)
{
    folder.Write("file", "no folder");
    const Finished run = Run("--noise 0 --preview file/p.svg");
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.err, "wheelsim: cannot write file/p.svg: Not a directory\n");
    EXPECT_EQ(run.out, "");
}

TEST_F(Wheelsim, TellsWhenNobodyGetsWhatItPrints)
{
    RunOptions options;
    options.before = [] { SendOutputTo("/dev/full"); };
    const Finished run = ::Run({WHEELSIM_PATH, "--count", "1"}, folder.Path(), options);
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.err, "wheelsim: cannot write to standard output\n");
    EXPECT_TRUE(folder.Has("img1.bmp"));
}

TEST_F(Wheelsim, HelpNamesOptionsAndOutput)
{
    const Finished run = Run("--help");
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.err, "");
    for (const char* word : {"--out",
                             "--count",
                             "--p1",
                             "--p2",
                             "--first",
                             "--centre",
                             "--inner",
                             "--outer",
                             "--teeth",
                             "--speed",
                             "--start",
                             "--spokes",
                             "--hub",
                             "--uneven",
                             "--noise",
                             "--seed",
                             "--disc",
                             "--preview",
                             "TRUE_CENTRE=",
                             "TRUE_OROI=",
                             "VOTES=",
                             "RING=",
                             "--tilt ANGLE,DIRECTION",
                             "0 to 60 degrees",
                             "--distance",
                             "--thickness",
                             "--eccentric",
                             "--lens",
                             "--vignette",
                             "--highlight",
                             "--shadow",
                             "--flicker",
                             "--gain",
                             "--exposure",
                             "--rolling",
                             "--fullwell",
                             "--rownoise",
                             "--hot",
                             "--ramp",
                             "--jerk",
                             "--push",
                             "--repeat",
                             "--lose",
                             "--scratches",
                             "--dirt",
                             "--texture",
                             "TRUE_RING_CENTRE=",
                             "TRUE_ELLIPSE=",
                             "(652.4,471.7)"})
        EXPECT_NE(run.out.find(word), std::string::npos) << word;
    EXPECT_FALSE(fs::exists(Frames()));
}

} // namespace

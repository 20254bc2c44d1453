// The drawn wheel and wheelsim, the tool that writes its frames.

#include <tests/support/Decoded.h>
#include <tests/support/Digest.h>
#include <tests/support/ProgramRuns.h>

#include <simulator/Wheel.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <limits>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;

using Bytes = std::vector<unsigned char>;

Bytes Draw(const WheelScene& scene, int frame)
{
    Bytes grey(std::size_t(scene.width) * scene.height);
    RenderWheel(scene, frame, grey.data());
    return grey;
}

/// A scene without noise and uneven light, in which only the geometry shows.
WheelScene Plain()
{
    WheelScene scene;
    scene.noise = 0;
    scene.uneven = 0;
    return scene;
}

int At(const WheelScene& scene, const Bytes& grey, double x, double y)
{
    return grey[std::size_t(std::lround(y)) * scene.width + std::size_t(std::lround(x))];
}

std::uint64_t Fnv1a(const Bytes& bytes) { return Digest().AddAll(bytes).Value(); }

// ---- the picture

TEST(Wheel, SameBytesOnEveryPlatform)
{
    const WheelScene standard;
    EXPECT_EQ(Fnv1a(Draw(standard, 0)), 0x55593C3345171903u);
    EXPECT_EQ(Fnv1a(Draw(standard, 1)), 0xF239BEF7120CD544u);
    EXPECT_EQ(Fnv1a(Draw(standard, 24)), 0x69907A2ACFD7B47Du);
    EXPECT_EQ(Fnv1a(Draw(Plain(), 7)), 0x3E1BECC6F135453Bu);

    WheelScene other;
    other.width = 333;
    other.height = 251;
    other.centreX = 170.25;
    other.centreY = 121.9;
    other.innerR = 77.3;
    other.outerR = 99.1;
    other.teeth = 23;
    other.degreesPerFrame = -0.71;
    other.startAngle = 33.3;
    other.spokes = 5;
    other.hubR = 21;
    other.noise = 6.5;
    other.seed = 4000000000u;
    other.disc = {60, 50, 30, 1.5, 2.25, 9, 7};
    ASSERT_EQ(WheelProblem(other), nullptr);
    EXPECT_EQ(Fnv1a(Draw(other, 13)), 0xFC7D950D4CFA9C8Fu);
}

TEST(Wheel, CentreOfMassIsTheCentre)
{
    WheelScene scene = Plain();
    scene.spokes = 0;
    scene.hubR = 0;
    for (int frame : {0, 5}) {
        const Bytes grey = Draw(scene, frame);
        double sum = 0, sumX = 0, sumY = 0;
        for (int y = 0; y < scene.height; y++)
            for (int x = 0; x < scene.width; x++) {
                const double v = grey[std::size_t(y) * scene.width + x] - double(grey[0]);
                sum += v;
                sumX += v * x;
                sumY += v * y;
            }
        EXPECT_NEAR(sumX / sum, scene.centreX, 0.01);
        EXPECT_NEAR(sumY / sum, scene.centreY, 0.01);

        // The teeth fill half of the ring.
        const double levels = At(scene, grey, scene.centreX, scene.centreY) - double(grey[0]);
        const double pi = std::acos(-1.0);
        const double area = pi * (scene.innerR * scene.innerR + scene.outerR * scene.outerR) / 2;
        EXPECT_NEAR(sum / levels / area, 1, 0.002);
    }
}

TEST(Wheel, TurnByOneToothGivesTheSamePicture)
{
    WheelScene scene = Plain();
    scene.spokes = 0;
    const Bytes grey = Draw(scene, 0);
    scene.startAngle = 9;
    EXPECT_TRUE(Draw(scene, 0) == grey);
    scene.startAngle = 4.5;
    EXPECT_FALSE(Draw(scene, 0) == grey);
}

TEST(Wheel, TurnByOneSpokeGivesTheSamePicture)
{
    WheelScene scene = Plain();
    scene.teeth = 36;
    scene.degreesPerFrame = -15;
    EXPECT_TRUE(Draw(scene, 4) == Draw(scene, 0));
    EXPECT_FALSE(Draw(scene, 2) == Draw(scene, 0));
}

TEST(Wheel, PositiveSpeedTurnsClockwise)
{
    WheelScene scene = Plain();
    scene.teeth = 4; // a tooth reaches 22.5 degrees to both sides of its middle
    scene.degreesPerFrame = 22.5;
    const double x = scene.centreX + 233 * std::cos(0.2);
    const double above = scene.centreY - 233 * std::sin(0.2), below = scene.centreY + 233 * std::sin(0.2);

    const Bytes first = Draw(scene, 0);
    EXPECT_EQ(At(scene, first, x, below), At(scene, first, x, above));
    const Bytes clockwise = Draw(scene, 1);
    EXPECT_GT(At(scene, clockwise, x, below), At(scene, clockwise, x, above) + 100);
    scene.degreesPerFrame = -22.5;
    const Bytes counter = Draw(scene, 1);
    EXPECT_GT(At(scene, counter, x, above), At(scene, counter, x, below) + 100);
}

TEST(Wheel, EdgesAreSpreadOverSeveralPixels)
{
    // 91 levels from pixel to pixel would overflow the 16-bit squares of the flow estimation.
    const WheelScene scene = Plain();
    const Bytes grey = Draw(scene, 3);
    int most = 0;
    for (int y = 0; y < scene.height; y++)
        for (int x = 1; x < scene.width; x++) {
            const std::size_t i = std::size_t(y) * scene.width + x;
            most = std::max(most, std::abs(grey[i] - grey[i - 1]));
        }
    EXPECT_GT(most, 50);
    EXPECT_LT(most, 91);
}

TEST(Wheel, LightFallsTowardsTheLowerRight)
{
    WheelScene scene = Plain();
    scene.uneven = 0.5;
    const Bytes grey = Draw(scene, 0);
    const int upperLeft = At(scene, grey, 0, 0), upperRight = At(scene, grey, 1279, 0);
    const int lowerRight = At(scene, grey, 1279, 959);
    EXPECT_GT(upperLeft, upperRight);
    EXPECT_GT(upperRight, lowerRight);
    EXPECT_NEAR(lowerRight, upperLeft * 0.5, 1);
}

// ---- noise

TEST(Wheel, SameSeedGivesTheSameFrame)
{
    const WheelScene scene;
    EXPECT_TRUE(Draw(scene, 3) == Draw(scene, 3));
}

TEST(Wheel, SeedChangesTheNoiseOnly)
{
    WheelScene scene;
    const Bytes one = Draw(scene, 3);
    scene.seed = 2;
    const Bytes two = Draw(scene, 3);
    EXPECT_FALSE(one == two);

    scene.noise = 0;
    const Bytes clean = Draw(scene, 3);
    scene.seed = 1;
    EXPECT_TRUE(Draw(scene, 3) == clean);
    for (std::size_t i = 0; i < clean.size(); i++) {
        // The noise never exceeds 3.5 standard deviations; rounding adds one level.
        ASSERT_LE(std::abs(one[i] - clean[i]), 7);
        ASSERT_LE(std::abs(two[i] - clean[i]), 7);
    }
}

TEST(Wheel, NoiseHasItsStandardDeviation)
{
    WheelScene scene;
    scene.noise = 0;
    const Bytes clean = Draw(scene, 0);
    scene.noise = 5;
    const Bytes one = Draw(scene, 0), two = Draw(scene, 1);
    double sum = 0, squares = 0, across = 0;
    std::size_t count = 0;
    for (std::size_t i = 0; i < clean.size(); i++) {
        if (i % 1280 > 380) // the still backdrop left of the wheel
            continue;
        const double a = one[i] - double(clean[i]), b = two[i] - double(clean[i]);
        sum += a;
        squares += a * a;
        across += a * b;
        count++;
    }
    EXPECT_NEAR(sum / double(count), 0, 0.05);
    EXPECT_NEAR(std::sqrt(squares / double(count)), 5, 0.05);
    EXPECT_NEAR(across / double(count) / 25, 0, 0.01); // frames are independent of each other
}

TEST(Wheel, NoiseSaturatesAtBlackAndWhite)
{
    WheelScene scene;
    scene.noise = 100;
    const Bytes grey = Draw(scene, 0);
    std::size_t black = 0, white = 0;
    for (unsigned char v : grey) {
        black += v == 0;
        white += v == 255;
    }
    // About 30 % of the backdrop falls below 0; wrapped values would be spread over all levels.
    EXPECT_GT(black, grey.size() / 5);
    EXPECT_GT(white, grey.size() / 100);
}

// ---- the disc

TEST(Wheel, DiscChangesNothingButItsOwnPlace)
{
    WheelScene scene = Plain();
    const Bytes without = Draw(scene, 4);
    scene.disc = {130, 140, 50, 5, -3, 20, 16};
    const Bytes with = Draw(scene, 4);
    std::size_t changed = 0;
    for (int y = 0; y < scene.height; y++)
        for (int x = 0; x < scene.width; x++) {
            const std::size_t i = std::size_t(y) * scene.width + x;
            if (with[i] == without[i]) continue;
            changed++;
            ASSERT_LT(std::hypot(x - 150, y - 128), 52) << x << ", " << y;
        }
    EXPECT_GT(changed, 3000u);
}

TEST(Wheel, DiscTurnsBack)
{
    WheelScene scene = Plain();
    scene.degreesPerFrame = 0;
    scene.disc = {130, 140, 50, 5, -3, 6, 16};
    EXPECT_TRUE(Draw(scene, 5) == Draw(scene, 7));
    EXPECT_TRUE(Draw(scene, 0) == Draw(scene, 12));
    EXPECT_FALSE(Draw(scene, 0) == Draw(scene, 6));
}

// ---- what cannot be drawn

TEST(Wheel, EveryBadValueHasAProblem)
{
    EXPECT_EQ(WheelProblem(WheelScene()), nullptr);

    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double inf = std::numeric_limits<double>::infinity();
    const auto refused = [](auto change) {
        WheelScene scene;
        scene.disc = {130, 140, 50, 5, -3, 20, 16};
        change(scene);
        const char* problem = WheelProblem(scene);
        return problem != nullptr && *problem != '\0';
    };
    EXPECT_FALSE(refused([](WheelScene&) {}));
    for (int bad : {0, -1, 4097, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()}) {
        EXPECT_TRUE(refused([=](WheelScene& s) { s.width = bad; }));
        EXPECT_TRUE(refused([=](WheelScene& s) { s.height = bad; }));
        EXPECT_TRUE(refused([=](WheelScene& s) { s.teeth = bad; }));
        EXPECT_TRUE(bad == 0 || refused([=](WheelScene& s) { s.spokes = bad; }));
        EXPECT_TRUE(bad == 4097 || refused([=](WheelScene& s) { s.disc.travel = bad; }));
    }
    for (double bad : {nan, inf, -inf, 1e6, -1e6, 1e300}) {
        EXPECT_TRUE(refused([=](WheelScene& s) { s.centreX = bad; }));
        EXPECT_TRUE(refused([=](WheelScene& s) { s.centreY = bad; }));
        EXPECT_TRUE(refused([=](WheelScene& s) { s.innerR = bad; }));
        EXPECT_TRUE(refused([=](WheelScene& s) { s.outerR = bad; }));
        EXPECT_TRUE(refused([=](WheelScene& s) { s.degreesPerFrame = bad; }));
        EXPECT_TRUE(refused([=](WheelScene& s) { s.startAngle = bad; }));
        EXPECT_TRUE(refused([=](WheelScene& s) { s.hubR = bad; }));
        EXPECT_TRUE(refused([=](WheelScene& s) { s.uneven = bad; }));
        EXPECT_TRUE(refused([=](WheelScene& s) { s.noise = bad; }));
        EXPECT_TRUE(refused([=](WheelScene& s) { s.disc.x = bad; }));
        EXPECT_TRUE(refused([=](WheelScene& s) { s.disc.y = bad; }));
        EXPECT_TRUE(refused([=](WheelScene& s) { s.disc.radius = bad; }));
        EXPECT_TRUE(refused([=](WheelScene& s) { s.disc.dx = bad; }));
        EXPECT_TRUE(refused([=](WheelScene& s) { s.disc.dy = bad; }));
        EXPECT_TRUE(refused([=](WheelScene& s) { s.disc.stripe = bad; }));
    }
    EXPECT_TRUE(refused([](WheelScene& s) { s.innerR = s.outerR; }));
    EXPECT_TRUE(refused([](WheelScene& s) { s.hubR = s.innerR + 1; }));
}

TEST(Wheel, ScenesAtTheLimitsStayInsideTheirBuffer)
{
    WheelScene far;
    far.width = 37;
    far.height = 1;
    far.centreX = 100000;
    far.centreY = -100000;
    far.innerR = 0;
    far.hubR = 0;
    far.outerR = 100000;
    far.teeth = 1000;
    far.spokes = 100;
    far.degreesPerFrame = -360;
    far.startAngle = -360;
    far.uneven = 1;
    far.noise = 100;
    far.disc = {-100000, 100000, 100000, 1000, -1000, 1, 1};
    WheelScene still;
    still.width = 1;
    still.height = 41;
    still.degreesPerFrame = 0;
    still.disc = {0, 20, 1e-9, 0, 0, 10000, 1000};
    for (const WheelScene& scene : {far, still}) {
        ASSERT_EQ(WheelProblem(scene), nullptr);
        for (int frame : {0, 1, std::numeric_limits<int>::max()}) {
            const std::size_t size = std::size_t(scene.width) * scene.height;
            Bytes grey(size + 2, 0xA5);
            RenderWheel(scene, frame, grey.data() + 1);
            EXPECT_EQ(grey.front(), 0xA5);
            EXPECT_EQ(grey.back(), 0xA5);
        }
    }
}

// ---- wheelsim

/// Runs wheelsim in a folder of its own, which goes with the object.
class Wheelsim : public testing::Test {
protected:
    /// Words separated by blanks, '' for an empty one; frames go to Frames() unless they say otherwise.
    Finished Run(const std::string& arguments) const
    {
        Words words = Join({{WHEELSIM_PATH, "--out", "frames"}, Split(arguments)});
        std::replace(words.begin(), words.end(), std::string("''"), std::string());
        return ::Run(words, m_folder.Path());
    }

    const TemporaryFolder& Folder() const { return m_folder; }
    fs::path Frames() const { return m_folder / "frames"; }

    /// The pixels of a frame file, top row first.
    Bytes Pixels(int number) const
    {
        const std::string name = "frames/" + FrameName(static_cast<std::size_t>(number - 1));
        if (!m_folder.Has(name)) return {};
        const std::string file = m_folder.Read(name);
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

private:
    TemporaryFolder m_folder;
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

TEST_F(Wheelsim, PrintsTheCentreAndTheCommandLines)
{
    const Finished run = Run("--count 1");
    EXPECT_EQ(Value(run.out, "TRUE_CENTRE"), "652.4,471.7");
    EXPECT_EQ(Value(run.out, "TRUE_OROI"), "[502,342,300,260,1]");
    EXPECT_EQ(Value(run.out, "VOTES"), "Telvane -l 1 300 260 150 130 216 250 0 0 360 360 40 1 0 0 0 0");
    EXPECT_EQ(Value(run.out, "RING"), "Telvane -l 1 300 260 150 130 216 250 -1 0 360 360 40 1 0 0 0 0");
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

TEST_F(Wheelsim, PeriodsSkipCameraFrames)
{
    const Finished run = Run("--count 4 --p1 3 --p2 1 --first 10");
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(Value(run.out, "VOTES").rfind("Telvane -l 4 -p1 3 -p2 1 300 ", 0), 0u);
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
    for (const char* arguments : {"--count 0",
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
                                  "--out",
                                  "--out ''",
                                  "--out --count",
                                  "--preview",
                                  "--preview ''",
                                  "--preview --count",
                                  "--preview picture.jpg",
                                  "--preview a.png.txt",
                                  "--preview p.png --teeth 0",
                                  "--colour red",
                                  "frames",
                                  "-l 3",
                                  "''",
                                  "--"}) {
        const Finished run = Run(arguments);
        EXPECT_EQ(run.status, 2) << arguments;
        EXPECT_EQ(run.out, "") << arguments;
        EXPECT_EQ(run.err.rfind("wheelsim: ", 0), 0u) << arguments << ": " << run.err;
        EXPECT_EQ(run.err.find("\nusage: wheelsim "), run.err.find('\n')) << "one line and the usage";
        EXPECT_FALSE(fs::exists(Frames())) << arguments;
    }
}

TEST_F(Wheelsim, ExtremeScenesAreDrawn)
{
    for (const char* arguments :
         {"--inner 0 --outer 0.001", "--outer 100000", "--inner 99999 --outer 100000",
          "--teeth 1000 --spokes 100 --noise 100 --uneven 1", "--teeth 1 --spokes 0 --hub 0 --speed 0",
          "--speed 360 --start -360", "--first 1000000 --count 2 --p1 50"}) {
        const Finished run = Run(std::string("--count 1 ") + arguments);
        EXPECT_EQ(run.status, 0) << arguments << ": " << run.err;
        EXPECT_EQ(run.err, "") << arguments;
    }
}

TEST_F(Wheelsim, FileThatCannotBeWrittenIsAnError)
{
    Folder().Write("file", "no folder");
    for (const char* folder : {"file", "missing/folder"}) {
        const Finished run = Run(std::string("--count 2 --out ") + folder);
        EXPECT_EQ(run.status, 1);
        EXPECT_EQ(run.err, std::string("wheelsim: cannot write ") + folder + "/img1.bmp\n");
        EXPECT_EQ(run.out, "");
    }
}

/// Whether a pixel of the preview has the colour of a mark.
bool Marked(const decoded::Colours& picture, int x, int y)
{
    const unsigned c = picture.At(x, y);
    return (c >> 16) != (c >> 8 & 255) || (c & 255) != (c >> 8 & 255);
}

TEST_F(Wheelsim, PreviewMarksTheGeometryOnTheFirstFrame)
{
    const Finished run = Run("--preview p.png --first 3 --count 7 --start 2");
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.err, "");
    EXPECT_FALSE(fs::exists(Frames())) << "no frames are written";
    EXPECT_EQ(Value(run.out, "VOTES"), "Telvane -l 7 300 260 150 130 216 250 0 0 360 360 40 1 0 0 0 0");
    const decoded::Colours picture = decoded::DecodePng(Folder().Read("p.png"));
    ASSERT_EQ(picture.width, 1280);
    ASSERT_EQ(picture.height, 960);

    // The circles all round, but where a label lies on them or the picture is darkened.
    const double x0 = 652.4, y0 = 471.7;
    for (double radius : {216.0, 250.0}) {
        int marked = 0;
        for (int degrees = 0; degrees < 360; degrees++) {
            const double angle = degrees * 3.14159265358979 / 180;
            marked += Marked(picture, static_cast<int>(std::lround(x0 + radius * std::cos(angle))),
                             static_cast<int>(std::lround(y0 + radius * std::sin(angle))));
        }
        EXPECT_GT(marked, 340) << radius;
    }
    // A dot on every tooth, none in a gap. Tooth i stands at 2 + 3 * 0.4 + 9 i degrees.
    int onTeeth = 0, inGaps = 0;
    for (int i = 0; i < 40; i++) {
        for (double half : {0.0, 0.5}) {
            const double angle = (3.2 + 9 * (i + half)) * 3.14159265358979 / 180;
            const bool marked = Marked(picture, static_cast<int>(std::lround(x0 + 233 * std::cos(angle))),
                                       static_cast<int>(std::lround(y0 + 233 * std::sin(angle))));
            (half > 0 ? inGaps : onTeeth) += marked;
        }
    }
    EXPECT_GE(onTeeth, 39);
    EXPECT_LE(inGaps, 2);
    // The region that TRUE_OROI names, and the centre.
    ASSERT_EQ(Value(run.out, "TRUE_OROI"), "[502,342,300,260,1]");
    for (const auto& [x, y] :
         {std::pair{502, 342}, {801, 342}, {502, 601}, {801, 601}, {520, 342}, {652, 472}})
        EXPECT_TRUE(Marked(picture, x, y)) << x << ", " << y;
    for (const auto& [x, y] : {std::pair{495, 335}, {808, 608}, {510, 350}})
        EXPECT_FALSE(Marked(picture, x, y)) << x << ", " << y;
    // What is not marked is camera frame 3.
    WheelScene scene;
    scene.startAngle = 2;
    const Bytes grey = Draw(scene, 3);
    for (int y = 0; y < 140; y++)
        for (int x = 0; x < 1280; x++)
            ASSERT_EQ(picture.At(x, y), grey[std::size_t(y) * 1280 + x] * 0x10101u) << x << ", " << y;
}

TEST_F(Wheelsim, PreviewGoesIntoAFolder)
{
    fs::create_directory(Folder() / "there.d");
    for (const char* folder : {"new", "there.d", "new/"}) {
        const Finished run = Run(std::string("--preview ") + folder);
        EXPECT_EQ(run.status, 0) << run.err;
        EXPECT_EQ(decoded::DecodePng(Folder().Read(std::string(folder) + "/preview.png")).width, 1280)
            << folder;
    }
    EXPECT_EQ(Run("--preview .").status, 0);
    EXPECT_TRUE(Folder().Has("preview.png"));
}

TEST_F(Wheelsim, PreviewsOfExtremeScenesAreDrawn)
{
    for (const char* arguments :
         {"--inner 0 --outer 0.001", "--outer 100000", "--inner 99999 --outer 100000", "--teeth 1000",
          "--centre 30,30", "--centre 1249,929 --speed -1", "--speed 0 --disc 110,120,40,4,5", "--teeth 1"}) {
        const Finished run = Run(std::string("--preview p.png ") + arguments);
        EXPECT_EQ(run.status, 0) << arguments << ": " << run.err;
        EXPECT_EQ(decoded::DecodePng(Folder().Read("p.png")).height, 960) << arguments;
    }
}

TEST_F(Wheelsim, PreviewThatCannotBeWrittenIsAnError)
{
    Folder().Write("file", "no folder");
    const Finished run = Run("--preview file/p.png");
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.err, "wheelsim: cannot write file/p.png: Not a directory\n");
    EXPECT_EQ(run.out, "");
}

TEST_F(Wheelsim, TellsWhenNobodyGetsWhatItPrints)
{
    RunOptions options;
    options.before = [] { SendOutputTo("/dev/full"); };
    const Finished run = ::Run({WHEELSIM_PATH, "--count", "1"}, Folder().Path(), options);
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.err, "wheelsim: cannot write to standard output\n");
    EXPECT_TRUE(Folder().Has("img1.bmp"));
}

TEST_F(Wheelsim, HelpNamesOptionsAndOutput)
{
    const Finished run = Run("--help");
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.err, "");
    for (const char* word :
         {"--out",   "--count",   "--p1",         "--p2",       "--first", "--centre", "--inner", "--outer",
          "--teeth", "--speed",   "--start",      "--spokes",   "--hub",   "--uneven", "--noise", "--seed",
          "--disc",  "--preview", "TRUE_CENTRE=", "TRUE_OROI=", "VOTES=",  "RING="})
        EXPECT_NE(run.out.find(word), std::string::npos) << word;
    EXPECT_FALSE(fs::exists(Frames()));
}

} // namespace

// Results that are kept: the same numbers and pictures, bit for bit, on every machine and from every
// compiler.
//
// golden/results.txt holds a line for each, "<section>.<name> <value>": a checksum, or the value itself where
// it is short. They only change where a result is meant to change. GOLDEN_RESULTS=<file> appends the lines to
// that file instead of comparing them, and fails.
#include <tests/support/ChildProcess.h>
#include <tests/support/Digest.h>
#include <tests/support/ProgramRuns.h>
#include <tests/support/Wheels.h>

#include <Kavrix/Kavrix.h>
#include <Telvane/Param.h>
#include <Telvane/Telvane.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace {

using telvane::Param;

using pictures::Picture;
using pictures::PictureOf;

// ---------------------------------------------------------------------------------- the kept results

const std::vector<std::string> sections = {"votes", "ring", "periods", "flow", "extremes", "radial"};

/// The lines of a section of the file; of all sections where it is empty.
Words KeptLines(const std::string& section)
{
    std::ifstream file(GOLDEN_FILE);
    EXPECT_TRUE(file) << "cannot read " GOLDEN_FILE;
    Words lines;
    for (std::string line; std::getline(file, line);)
        if (!line.empty() && (section.empty() || line.rfind(section + ".", 0) == 0)) lines.push_back(line);
    return lines;
}

/// The results of one section. They are compared when all of them are there.
class Results {
public:
    explicit Results(const std::string& name) : section(name) {}

    void Keep(const std::string& name, const std::string& value)
    {
        lines.push_back(section + "." + name + " " + value);
    }
    void Keep(const std::string& name, const Digest& digest) { Keep(name, digest.Text()); }
    template <class T> void Keep(const std::string& name, const Picture<T>& picture)
    {
        EXPECT_FALSE(picture.Empty()) << name;
        Keep(name, Digest().Add(picture.w).Add(picture.h).AddAll(picture.a));
    }
    void KeepFloats(const std::string& name, const std::vector<float>& values)
    {
        std::ostringstream text;
        for (const float value : values) text << (text.tellp() > 0 ? "," : "") << Bits(value);
        Keep(name, text.str());
    }

    void ExpectKept() const
    {
        if (const char* const file = std::getenv("GOLDEN_RESULTS")) {
            std::ofstream out(file, std::ios::app);
            for (const std::string& line : lines) out << line << '\n';
            out << '\n';
            FAIL() << "written to " << file << ", compared with nothing";
        }
        const Words kept = KeptLines(section);
        EXPECT_EQ(lines.size(), kept.size());
        for (std::size_t i = 0; i < lines.size() && i < kept.size(); i++) EXPECT_EQ(lines[i], kept[i]);
    }

private:
    /// Every bit of a float; what is not a number has many forms, of which machines choose their own.
    static std::string Bits(float value)
    {
        if (std::isnan(value)) return "nan";
        char text[9];
        std::snprintf(text, sizeof text, "%08x", std::bit_cast<unsigned>(value));
        return text;
    }

    std::string section;
    Words lines;
};

TEST(Golden, EveryKeptResultBelongsToATest)
{
    for (const std::string& line : KeptLines("")) {
        const std::string section = line.substr(0, line.find('.'));
        EXPECT_NE(std::find(sections.begin(), sections.end(), section), sections.end()) << line;
    }
    for (const std::string& section : sections) EXPECT_FALSE(KeptLines(section).empty()) << section;
}

// ---------------------------------------------------------------------------------- detection

/// What Detect answers and leaves behind.
struct Detected {
    explicit Detected(const std::vector<float>& wanted) : params(ToVector<VecFloat>(wanted)) {}

    int Run(const CubByte& seq, const std::vector<int>& periods = {})
    {
        return Detect(1, seq, !periods.empty(), ToVector<VecInt>(periods.empty() ? std::vector{1} : periods),
                      VecInt(0, 0, seq.dim1, seq.dim2, 1), params, oroi, detected, hough, u_sum_sh, v_sum_sh,
                      mag_sh, bgShort);
    }
    void KeepIn(Results& results) const
    {
        results.KeepFloats("angles", {params(Param::ang1), params(Param::ang2)});
        results.Keep("marked", PictureOf(detected));
        if (params(Param::R3) >= 0) results.Keep("hough", PictureOf(hough));
        results.Keep("u_sum_sh", PictureOf(u_sum_sh));
        results.Keep("v_sum_sh", PictureOf(v_sum_sh));
        results.Keep("mag_sh", PictureOf(mag_sh));
        if (params(Param::bkgCorr) < 0) results.Keep("background", PictureOf(bgShort));
    }

    VecFloat params;
    VecInt oroi = VecInt(5);
    MatByte detected;
    MatShort hough, u_sum_sh, v_sum_sh, mag_sh, bgShort;
};

/// Draws frames with wheelsim and lets the program find the wheel in them. The bytes of detected.jpg depend
/// on the version of libjpeg: what is kept is the picture in it, and that the file is its encoding here.
void ExpectRunKept(const std::string& section, const std::string& scene, const std::string& options,
                   const Geometry& geometry)
{
    Results results(section);
    const TemporaryFolder folder;
    const Finished drawn = RunIn(folder, WHEELSIM_PATH, Split("--out . " + scene));
    ASSERT_EQ(drawn.status, 0) << drawn.err;
    const Words words = Join({Split(options), geometry.Arguments()});
    const reference::CommandLine line = reference::ParseCommandLine(words);
    std::vector<BytePicture> frames;
    for (int i = 0; i < line.imagesCount; i++) {
        const std::string file = folder.Read(FrameName(static_cast<std::size_t>(i)));
        results.Keep("img" + std::to_string(i + 1) + ".bmp", Digest().AddAll(file));
        MatByte frame(1280, 960);
        ASSERT_EQ(frame.ReadBMP((folder / FrameName(static_cast<std::size_t>(i))).c_str()), 0);
        frames.push_back(PictureOf(frame));
    }

    const Finished run = RunIn(folder, TELVANE_PATH, words);
    ASSERT_EQ(run.status, 0) << run.err;
    const std::size_t result = run.out.find("RESULT=");
    ASSERT_NE(result, std::string::npos) << run.out;
    std::istringstream lines(run.out.substr(result));
    for (std::string text; std::getline(lines, text);) results.Keep("out", text);
    for (const char* const name : {"hough.bmp", "u_sum_sh.bmp", "v_sum_sh.bmp"})
        if (folder.Has(name)) results.Keep(name, Digest().AddAll(folder.Read(name)));

    // The same by the units, for what the program keeps to itself.
    CubByte seq = ToCube(pictures::SequenceOf(frames));
    std::vector<VecInt> masks;
    for (const reference::Region& m : line.masks) masks.emplace_back(m[0], m[1], m[2], m[3], 1);
    Mask(seq, VecInt(0, 0, 1280, 960, 1), masks.data(), static_cast<int>(masks.size()));
    Detected detected(line.params);
    EXPECT_EQ(detected.Run(seq, line.usePeriods ? line.periods : std::vector<int>()), 0);
    detected.KeepIn(results);
    EXPECT_TRUE(HasFile(folder, "detected.jpg", reference::JpegGrey(PictureOf(detected.detected), 85)));
    results.ExpectKept();
}

TEST(Golden, DetectionByVotes)
{
    Geometry geometry;
    geometry.R3 = "0";
    geometry.ang1 = "-30";
    geometry.ang2 = "200";
    geometry.bkgCorr = "-50";
    ExpectRunKept("votes", "--count 4", "-l 4 -s -m 0 0 200 150 -m 900 -20 9999 400", geometry);
}

TEST(Golden, DetectionByRingSearch)
{
    Geometry geometry;
    geometry.innerR = "224";
    geometry.outerR = "258";
    geometry.angSpd = "-1";
    geometry.ang1 = "17";
    geometry.ang2 = "301";
    ExpectRunKept("ring",
                  "--count 3 --centre 583.7,446.2 --inner 224 --outer 258 --teeth 36 --speed -0.45 --seed 7",
                  "-l 3 -s", geometry);
}

TEST(Golden, DetectionWithUnequalPeriods)
{
    Geometry geometry;
    geometry.R3 = "5";
    geometry.bkgCorr = "-20";
    ExpectRunKept("periods", "--count 4 --p1 1 --p2 3 --first 5 --noise 4", "-l 4 -p1 1 -p2 3 -s", geometry);
}

// ---------------------------------------------------------------------------------- accumulators

Picture<int> Row(const VecInt& v)
{
    Picture<int> row(v.dim1, 1);
    for (int i = 0; i < v.dim1; i++) row.At(i, 0) = v(i);
    return row;
}

/// Every array and number between the frames and the centre, named after what they come from.
void KeepSteps(Results& results, const std::string& name, const Sequence& frames, int sweeps, float r1,
               float r2)
{
    CubByte seq = ToCube(frames);
    MatInt u_sum(frames.w + 1, frames.h + 1), v_sum(frames.w + 1, frames.h + 1);
    u_sum.Fill(0);
    v_sum.Fill(0);
    ASSERT_EQ(OpticalFlow12Alt(seq, u_sum, v_sum, sweeps), 0);
    results.Keep(name + ".u_sum", PictureOf(u_sum));
    results.Keep(name + ".v_sum", PictureOf(v_sum));
    MatShort u_sum_sh, v_sum_sh, mag_sh;
    OF_Norm(u_sum, v_sum, u_sum_sh, v_sum_sh, mag_sh);
    results.Keep(name + ".u_sum_sh", PictureOf(u_sum_sh));
    results.Keep(name + ".v_sum_sh", PictureOf(v_sum_sh));
    results.Keep(name + ".mag_sh", PictureOf(mag_sh));
    VecInt histogram(4096);
    CumHistogram(mag_sh, histogram);
    results.Keep(name + ".histogram", Row(histogram));

    for (const float r3 : {0.0f, 5.5f}) {
        for (const float speed : {1.0f, -1.0f}) {
            const std::string which =
                (r3 > 0 ? ".aside" : ".straight") + std::string(speed > 0 ? ".cw" : ".ccw");
            MatShort hough;
            float cx = 0, cy = 0;
            ASSERT_EQ(OpticalFlowPostprocAlt(u_sum_sh, v_sum_sh, 0, r1, r2, r3, speed, hough, cx, cy), 0);
            results.Keep(name + which + ".hough", PictureOf(hough));
            results.KeepFloats(name + which + ".centroid", {cx, cy});
        }
    }
    MatShort hough;
    float cx = 0, cy = 0;
    ASSERT_EQ(OpticalFlowPostprocA2(u_sum_sh, v_sum_sh, 0, 2, 5, 1, hough, cx, cy), 0);
    results.Keep(name + ".a2.hough", PictureOf(hough));
    results.KeepFloats(name + ".a2.centroid", {cx, cy});
    FindSemiCircle(mag_sh, r1, r2, cx, cy);
    results.KeepFloats(name + ".ring", {cx, cy});
}

TEST(Golden, StepsOnDrawnWheels)
{
    Results results("flow");
    for (const double speed : {1.5, -1.1}) {
        const std::string name = speed > 0 ? "cw" : "ccw";
        KeepSteps(results, name, WheelFrames(SmallWheel(speed), 5), 2, 30, 44);
    }
    WheelScene scene = SmallWheel();
    scene.noise = 9;
    KeepSteps(results, "noisy", WheelFrames(scene, 3), 7, 29.5f, 44.4f);
    results.ExpectKept();
}

TEST(Golden, StepsWhereNumbersWrap)
{
    Results results("extremes");
    KeepSteps(results, "noise", NoiseFrames(97, 83, 4, 11), 2, 20, 31);
    pictures::Random random(12);
    std::vector<BytePicture> frames;
    for (int i = 0; i < 4; i++) frames.push_back(pictures::Salt<std::uint8_t>(random, 101, 90, 0, 255));
    KeepSteps(results, "salt", pictures::SequenceOf(frames), 5, 7.5f, 30.5f);
    results.ExpectKept();
}

// ---------------------------------------------------------------------------------- radial lines

TEST(Golden, RadialLinesOfAllWholeAngles)
{
    // A single frame has no flow, and mag_sh keeps what is drawn into it. The ring is as large as the picture
    // allows, so that it is found at once and the lines are long.
    const int size = 640, centre = size / 2, radius = centre - 2;
    Results results("radial");
    const CubByte seq = ToCube(NoiseFrames(size, size, 1, 5));
    std::vector<float> params = {14, 0, 310, 310, 620, 620, radius - 1.0f, radius, -1, 0, 0, 9, 0, 0};
    Digest digest;
    for (int angle = 0; angle < 360; angle++) {
        // Every line twice: at an angle from 0, and at a negative one, half a turn away from the former.
        params[Param::ang1] = static_cast<float>(angle);
        params[Param::ang2] = static_cast<float>((angle + 180) % 360 - 360);
        Detected detected(params);
        detected.mag_sh.Resize(size + 1, size + 1);
        detected.mag_sh.Fill(0);
        for (const int end : {centre - radius, centre + radius})
            detected.mag_sh(end, centre) = detected.mag_sh(centre, end) = 100;
        ASSERT_EQ(detected.Run(seq), 0);
        ASSERT_EQ(ToValues(detected.oroi), (std::vector<std::int32_t>{10, 10, 620, 620, 1}));
        digest.AddAll(PictureOf(detected.detected).a);
        if (angle % 15 == 14) {
            char name[32];
            std::snprintf(name, sizeof name, "%03d-%03d", angle - 14, angle);
            results.Keep(name, digest);
            digest = Digest();
        }
    }
    results.ExpectKept();
}

} // namespace

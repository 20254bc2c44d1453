// Histograms, thresholds and the votes for the centre of rotation, held against plain loops.
#include <tests/support/Pictures.h>

#include <tests/reference/Votes.h>

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <ostream>
#include <utility>
#include <vector>

namespace {

using namespace pictures;

constexpr float infinity = std::numeric_limits<float>::infinity();
constexpr float notANumber = std::numeric_limits<float>::quiet_NaN();

VecInt VectorOf(const std::vector<std::int32_t>& values)
{
    VecInt v(static_cast<int>(values.size()));
    v.ImportData(values.data());
    return v;
}

std::vector<std::int32_t> ValuesOf(const VecInt& v)
{
    std::vector<std::int32_t> values;
    for (int i = 0; i < v.dim1; i++) values.push_back(v(i));
    return values;
}

// ---------------------------------------------------------------------------------- histogram

TEST(CumHistogram, MatchesThePlainVersionForAnyLength)
{
    Random random(51);
    for (int bins : {1, 2, 100, 2048, 4095, 4096, 5000, 70000}) {
        for (std::int64_t range : {3ll, 2047ll, 32767ll}) {
            const Shorts picture = Noise<std::int16_t>(random, 33, 21, -range - 1, range);
            VecInt chist(bins);
            chist.Fill(-5); // what was there does not count
            CumHistogram(ArrayOf(picture), chist);
            EXPECT_EQ(ValuesOf(chist), reference::CumHistogram(picture, bins)) << bins << " bins, " << range;
        }
    }
}

TEST(CumHistogram, CountsViewsOnlyOnce)
{
    Random random(52);
    for (const Layout& layout : viewLayouts) {
        const Shorts picture = Noise<std::int16_t>(random, 13, 9);
        const Laid<short> laid(picture, layout, random);
        VecInt all(2 * 4096), chist = all(RNG(0, 8191, 2)); // every other element of a longer vector
        all.Fill(-1);
        CumHistogram(laid.view, chist);
        EXPECT_EQ(ValuesOf(chist), reference::CumHistogram(picture)) << layout;
        for (int i = 1; i < all.dim1; i += 2) ASSERT_EQ(all(i), -1);
    }
}

TEST(CumHistogram, ValuesOutsideTheBinsCountInTheOuterOnes)
{
    VecInt chist(4096);
    for (int low : {-2048, -2049, -32768}) {
        CumHistogram(ArrayOf(Shorts(6, 5, static_cast<std::int16_t>(low))), chist);
        EXPECT_EQ(ValuesOf(chist), std::vector<std::int32_t>(4096, 30)) << low;
    }
    for (int high : {2047, 2048, 32767}) {
        CumHistogram(ArrayOf(Shorts(6, 5, static_cast<std::int16_t>(high))), chist);
        std::vector<std::int32_t> wanted(4096, 0);
        wanted.back() = 30;
        EXPECT_EQ(ValuesOf(chist), wanted) << high;
    }
    Shorts two(2, 1);
    two.At(0, 0) = -2047;
    two.At(1, 0) = 2046;
    CumHistogram(ArrayOf(two), chist);
    EXPECT_EQ(chist(0), 0);
    EXPECT_EQ(chist(1), 1);
    EXPECT_EQ(chist(4093), 1);
    EXPECT_EQ(chist(4094), 2);
}

// ---------------------------------------------------------------------------------- threshold

TEST(PercThreshold, MatchesThePlainVersion)
{
    Random random(53);
    const std::vector<float> fractions = {
        0, 0.001f, 0.25f, 0.49999997f, 0.5f,  0.50000006f, 0.75f,    0.975f,    0.99f,     0.999f,
        1, 1.5f,   -0.1f, -1000,       1e30f, -1e30f,      infinity, -infinity, notANumber};
    for (int bins : {1, 2, 17, 4096}) {
        for (int i = 0; i < 20; i++) {
            std::vector<std::int32_t> chist;
            std::int32_t count = 0;
            for (int k = 0; k < bins; k++) {
                count += random() % 4 ? 0 : Between(random, 0, i % 2 ? 3 : 100000);
                chist.push_back(count);
            }
            for (float fraction : fractions)
                EXPECT_EQ(PercThreshold(VectorOf(chist), fraction), reference::PercThreshold(chist, fraction))
                    << bins << " bins, fraction " << fraction;
        }
    }
}

TEST(PercThreshold, WithoutBinsThereIsNothingToCount)
{
    VecInt none;
    EXPECT_EQ(PercThreshold(none, 0.2f), 0);
    EXPECT_EQ(PercThreshold(none, 0.9f), 0);
    CumHistogram(ArrayOf(Shorts(3, 3)), none);
    EXPECT_EQ(none.dim1, 0);
}

TEST(PercThreshold, WholeTotalGivesTheLastBinAndNothingTheFirst)
{
    std::vector<std::int32_t> chist(4096, 0);
    for (int k = 0; k < 4096; k++) chist[static_cast<std::size_t>(k)] = k / 2;
    EXPECT_EQ(PercThreshold(VectorOf(chist), 1.0f), 4095);
    EXPECT_EQ(PercThreshold(VectorOf(chist), 0.0f), 0);
}

TEST(PercThreshold, AboveOneHalfTheHighestBinThatIsNotTooMuch)
{
    Random random(54);
    const Shorts picture = Noise<std::int16_t>(random, 100, 100, -2048, 2047);
    VecInt chist(4096);
    CumHistogram(ArrayOf(picture), chist);
    const int bin = PercThreshold(chist, static_cast<float>(1.0 - 250.0 / 10000));
    EXPECT_LE(chist(bin), 9750);
    EXPECT_GT(chist(bin + 1), 9750);
}

TEST(PercThreshold, UpToOneHalfTheLowestBinThatIsEnough)
{
    EXPECT_EQ(PercThreshold(VectorOf({1, 2, 3, 4, 10}), 0.5f), 4);
    EXPECT_EQ(PercThreshold(VectorOf({1, 2, 3, 5, 10}), 0.5f), 3);
    EXPECT_EQ(PercThreshold(VectorOf({1, 5, 5, 5, 10}), 0.5f), 1);
    EXPECT_EQ(PercThreshold(VectorOf({1, 5, 5, 5, 10}), 0.51f), 3) << "above one half it comes from the top";
}

TEST(PercThreshold, TiesOfTheRankRoundToEven)
{
    EXPECT_EQ(PercThreshold(VectorOf({0, 1, 2, 3, 10}), 0.25f), 2);    // 2.5 becomes 2
    EXPECT_EQ(PercThreshold(VectorOf({0, 6, 7, 8, 10}), 0.75f), 3);    // 7.5 becomes 8
    EXPECT_EQ(PercThreshold(VectorOf({0, 1, 2, 3, 4, 14}), 0.25f), 4); // 3.5 becomes 4
}

// ---------------------------------------------------------------------------------- votes

struct Parameters {
    float r1, r2, r3f, angSpeed;
};

std::ostream& operator<<(std::ostream& out, const Parameters& p)
{
    return out << "r1 " << p.r1 << ", r2 " << p.r2 << ", r3 " << p.r3f << ", speed " << p.angSpeed;
}

struct Result {
    Shorts hough;
    float cx = -1, cy = -1;
};

enum class Form { alt, a2 };

/// The same number, sign of zero included; any number that is none is as good as another.
bool SameFloat(float a, float b)
{
    return (std::isnan(a) && std::isnan(b)) || std::memcmp(&a, &b, sizeof a) == 0;
}

Result Votes(Form form, const MatShort& u, const MatShort& v, const Parameters& p)
{
    Result r;
    MatShort hough;
    const int result = form == Form::alt
                           ? OpticalFlowPostprocAlt(u, v, 5, p.r1, p.r2, p.r3f, p.angSpeed, hough, r.cx, r.cy)
                           : OpticalFlowPostprocA2(u, v, 5, p.r1, p.r2, p.angSpeed, hough, r.cx, r.cy);
    EXPECT_EQ(result, 0);
    r.hough = PictureOf(hough);
    return r;
}

Result Votes(Form form, const Shorts& u, const Shorts& v, const Parameters& p)
{
    return Votes(form, ArrayOf(u), ArrayOf(v), p);
}

Result PlainVotes(Form form, const Shorts& u, const Shorts& v, const Parameters& p)
{
    Result r;
    if (form == Form::alt)
        reference::OpticalFlowPostprocAlt(u, v, 5, p.r1, p.r2, p.r3f, p.angSpeed, r.hough, r.cx, r.cy);
    else reference::OpticalFlowPostprocA2(u, v, 5, p.r1, p.r2, p.angSpeed, r.hough, r.cx, r.cy);
    return r;
}

testing::AssertionResult Same(const Result& got, const Result& wanted)
{
    if (const auto same = pictures::Same(got.hough, wanted.hough); !same)
        return testing::AssertionFailure() << "votes: " << same.message();
    if (!SameFloat(got.cx, wanted.cx) || !SameFloat(got.cy, wanted.cy))
        return testing::AssertionFailure()
               << "centroid " << got.cx << ", " << got.cy << " instead of " << wanted.cx << ", " << wanted.cy;
    return testing::AssertionSuccess();
}

/// A flow that turns around (cx, cy): noise, and a ring of motion along the circle, clockwise on the screen.
struct Field {
    Shorts u, v;
};

Field TurningField(Random& random, int w, int h, double cx, double cy, double inner, double outer, int speed)
{
    Field f{Noise<std::int16_t>(random, w, h, -20, 20), Noise<std::int16_t>(random, w, h, -20, 20)};
    for (int y = 0; y < h; y++) {
        for (int x = 0; x < w; x++) {
            const double dx = x - cx, dy = y - cy, r = std::sqrt(dx * dx + dy * dy);
            if (r < inner || r > outer) continue;
            f.u.At(x, y) = static_cast<std::int16_t>(std::lround(-speed * dy / r));
            f.v.At(x, y) = static_cast<std::int16_t>(std::lround(speed * dx / r));
        }
    }
    return f;
}

const std::vector<Parameters> usualParameters = {
    {5, 9, 0, 1},        {5, 9, 0, -1},       {5, 9, 0, 0},      {5, 9, 3, 1},       {5, 9, 3, -1},
    {5, 9, -4, 2.5f},    {5, 9, -4, -2.5f},   {0, 0, 0, 1},      {0, 0, 7, -1},      {2.5f, 6.25f, 1, 1},
    {3.3f, 3.4f, 0, -1}, {9, 5, 2, 1},        {-3, -8, 1, 1},    {-2, 4, 0.5f, -1},  {1, 3, 0.5f, 1},
    {1, 3, 1.5f, 1},     {1, 3, -0.5f, -1},   {7, 7, 2.5f, -1},  {6, 8, 100, 1},     {6, 8, -100, -1},
    {40, 60, 0, 1},      {1000, 2000, 0, -1}, {2, 3, 0, 1e-45f}, {2, 3, 0, -1e-45f},
};

TEST(Votes, RandomFieldsMatchThePlainVersion)
{
    Random random(61);
    for (Form form : {Form::alt, Form::a2}) {
        for (const Parameters& p : usualParameters) {
            if (form == Form::a2 && p.r2 > 100)
                continue; // thousands of steps for each pixel say nothing more
            for (int i = 0; i < 6; i++) {
                const int w = Between(random, 1, 70), h = Between(random, 1, 70),
                          range = i % 3 == 0   ? 2000
                                  : i % 3 == 1 ? 40
                                               : 32767;
                const Shorts u = Noise<std::int16_t>(random, w, h, -range, range);
                const Shorts v = Noise<std::int16_t>(random, w, h, -range, range);
                EXPECT_TRUE(Same(Votes(form, u, v, p), PlainVotes(form, u, v, p)))
                    << (form == Form::alt ? "Alt " : "A2 ") << w << " x " << h << ": " << p;
            }
        }
    }
}

TEST(Votes, TurningFieldsMatchThePlainVersion)
{
    Random random(62);
    for (Form form : {Form::alt, Form::a2}) {
        for (int speed : {1500, -1500, 300}) {
            const Field f = TurningField(random, 120, 90, 63.4, 41.7, 22, 30, speed);
            for (const Parameters& p :
                 {Parameters{22, 30, 0, 1}, {22, 30, 0, -1}, {22, 30, 2, 1}, {22, 30, -3, -1}, {2, 5, 0, 1}})
                EXPECT_TRUE(Same(Votes(form, f.u, f.v, p), PlainVotes(form, f.u, f.v, p)))
                    << speed << ": " << p;
        }
    }
}

TEST(Votes, ExtremeFieldsMatchThePlainVersion)
{
    Random random(63);
    const std::int16_t low = -32768, high = 32767;
    for (Form form : {Form::alt, Form::a2}) {
        for (const Shorts& u : {Salt(random, 40, 31, low, high), Shorts(40, 31, high), Shorts(40, 31, low),
                                Shorts(40, 31), Checkerboard<std::int16_t>(40, 31, -1, 1),
                                OneRow(40, 31, 7, high), OneColumn(40, 31, 8, low)}) {
            for (const Shorts& v : {Salt(random, 40, 31, low, high), Shorts(40, 31, low), Shorts(40, 31)}) {
                for (const Parameters& p :
                     {Parameters{3, 6, 0, 1}, {3, 6, 0, -1}, {1, 2, 3, 1}, {1, 2, -3, -1}, {0, 0, 0, 1}})
                    EXPECT_TRUE(Same(Votes(form, u, v, p), PlainVotes(form, u, v, p))) << p;
            }
        }
    }
}

TEST(Votes, PicturesOfUpTo500PixelsMatchThePlainVersion)
{
    // The fraction is one half or less there, or negative below 250 pixels, and the search comes from below.
    Random random(64);
    for (Form form : {Form::alt, Form::a2}) {
        for (const auto& [w, h] : std::vector<std::pair<int, int>>{{1, 1},
                                                                   {2, 1},
                                                                   {1, 3},
                                                                   {15, 15},
                                                                   {25, 10},
                                                                   {10, 25},
                                                                   {249, 1},
                                                                   {251, 1},
                                                                   {25, 20},
                                                                   {20, 25},
                                                                   {500, 1},
                                                                   {501, 1},
                                                                   {167, 3}}) {
            for (int i = 0; i < 8; i++) {
                const Shorts u = Noise<std::int16_t>(random, w, h, i % 2 ? -300 : 0, 300);
                const Shorts v = Noise<std::int16_t>(random, w, h, -300, 300);
                for (const Parameters& p : {Parameters{0, 2, 0, 1}, {0, 2, 0, -1}, {1, 1, 1, 1}})
                    EXPECT_TRUE(Same(Votes(form, u, v, p), PlainVotes(form, u, v, p)))
                        << w << " x " << h << ": " << p;
            }
        }
    }
}

TEST(Votes, ViewsOfAnyStridesMatchThePlainVersion)
{
    Random random(65);
    for (Form form : {Form::alt, Form::a2}) {
        for (const Layout& layout : viewLayouts) {
            const Shorts u = Noise<std::int16_t>(random, 31, 23, -900, 900),
                         v = Noise<std::int16_t>(random, 31, 23, -900, 900);
            const Laid<short> uLaid(u, layout, random), vLaid(v, viewLayouts[1], random);
            Laid<short> hough(31, 23, layout, random);
            Result r;
            const int result =
                form == Form::alt
                    ? OpticalFlowPostprocAlt(uLaid.view, vLaid.view, 5, 2, 5, 1, 1, hough.view, r.cx, r.cy)
                    : OpticalFlowPostprocA2(uLaid.view, vLaid.view, 5, 2, 5, 1, hough.view, r.cx, r.cy);
            r.hough = PictureOf(hough.view);
            EXPECT_EQ(result, 0);
            EXPECT_TRUE(Same(r, PlainVotes(form, u, v, {2, 5, 1, 1}))) << layout;
            EXPECT_TRUE(hough.SurroundingsUntouched()) << layout;
            EXPECT_TRUE(uLaid.SurroundingsUntouched() && vLaid.SurroundingsUntouched()) << layout;
            EXPECT_TRUE(pictures::Same(uLaid.view, u) && pictures::Same(vLaid.view, v)) << layout;
        }
    }
}

TEST(Votes, RadiiThatAreNoNumbersOrBeyondAllNumbers)
{
    Random random(66);
    const Shorts u = Noise<std::int16_t>(random, 40, 30, -500, 500),
                 v = Noise<std::int16_t>(random, 40, 30, -500, 500);
    const std::vector<std::pair<float, float>> radii = {{notANumber, 3},
                                                        {3, notANumber},
                                                        {notANumber, notANumber},
                                                        {infinity, infinity},
                                                        {-infinity, -infinity},
                                                        {infinity, -infinity},
                                                        {infinity, 3},
                                                        {2147483647.0f, 2147483647.0f},
                                                        {-2147483648.0f, -2147483648.0f},
                                                        {1e38f, 1e38f},
                                                        {3e38f, 3e38f},
                                                        {2147483648.0f, 1e30f}};
    for (const auto& [r1, r2] : radii)
        for (Form form : {Form::alt, Form::a2})
            for (float speed : {1.0f, -1.0f})
                for (float r3f : {0.0f, 2.0f})
                    EXPECT_TRUE(Same(Votes(form, u, v, {r1, r2, r3f, speed}),
                                     PlainVotes(form, u, v, {r1, r2, r3f, speed})))
                        << Parameters{r1, r2, r3f, speed};
    EXPECT_TRUE(Same(Votes(Form::alt, u, v, {2, 4, 0, notANumber}),
                     PlainVotes(Form::alt, u, v, {2, 4, 0, notANumber})));
    EXPECT_TRUE(std::isnan(Votes(Form::alt, u, v, {2, 4, 0, notANumber}).cx))
        << "no sense of rotation, no vote";
}

TEST(Votes, TheOffsetIsRoundedToSixteenBits)
{
    Random random(67);
    const Shorts u = Noise<std::int16_t>(random, 40, 30, -500, 500),
                 v = Noise<std::int16_t>(random, 40, 30, -500, 500);
    for (float r3f : {0.5f, 0.50001f, 1.5f, 2.5f, -0.5f, -1.5f, 32767.0f, 32768.0f, 65536.0f, 65537.0f,
                      65539.4f, -65534.0f, 1e9f, 1e30f, -1e30f, infinity, -infinity, notANumber})
        for (float speed : {1.0f, -1.0f})
            EXPECT_TRUE(Same(Votes(Form::alt, u, v, {2, 3, r3f, speed}),
                             PlainVotes(Form::alt, u, v, {2, 3, r3f, speed})))
                << r3f;
    EXPECT_TRUE(Same(Votes(Form::alt, u, v, {2, 3, 65538, 1}), Votes(Form::alt, u, v, {2, 3, 2, 1})));
    EXPECT_TRUE(Same(Votes(Form::alt, u, v, {2, 3, 65536, 1}), Votes(Form::alt, u, v, {2, 3, 0, 1})));
    EXPECT_TRUE(Same(Votes(Form::alt, u, v, {2, 3, 0.5f, 1}), Votes(Form::alt, u, v, {2, 3, 0, 1})));
    EXPECT_TRUE(Same(Votes(Form::alt, u, v, {2, 3, 1.5f, 1}), Votes(Form::alt, u, v, {2, 3, 2, 1})));
}

// ---------------------------------------------------------------------------------- single votes

/// A field where one pixel moves; the small rest of a field of up to 500 pixels does not vote.
struct Single {
    Shorts u, v;
    Single(int w, int h, int x, int y, int pu, int pv) : u(w, h), v(w, h)
    {
        u.At(x, y) = static_cast<std::int16_t>(pu);
        v.At(x, y) = static_cast<std::int16_t>(pv);
    }
};

/// The one cell of a picture that is not 0.
struct Cell {
    int x = -1, y = -1, value = 0, count = 0;
    explicit Cell(const Shorts& picture)
    {
        for (int j = 0; j < picture.h; j++)
            for (int i = 0; i < picture.w; i++)
                if (picture.At(i, j) != 0) {
                    x = i;
                    y = j;
                    value = picture.At(i, j);
                    count++;
                }
    }
};

TEST(Votes, ASingleVoteFillsItsCellAndTheCentroid)
{
    // A pixel at (10, 6) that moves to the right turns clockwise around a point above it, on the screen below
    // its axis: y - r; counter-clockwise around y + r.
    const Single right(22, 20, 10, 6, 1000, 0);
    for (const auto& [speed, y] : {std::pair{1.0f, 2}, std::pair{-1.0f, 10}}) {
        for (Form form : {Form::alt, Form::a2}) {
            const Result r = Votes(form, right.u, right.v, {4, 4, 0, speed});
            const Cell cell(r.hough);
            EXPECT_EQ(cell.count, 1);
            EXPECT_EQ(cell.value, 2000);
            EXPECT_EQ(cell.x, 10);
            EXPECT_EQ(cell.y, y);
            EXPECT_EQ(r.cx, 10.5f);
            EXPECT_EQ(r.cy, static_cast<float>(y) + 0.5f);
        }
    }
    const Single down(22, 20, 10, 6, 0, 1000);
    EXPECT_EQ(Votes(Form::alt, down.u, down.v, {3, 5, 0, 1}).cx, 14.5f);
    EXPECT_EQ(Votes(Form::alt, down.u, down.v, {3, 5, 0, -1}).cx, 6.5f);
}

TEST(Votes, PictureOfNoPixelsHasNoVotes)
{
    for (const auto& [w, h] : {std::pair{0, 0}, std::pair{0, 5}, std::pair{5, 0}}) {
        const MatShort u(w, h), v(w, h);
        for (const Form form : {Form::alt, Form::a2}) {
            const Result r = Votes(form, u, v, {2, 3, 0, 1});
            EXPECT_TRUE(r.hough.Empty());
            EXPECT_TRUE(std::isnan(r.cx) && std::isnan(r.cy));
        }
    }
}

TEST(Votes, CellsHaveNumbersOfSixteenBits)
{
    // Beyond 32767 a column or row has no cell; its vote counts in the centroid only.
    const Single wide(33000, 2, 32900, 1, 1000, 0), high(2, 33000, 1, 32900, 0, 1000);
    for (const Form form : {Form::alt, Form::a2}) {
        const Result across = Votes(form, wide.u, wide.v, {0, 0, 0, 1});
        EXPECT_EQ(Cell(across.hough).count, 0);
        EXPECT_EQ(across.cx, 32900.5f);
        EXPECT_TRUE(Same(across, PlainVotes(form, wide.u, wide.v, {0, 0, 0, 1})));
        const Result down = Votes(form, high.u, high.v, {0, 0, 0, 1});
        EXPECT_EQ(Cell(down.hough).count, 0);
        EXPECT_EQ(down.cy, 32900.5f);
        EXPECT_TRUE(Same(down, PlainVotes(form, high.u, high.v, {0, 0, 0, 1})));
    }
}

TEST(Votes, TheFourPointsOfTheOffset)
{
    // (u, v) = (1000, 0): across the motion is -y for points 1 and 3, +y for 2 and 4. Along it points 1 and 2
    // lie ahead and point 3 behind; the x of point 4 takes v, which is 0 here, and stays where it is.
    const Single right(22, 20, 10, 8, 1000, 0);
    const Result clockwise = Votes(Form::alt, right.u, right.v, {5, 5, 3, 1});
    Shorts wanted(22, 20);
    wanted.At(13, 3) = wanted.At(7, 3) = 2000;
    EXPECT_TRUE(pictures::Same(clockwise.hough, wanted));
    EXPECT_EQ(clockwise.cx, 10.5f);
    EXPECT_EQ(clockwise.cy, 3.5f);

    const Result counter = Votes(Form::alt, right.u, right.v, {5, 5, 3, -1});
    wanted = Shorts(22, 20);
    wanted.At(13, 13) = wanted.At(10, 13) = 2000;
    EXPECT_TRUE(pictures::Same(counter.hough, wanted));
    EXPECT_EQ(counter.cx, 12);

    // (0, 1000): point 4 lies r + 3 to the left and 3 up.
    const Single down(22, 20, 11, 8, 0, 1000);
    wanted = Shorts(22, 20);
    wanted.At(6, 11) = wanted.At(3, 5) = 2000;
    EXPECT_TRUE(pictures::Same(Votes(Form::alt, down.u, down.v, {5, 5, 3, -1}).hough, wanted));
}

TEST(Votes, TheSecondFormMovesOnByEachRadius)
{
    const Single right(22, 20, 10, 15, 1000, 0);
    const Result r = Votes(Form::a2, right.u, right.v, {1.9f, 4.9f, 0, 1}); // radii 1, 2, 3, 4
    Shorts wanted(22, 20);
    for (int y : {14, 12, 9, 5}) wanted.At(10, y) = 2000;
    EXPECT_TRUE(pictures::Same(r.hough, wanted));
    EXPECT_EQ(r.cx, 10.5f);
    EXPECT_EQ(r.cy, 10.5f);
}

TEST(Votes, VotesOutsideThePictureAreNotCast)
{
    const Single right(22, 20, 10, 6, 1000, 0);
    for (const Parameters& p : {Parameters{7, 7, 0, 1}, {14, 14, 0, -1}, {100, 100, 0, 1}}) {
        const Result r = Votes(Form::alt, right.u, right.v, p);
        EXPECT_EQ(Cell(r.hough).count, 0) << p;
        EXPECT_TRUE(std::isnan(r.cx) && std::isnan(r.cy)) << p;
    }
    EXPECT_EQ(Cell(Votes(Form::alt, right.u, right.v, {6, 6, 0, 1}).hough).y, 0) << "the first row is inside";
    EXPECT_EQ(Cell(Votes(Form::alt, right.u, right.v, {13, 13, 0, -1}).hough).y, 19) << "and the last";
}

TEST(Votes, WithoutASenseOfRotationNothingVotes)
{
    Random random(68);
    const Shorts u = Noise<std::int16_t>(random, 50, 40), v = Noise<std::int16_t>(random, 50, 40);
    for (Form form : {Form::alt, Form::a2}) {
        for (float speed : {0.0f, -0.0f}) {
            const Result r = Votes(form, u, v, {2, 4, 3, speed});
            EXPECT_TRUE(std::isnan(r.cx) && std::isnan(r.cy));
            EXPECT_TRUE(pictures::Same(r.hough, Shorts(50, 40)));
        }
    }
}

TEST(Votes, WithoutVotesThePictureThatWasThereIsCleared)
{
    const Shorts still(30, 25);
    for (Form form : {Form::alt, Form::a2}) {
        MatShort hough(30, 25);
        hough.Fill(55);
        const void* const storage = hough.p_data;
        float cx = 0, cy = 0;
        const int result =
            form == Form::alt
                ? OpticalFlowPostprocAlt(ArrayOf(still), ArrayOf(still), 1, 2, 4, 0, 0, hough, cx, cy)
                : OpticalFlowPostprocA2(ArrayOf(still), ArrayOf(still), 1, 2, 4, 0, hough, cx, cy);
        EXPECT_EQ(result, 0);
        EXPECT_TRUE(pictures::Same(hough, still));
        EXPECT_EQ(hough.p_data, storage);
    }
}

TEST(Votes, NoRadiusInTheSecondFormMeansNoVote)
{
    const Single right(22, 20, 10, 15, 1000, 0);
    const Result r = Votes(Form::a2, right.u, right.v, {5, 4.9f, 0, 1});
    EXPECT_TRUE(std::isnan(r.cx));
    EXPECT_EQ(Cell(r.hough).count, 0);
}

TEST(Votes, OnlyTheFirstComponentSetsTheThreshold)
{
    // v is strong everywhere and does not raise the threshold, which lets every pixel vote.
    Shorts u(40, 40), v(40, 40, 1000);
    const Result weak = Votes(Form::alt, u, v, {0, 0, 0, 1});
    EXPECT_TRUE(pictures::Same(weak.hough, Shorts(40, 40, 2000)));
    // 300 strong values of u raise it above |v| for the others.
    for (int i = 0; i < 300; i++) u.At(i % 40, i / 40) = 1800;
    const Result strong = Votes(Form::alt, u, v, {0, 0, 0, 1});
    EXPECT_TRUE(Same(strong, PlainVotes(Form::alt, u, v, {0, 0, 0, 1})));
    EXPECT_GT(strong.hough.At(5, 5), 0);
    EXPECT_EQ(strong.hough.At(20, 20), 0);
}

/// A single strong pixel whose vote, at this radius, is inside the picture by its product and not by its
/// quotient.
struct RoundedUp {
    int u, v, x, y;
    float r;
};

std::vector<RoundedUp> VotesThatRoundUpToTheWidth(int w, int h)
{
    Random random(69);
    std::vector<RoundedUp> found;
    for (int i = 0; i < 2000000 && found.size() < 20; i++) {
        const int u = Between(random, -60, 60), v = Between(random, 100, 1900), x = Between(random, 0, w - 1),
                  y = h / 2;
        const float uf = static_cast<float>(u), vf = static_cast<float>(v), n = std::sqrt(uf * uf + vf * vf);
        const float right = static_cast<float>(w) * n, last = std::nextafter(right, 0.0f);
        if (last / n < static_cast<float>(w)) continue;
        const float xn = static_cast<float>(x) * n;
        const float r = (last - xn) / vf; // and its neighbours
        for (float candidate : {r, std::nextafter(r, 0.0f), std::nextafter(r, 1e9f)}) {
            const float tmpx = xn + candidate * vf, tmpy = static_cast<float>(y) * n - candidate * uf;
            if (tmpx == last && tmpy >= 0 && tmpy < static_cast<float>(h) * n) {
                found.push_back({u, v, x, y, candidate});
                break;
            }
        }
    }
    return found;
}

TEST(Votes, AVoteThatRoundsUpToTheWidthCountsInTheCentroidOnly)
{
    const int w = 33, h = 15;
    const std::vector<RoundedUp> found = VotesThatRoundUpToTheWidth(w, h);
    ASSERT_GE(found.size(), 5u);
    for (const RoundedUp& f : found) {
        const Single one(w, h, f.x, f.y, f.u, f.v);
        const Parameters p{f.r, f.r, 0, 1};
        const Result r = Votes(Form::alt, one.u, one.v, p);
        EXPECT_EQ(Cell(r.hough).count, 0);
        EXPECT_EQ(r.cx, static_cast<float>(w) + 0.5f);
        EXPECT_FALSE(std::isnan(r.cy));
        EXPECT_TRUE(Same(r, PlainVotes(Form::alt, one.u, one.v, p)));
    }
}

TEST(Votes, AVoteThatRoundsUpToTheHeightCountsInTheCentroidOnly)
{
    // The same numbers with both directions swapped: y goes down with -v where x went right with u.
    const int w = 15, h = 33;
    const std::vector<RoundedUp> found = VotesThatRoundUpToTheWidth(h, w);
    ASSERT_GE(found.size(), 5u);
    for (const RoundedUp& f : found) {
        const Single one(w, h, f.y, f.x, f.v, f.u); // point 2: y + r u, x - r v
        const Parameters p{f.r, f.r, 0, -1};
        const Result r = Votes(Form::alt, one.u, one.v, p);
        EXPECT_EQ(Cell(r.hough).count, 0);
        EXPECT_EQ(r.cy, static_cast<float>(h) + 0.5f);
        EXPECT_TRUE(Same(r, PlainVotes(Form::alt, one.u, one.v, p)));
    }
}

TEST(Votes, TheStrongestCellIsTwoThousandAndTheRestScales)
{
    // Two pixels vote for different cells, with weights 100 n of 100000 and 50000.
    Single field(22, 20, 10, 6, 1000, 0);
    field.u.At(3, 15) = 500;
    const Result r = Votes(Form::alt, field.u, field.v, {4, 4, 0, 1});
    EXPECT_EQ(r.hough.At(10, 2), 2000);
    EXPECT_EQ(r.hough.At(3, 11), 1000);
    EXPECT_NEAR(r.cx, (10 * 1000 + 3 * 500) / 1500.0 + 0.5, 1e-4);
}

TEST(Votes, CellsWrapAt32Bits)
{
    // Thousands of the fastest pixels there are vote for the same few cells.
    Random random(71);
    const Field f = TurningField(random, 520, 520, 260, 260, 248.5, 251.5, 32767);
    const Parameters p{250, 250, 0, -1};
    const Result r = Votes(Form::alt, f.u, f.v, p);
    EXPECT_TRUE(Same(r, PlainVotes(Form::alt, f.u, f.v, p)));
    bool negative = false;
    for (int value : r.hough.a) negative = negative || value < 0;
    EXPECT_TRUE(negative) << "no cell wrapped";
}

TEST(Votes, ATurningWheelPutsTheMaximumInItsCentre)
{
    Random random(70);
    for (int sense : {1, -1}) {
        const Field f = TurningField(random, 120, 100, 63, 47, 28, 30, 1500 * sense);
        // With y downwards a positive speed moves the top of the wheel to the right.
        for (const float speed : {1.0f, -1.0f}) {
            const Result r = Votes(Form::alt, f.u, f.v, {28, 30, 0, speed});
            int bx = 0, by = 0;
            for (int y = 0; y < 100; y++)
                for (int x = 0; x < 120; x++)
                    if (r.hough.At(x, y) > r.hough.At(bx, by)) bx = x, by = y;
            const bool atCentre = std::abs(bx - 63) <= 1 && std::abs(by - 47) <= 1;
            EXPECT_EQ(atCentre, (sense > 0) == (speed < 0)) << bx << ", " << by;
        }
    }
}

} // namespace

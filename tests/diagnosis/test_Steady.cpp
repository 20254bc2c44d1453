// The camera's own movement, on drawn wheels before backdrops with and without texture.
#include <diagnosis/Steady.h>

#include <tests/diagnosis/DrawnRuns.h>

#include <gtest/gtest.h>

#include <cmath>

using namespace telvane;

namespace {

WheelScene Textured()
{
    WheelScene scene = Scene();
    scene.texture = 40;
    return scene;
}

/// Filmed by a camera that is beside its place by `by` in each frame.
CubByte Filmed(const WheelScene& scene, const std::vector<Place>& by)
{
    CubByte frames(scene.width, scene.height, static_cast<int>(by.size()));
    for (std::size_t t = 0; t < by.size(); t++) {
        WheelScene pushed = scene;
        pushed.push = {0, by[t].x, by[t].y};
        RenderWheel(pushed, static_cast<int>(t), &frames(0, 0, static_cast<int>(t)));
    }
    return frames;
}

std::vector<Place> Shifts(const CubByte& frames, const WheelScene& scene)
{
    return ShiftsOf(ChangesOf(frames), scene.noise, {}, {scene.centreX, scene.centreY}, 190);
}

const std::vector<Place> shaking{{0, 0}, {0.4, -0.3}, {3.3, -2.6}, {0.06, 0}};

} // namespace

TEST(Steady, ShiftsAreToldToAFewHundredthsOfAPixel)
{
    const std::vector<Place> found = Shifts(Filmed(Textured(), shaking), Textured());
    ASSERT_EQ(found.size(), shaking.size());
    for (std::size_t t = 0; t < found.size(); t++) {
        EXPECT_NEAR(found[t].x, shaking[t].x, 0.04) << t;
        EXPECT_NEAR(found[t].y, shaking[t].y, 0.04) << t;
    }
}

TEST(Steady, WithoutAnythingThatStandsStillNothingIsTold)
{
    WheelScene plain = Scene();
    plain.texture = 0;
    EXPECT_TRUE(Shifts(Filmed(plain, shaking), plain).empty());
    // Nor where all but a mask is left out.
    const CubByte frames = Filmed(Textured(), shaking);
    EXPECT_TRUE(ShiftsOf(ChangesOf(frames), 1.5, {{0, 0, 640, 300}}, {320, 480}, 250).empty());
}

TEST(Steady, ABeltIsNotTheCamera)
{
    // A band from side to side moves, before a plain backdrop and before texture.
    for (const double texture : {0.0, 40.0}) {
        WheelScene scene = Scene();
        scene.texture = texture;
        CubByte frames = Filmed(scene, std::vector<Place>(3));
        for (int t = 0; t < 3; t++)
            for (int y = 20; y < 60; y++)
                for (int x = 0; x < 640; x++)
                    frames(x, y, t) = static_cast<UBYTE>(100 + 50 * std::sin((x - 2 * t) * 0.3) *
                                                                   std::cos(y * 0.2 + x * 0.05));
        for (const Place& shift : Shifts(frames, scene))
            EXPECT_LT(std::hypot(shift.x, shift.y), 0.05) << texture;
    }
}

TEST(Steady, SteadiedFramesAreThoseOfACameraThatStands)
{
    WheelScene scene = Textured();
    scene.noise = 0;
    const std::vector<Place> by{{0.4, -0.3}, {3.3, -2.6}};
    const CubByte moved = Filmed(scene, by), stands = Filmed(scene, std::vector<Place>(by.size())),
                  steady = Steadied(moved, by);
    long before = 0, after = 0;
    for (int t = 0; t < steady.dim3; t++)
        for (int y = 8; y < steady.dim2 - 8; y++)
            for (int x = 8; x < steady.dim1 - 8; x++) {
                before += std::abs(moved(x, y, t) - stands(x, y, t));
                after += std::abs(steady(x, y, t) - stands(x, y, t));
            }
    EXPECT_LT(after, before / 3);
}

TEST(Steady, AWheelBeforeAShakingCameraIsJudgedByItsRotation)
{
    Geometry geometry;
    ASSERT_EQ(Measure(Textured(), geometry), "");
    const int count = 6;
    std::vector<Place> slightly, strongly;
    for (int t = 0; t < count; t++) {
        const Place by{std::sin(2.6 * t), std::cos(1.9 * t) - 1};
        slightly.push_back({0.3 * by.x, 0.3 * by.y});
        strongly.push_back({3 * by.x, 3 * by.y});
    }
    const RunArguments told = ArgumentsFor(Textured(), geometry, count, Method::ring);
    const Diagnosis good = Diagnose(DetectedRun(Filmed(Textured(), slightly), told));
    EXPECT_EQ(good.verdict, Verdict::good) << good.evidence;
    ASSERT_TRUE(good.centre && good.sigma);
    EXPECT_NEAR(good.centre->x, 323.3, 2 * good.sigma->x);
    EXPECT_NEAR(good.centre->y, 238.6, 2 * good.sigma->y);
    EXPECT_LT(good.sigma->x, 0.5);
    const Diagnosis bad = Diagnose(DetectedRun(Filmed(Textured(), strongly), told));
    EXPECT_EQ(bad.verdict, Verdict::badFrames) << bad.evidence;
    EXPECT_EQ(bad.evidence.rfind("The camera moves", 0), 0u) << bad.evidence;
}

// The film with a camera that the test plays: sequences, viewers, a camera that fails.
#include <setup/Film.h>

#include <camera/GrabLoss.h>

#include <raspicam/raspicam.h>

#include <tests/support/Decoded.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <cstddef>
#include <future>
#include <memory>
#include <thread>
#include <vector>

using namespace telvane;
using namespace std::chrono_literals;

namespace {

// What the camera does. Every grab makes an even picture that is one brighter than the last, or stripes, or
// waves that have moved on.
std::atomic<bool> opens{true};
std::atomic<int> stripes{0}; // grey levels
std::atomic<int> waves{0};   // pixels to the right a grab
std::atomic<int> goodGrabs{1 << 30}, opened{0}, closed{0};
std::atomic<bool> hangs{false}; // grabs do not come back
std::atomic<int> lossIn{0};     // grabs until a picture is lost; 0: none is
std::atomic<bool> losesAlways{false};

} // namespace

namespace raspicam {

RaspiCam::RaspiCam() = default;
RaspiCam::~RaspiCam() { closed++; }

bool RaspiCam::open(bool)
{
    opened++;
    buffer.resize(std::size_t{1280} * 960 * 3);
    return opens;
}

bool RaspiCam::grab()
{
    grabs++;
    if (goodGrabs-- <= 0) return false;
    while (hangs) std::this_thread::sleep_for(5ms);
    if (--lossIn == 0 || losesAlways) grabs++, camera::lossesSoFar++;
    std::fill(buffer.begin(), buffer.end(), static_cast<unsigned char>(grabs));
    for (std::size_t i = 0; stripes > 0 && i < buffer.size(); i++)
        buffer[i] = static_cast<unsigned char>(i / 3 % 4 < 2 ? stripes.load() : 0);
    if (const int step = waves; step != 0) {
        const std::size_t row = std::size_t{1280} * 3;
        for (std::size_t i = 0; i < row; i++) {
            const double x = static_cast<double>(i / 3) - step * static_cast<double>(grabs);
            buffer[i] = static_cast<unsigned char>(100.5 + 60 * std::sin(x / 5));
        }
        for (std::size_t at = row; at < buffer.size(); at += row)
            std::copy_n(buffer.begin(), row, buffer.begin() + static_cast<std::ptrdiff_t>(at));
    }
    return true;
}

unsigned char* RaspiCam::getImageBufferData() const { return buffer.data(); }

std::size_t RaspiCam::getImageBufferSize() const { return buffer.size(); }

} // namespace raspicam

namespace {

class FilmOfTest : public testing::Test {
protected:
    void SetUp() override
    {
        opens = true;
        stripes = waves = 0;
        goodGrabs = 1 << 30;
        opened = closed = 0;
        hangs = false;
    }

    template <class Condition> static bool Wait(Condition holds)
    {
        for (int i = 0; i < 2000; i++) {
            if (holds()) return true;
            std::this_thread::sleep_for(5ms);
        }
        return false;
    }
    bool WaitFor(CameraState state)
    {
        return Wait([&] { return film.State().camera == state; });
    }

    /// The grey values of a sequence, one for each frame; none where the camera failed.
    using Greys = std::vector<int>;
    std::future<Greys> Take(int count, int period1, int period2)
    {
        const auto taken = std::make_shared<std::promise<Greys>>();
        std::future<Greys> future = taken->get_future();
        const Film::Order order{count, period1, period2, [this, taken](CubByte* frames, CameraState state) {
                                    Greys greys;
                                    lastState = state;
                                    for (int i = 0; frames && i < frames->dim3; i++)
                                        greys.push_back((*frames)(640, 480, i));
                                    taken->set_value(greys);
                                }};
        const bool begun = Wait([&] { return film.Take(order); }); // the one before may not be put away yet
        EXPECT_TRUE(begun);
        return future;
    }
    /// Camera frames from each frame of a sequence to the next.
    static Greys Steps(const Greys& greys)
    {
        Greys steps;
        for (std::size_t i = 1; i < greys.size(); i++) steps.push_back((greys[i] - greys[i - 1] + 256) % 256);
        return steps;
    }

    Film film;
    std::atomic<CameraState> lastState; ///< of the camera, as the last sequence was told
};

} // namespace

TEST_F(FilmOfTest, ASequenceHasTheCamerasFramesByItsPeriods)
{
    film.Start();
    ASSERT_TRUE(WaitFor(CameraState::films));
    EXPECT_EQ(Steps(Take(15, 1, 1).get()), Greys(14, 1));
    EXPECT_TRUE(Wait([&] {
        return film.Take({1, 1, 1, [](CubByte*, CameraState) {}});
    })) << "the next one can be taken";
    EXPECT_TRUE(Wait([&] { return film.Take({1, 1, 1, [](CubByte*, CameraState) {}}); }));
    EXPECT_EQ(Steps(Take(6, 3, 1).get()), (Greys{3, 1, 3, 1, 3}));
    EXPECT_EQ(Take(1, 50, 50).get().size(), 1u);
}

TEST_F(FilmOfTest, ASequenceIsTakenWithViewersAndFiguresUnderWay)
{
    film.Look({{640, 480}, 100, 200, 20});
    film.Start();
    const auto plain = film.Watch(View::plain), motion = film.Watch(View::motion);
    ASSERT_TRUE(WaitFor(CameraState::films));
    EXPECT_TRUE(motion->Next(5s));
    EXPECT_EQ(Steps(Take(20, 1, 2).get()), (Greys{1, 2, 1, 2, 1, 2, 1, 2, 1, 2, 1, 2, 1, 2, 1, 2, 1, 2, 1}));
    EXPECT_TRUE(plain->Next(5s)) << "and it goes on";
}

TEST_F(FilmOfTest, ASequenceOfLongPeriodsIsLookedOnAt)
{
    film.Start();
    const auto viewer = film.Watch(View::plain);
    ASSERT_TRUE(viewer->Next(5s));
    std::future<Greys> taken = Take(3, 50, 50);
    int shown = 0;
    while (taken.wait_for(0s) != std::future_status::ready) shown += viewer->Next(100ms) != nullptr;
    EXPECT_GT(shown, 3) << "every eighth picture of a hundred, as fast as they are taken";
    EXPECT_EQ(Steps(taken.get()), Greys(2, 50));
}

TEST_F(FilmOfTest, WorkThatTakesLongIsNoSilenceOfTheCamera)
{
    film.Start();
    ASSERT_TRUE(WaitFor(CameraState::films));
    std::promise<void> done;
    EXPECT_TRUE(film.Take({1, 1, 1, [&done](CubByte*, CameraState) {
                               std::this_thread::sleep_for(3300ms);
                               done.set_value();
                           }}));
    std::future<void> end = done.get_future();
    int silent = 0;
    while (end.wait_for(20ms) != std::future_status::ready)
        silent += film.State().camera != CameraState::films;
    EXPECT_EQ(silent, 0);
}

TEST_F(FilmOfTest, OneSequenceIsTakenAtATime)
{
    EXPECT_TRUE(film.Take({1, 1, 1, [](CubByte*, CameraState) {}}));
    EXPECT_FALSE(film.Take({1, 1, 1, [](CubByte*, CameraState) {}}));
}

TEST_F(FilmOfTest, ACameraThatFailsDuringASequenceIsToldAndOpenedAgain)
{
    film.Start();
    ASSERT_TRUE(WaitFor(CameraState::films));
    goodGrabs = 8;
    EXPECT_EQ(Take(50, 1, 1).get(), Greys());
    EXPECT_EQ(lastState, CameraState::silent);
    EXPECT_TRUE(WaitFor(CameraState::silent));
    goodGrabs = 1 << 30;
    EXPECT_TRUE(WaitFor(CameraState::films));
    EXPECT_EQ(Take(3, 1, 1).get().size(), 3u);
    EXPECT_GE(opened, 2);
    EXPECT_EQ(closed, opened - 1) << "one at a time";
}

TEST_F(FilmOfTest, ASequenceThatTheCameraLosesFramesOfIsTakenAnew)
{
    film.Start();
    EXPECT_FALSE(camera::lossesAreTold) << "nobody wants lines by the hour";
    ASSERT_TRUE(WaitFor(CameraState::films));
    lossIn = 12; // in the sequence
    EXPECT_EQ(Steps(Take(20, 1, 2).get()), (Greys{1, 2, 1, 2, 1, 2, 1, 2, 1, 2, 1, 2, 1, 2, 1, 2, 1, 2, 1}));
    EXPECT_LE(lossIn, 0) << "it was lost";
    losesAlways = true;
    EXPECT_EQ(Take(20, 1, 1).get(), Greys()) << "there is no end to it";
    EXPECT_EQ(lastState, CameraState::loses) << "it does send pictures";
    EXPECT_TRUE(WaitFor(CameraState::loses));
    losesAlways = false;
    EXPECT_EQ(Take(3, 1, 1).get().size(), 3u);
}

TEST_F(FilmOfTest, ACameraThatIsAwayComesBack)
{
    opens = false;
    film.Start();
    ASSERT_TRUE(WaitFor(CameraState::away));
    EXPECT_EQ(film.State().pictures, 0u);
    EXPECT_EQ(Take(3, 1, 1).get(), Greys()) << "nobody waits for it for ever";
    EXPECT_EQ(lastState, CameraState::away);
    opens = true;
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_TRUE(WaitFor(CameraState::films));
    EXPECT_LT(std::chrono::steady_clock::now() - begin, 5s) << "it is tried again in less than a second";
}

TEST_F(FilmOfTest, ACameraThatDoesNotAnswerIsSilentAfterThreeSeconds)
{
    film.Start();
    ASSERT_TRUE(WaitFor(CameraState::films));
    hangs = true;
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_TRUE(WaitFor(CameraState::silent));
    EXPECT_GE(std::chrono::steady_clock::now() - begin, 2900ms);
    EXPECT_LT(std::chrono::steady_clock::now() - begin, 5500ms);
    hangs = false;
    EXPECT_TRUE(WaitFor(CameraState::films));
}

TEST_F(FilmOfTest, ASequenceBeginsWithPicturesThatCameAfterItWasAskedFor)
{
    film.Start();
    ASSERT_TRUE(WaitFor(CameraState::films));
    const auto before = film.State().pictures; // each is one brighter than the last
    const int first = Take(2, 1, 1).get().at(0);
    EXPECT_GE((first - static_cast<int>(before % 256) + 256) % 256, 5) << "four may come from before";
}

TEST_F(FilmOfTest, StoppingGivesTheCameraBackAndLeavesNoOrderWaiting)
{
    film.Start();
    ASSERT_TRUE(WaitFor(CameraState::films));
    std::future<Greys> order = Take(50, 50, 50);
    EXPECT_TRUE(film.Stop());
    EXPECT_EQ(closed, 1);
    EXPECT_EQ(order.wait_for(0s), std::future_status::ready);
    EXPECT_EQ(order.get(), Greys());
    EXPECT_FALSE(film.Take({1, 1, 1, [](CubByte*, CameraState) {}}));
    EXPECT_TRUE(film.Stop()) << "once more does nothing";
}

TEST_F(FilmOfTest, ViewersGetEachPictureOnceAndTheNewest)
{
    film.Start();
    const auto viewer = film.Watch(View::plain);
    std::uint64_t last = 0;
    for (int i = 0; i < 5; i++) {
        const auto shown = viewer->Next(5s);
        ASSERT_TRUE(shown);
        EXPECT_GT(shown->number, last);
        EXPECT_EQ(shown->jpeg.substr(0, 3), "\xFF\xD8\xFF");
        last = shown->number;
    }
    std::this_thread::sleep_for(500ms);
    const std::uint64_t filmed = film.State().pictures;
    EXPECT_GE(viewer->Next(5s)->number + 2, filmed) << "what was missed is not made up for";
    EXPECT_TRUE(film.Stop());
    EXPECT_FALSE(viewer->Next(5s)) << "at the end nobody waits";
}

TEST_F(FilmOfTest, MotionIsShownTheWayThingsMove)
{
    waves = 2;
    film.Start();
    ASSERT_TRUE(WaitFor(CameraState::films));
    const auto viewer = film.Watch(View::motion);
    for (const bool circles : {false, true}) { // the figures of circles take a second picture
        if (circles) film.Look({{640, 480}, 100, 200, 20});
        for (int i = 0; i < 5; i++) {
            const auto shown = viewer->Next(5s);
            ASSERT_TRUE(shown);
            const decoded::Decoded picture = decoded::Decode({shown->jpeg.begin(), shown->jpeg.end()});
            const reference::Bytes& row = picture.rows[240];
            double red = 0, blue = 0;
            for (std::size_t x = 100; x < 540; x++) red += row[3 * x] / 440.0, blue += row[3 * x + 2] / 440.0;
            EXPECT_GT(red, blue + 60) << "red is to the right";
        }
    }
}

TEST_F(FilmOfTest, AViewerWhoComesLaterGetsNoOldPicture)
{
    film.Start();
    ASSERT_TRUE(WaitFor(CameraState::films));
    for (const View view : {View::plain, View::motion}) {
        ASSERT_TRUE(film.Watch(view)->Next(5s));
        const auto filmed = film.State().pictures;
        ASSERT_TRUE(Wait([&] { return film.State().pictures > filmed + 3; }));
        const auto next = film.Watch(view)->Next(5s);
        ASSERT_TRUE(next);
        EXPECT_GT(next->number, filmed + 3);
    }
}

TEST_F(FilmOfTest, PicturesArePacedTo30ASecond)
{
    film.Start();
    ASSERT_TRUE(WaitFor(CameraState::films));
    const std::uint64_t before = film.State().pictures;
    std::this_thread::sleep_for(1s);
    EXPECT_LE(film.State().pictures - before, 33u) << "this camera would give many more";
}

TEST_F(FilmOfTest, EightViewersAreEnough)
{
    std::vector<std::unique_ptr<Film::Viewer>> viewers;
    for (int i = 0; i < Film::mostViewers; i++)
        viewers.push_back(film.Watch(i % 3 ? View::plain : View::motion));
    for (const auto& viewer : viewers) EXPECT_TRUE(viewer);
    EXPECT_EQ(film.State().viewers, 8);
    EXPECT_FALSE(film.Watch(View::plain));
    viewers.pop_back();
    EXPECT_TRUE(film.Watch(View::motion));
    EXPECT_EQ(film.State().viewers, 7);
}

TEST_F(FilmOfTest, TheBestSharpnessIsKeptUntilItIsForgotten)
{
    stripes = 100; // two columns apart all pixels differ by them
    film.Start();
    const auto near = [](double value, double wanted) { return std::abs(value - wanted) < 1e-6; };
    ASSERT_TRUE(Wait([&] { return near(film.State().figures.sharpness, 100); }));
    EXPECT_NEAR(film.State().figures.best, 100, 1e-6);
    stripes = 20;
    double between = 100;
    ASSERT_TRUE(Wait([&] { return (between = film.State().figures.sharpness) < 99; }));
    EXPECT_GT(between, 20.5) << "it goes there in a few steps";
    const auto begin = std::chrono::steady_clock::now();
    ASSERT_TRUE(Wait([&] { return film.State().figures.sharpness < 21; }));
    EXPECT_LT(std::chrono::steady_clock::now() - begin, 10s) << "figures come several times a second";
    EXPECT_NEAR(film.State().figures.best, 100, 1e-6);
    film.ForgetBest();
    EXPECT_TRUE(Wait([&] { return near(film.State().figures.best, 20); }));
    // Inside a circle other things are seen than before: their best is another.
    film.Look({{640, 480}, 100, 200, 20});
    stripes = 10;
    EXPECT_TRUE(Wait([&] { return film.State().figures.best < 16; }));
}

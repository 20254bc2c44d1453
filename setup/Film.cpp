// Filming: a loop of grabs, with what is due between them.
#include <setup/Film.h>

#include <Telvane/Frames.h>
#include <Telvane/Grab.h>
#include <camera/GrabLoss.h>
#include <report/Pictures.h>
#include <setup/MotionPicture.h>

#include <algorithm>
#include <system_error>
#include <utility>

namespace telvane {

using namespace std::chrono_literals;

namespace {

constexpr auto pictureTime = 33'333us; // cameras in memory are not faster than real ones
constexpr auto figureTime = 180ms;     // people read them
constexpr auto patience = 3s;          // with a camera that gives no sign of life
constexpr auto longestGrab = 8s;       // of a back end that waits, starts its camera anew and waits again
constexpr auto again = 700ms;          // until a camera that failed is opened again
constexpr int settle = 4;              // pictures that a back end may still hold from before

} // namespace

/// The camera and the frames before it.
class Film::Reel {
public:
    bool Open()
    {
        camera = std::make_unique<raspicam::RaspiCam>();
        if (camera->open(true)) return true;
        camera.reset();
        return false;
    }
    void Close() { camera.reset(); }
    bool IsOpen() const { return camera != nullptr; }

    /// The next picture of the camera.
    bool Grab(const MatByte& grey) const
    {
        if (!camera->grab()) return false;
        const unsigned char* const bytes = camera->getImageBufferData();
        if (!bytes || camera->getImageBufferSize() != std::size_t{3} * frameWidth * frameHeight) return false;
        ConvertToGrey(bytes, grey);
        return true;
    }

    MatByte before{frameWidth, frameHeight}, now{frameWidth, frameHeight};

    /// A sequence that is being taken: pictures to let pass, and how many are there.
    struct Sequence {
        explicit Sequence(Order o) : order(std::move(o)), frames(frameWidth, frameHeight, order.count) {}
        Order order;
        CubByte frames;
        int pass = settle, taken = 0, retakes = 3;
        unsigned losses = 0; // of the camera, up to the last picture
    };
    std::unique_ptr<Sequence> sequence;

private:
    std::unique_ptr<raspicam::RaspiCam> camera;
};

Film::~Film() { Stop(); }

bool Film::Start()
{
    camera::lossesAreTold = false; // by hours of lines: between its own pictures a page misses many
    ended = false;
    try {
        thread = std::thread([this] { Run(); });
    } catch (const std::system_error&) {
        ended = true;
    }
    return thread.joinable();
}

bool Film::Stop()
{
    if (!thread.joinable()) return true;
    std::unique_lock lock(mutex);
    stopping = true;
    changed.notify_all();
    const bool done = changed.wait_for(lock, longestGrab, [this] { return ended; });
    lock.unlock();
    if (done) thread.join();
    else thread.detach();
    return done;
}

bool Film::Sleep(Clock::time_point until)
{
    std::unique_lock lock(mutex);
    return !changed.wait_until(lock, until, [this] { return stopping; });
}

int Film::ViewersOf(View view) const
{
    const std::lock_guard lock(mutex);
    return viewers[static_cast<std::size_t>(view)];
}

void Film::Say(CameraState state)
{
    const std::lock_guard lock(mutex);
    camera = state;
}

void Film::SayWorking(bool works)
{
    const std::lock_guard lock(mutex);
    working = works;
    lastPicture = Clock::now();
}

void Film::Run()
{
    Reel reel;
    Clock::time_point due = Clock::now(), figuresDue = due;
    Circles looked;

    const auto fail = [&](CameraState state) {
        reel.Close();
        Say(state);
        std::optional<Order> lost;
        {
            const std::lock_guard lock(mutex);
            if (order) lost = std::exchange(order, std::nullopt);
        }
        if (reel.sequence) lost = std::move(reel.sequence->order);
        reel.sequence.reset();
        if (lost) lost->work(nullptr, state);
        Sleep(Clock::now() + again);
        due = Clock::now();
    };
    const auto publish = [&](View view, std::string jpeg) {
        const std::lock_guard lock(mutex);
        shown[static_cast<std::size_t>(view)] =
            std::make_shared<const Shown>(Shown{pictures, std::move(jpeg)});
        changed.notify_all();
    };

    while (reel.sequence || Sleep(due)) {
        {
            const std::lock_guard lock(mutex);
            if (stopping) break;
        }
        due = std::max(due + pictureTime, Clock::now());
        if (!reel.IsOpen() && !reel.Open()) {
            fail(CameraState::away);
            continue;
        }
        const bool motionWanted = ViewersOf(View::motion) > 0;
        if (motionWanted) reel.before = reel.now;
        if (!reel.Grab(reel.now)) {
            fail(CameraState::silent);
            continue;
        }
        Circles circlesNow;
        {
            const std::lock_guard lock(mutex);
            camera = CameraState::films;
            pictures++;
            lastPicture = Clock::now();
            circlesNow = circles;
            if (order && !reel.sequence) reel.sequence = std::make_unique<Reel::Sequence>(std::move(*order));
        }

        if (reel.sequence) {
            // Neighbours of the camera, whatever else takes its time: nothing but an unchanged picture is
            // shown.
            Reel::Sequence& sequence = *reel.sequence;
            const unsigned losses = camera::lossesSoFar;
            if (sequence.taken > 0 && losses != sequence.losses) {
                if (sequence.retakes-- == 0) {
                    fail(CameraState::loses);
                    continue;
                }
                sequence.taken = sequence.pass = 0; // what was lost would look like a leap of the wheel
            }
            sequence.losses = losses;
            if (sequence.pass > 0) {
                // A long wait is no reason to show nothing; there is time for a picture.
                if (sequence.pass-- % 8 == 7 && ViewersOf(View::plain) > 0)
                    publish(View::plain, GreyJpeg(reel.now));
                continue;
            }
            sequence.frames(RNG::All(), RNG::All(), sequence.taken) = reel.now;
            sequence.pass = (sequence.taken % 2 == 0 ? sequence.order.period1 : sequence.order.period2) - 1;
            if (++sequence.taken < sequence.order.count) continue;
            const std::unique_ptr<Reel::Sequence> done = std::move(reel.sequence);
            SayWorking(true);
            done->order.work(&done->frames, CameraState::films);
            SayWorking(false);
            const std::lock_guard lock(mutex);
            order.reset();
            due = Clock::now();
            continue;
        }

        // For the speed two pictures that surely follow each other. The second comes at once: a back end that
        // holds a few loses none between them.
        const bool figuresWanted = Clock::now() >= figuresDue;
        if (figuresWanted && circlesNow.Set()) {
            reel.before = reel.now;
            if (!reel.Grab(reel.now)) {
                fail(CameraState::silent);
                continue;
            }
        }
        if (figuresWanted) {
            const double sharpness = Sharpness(reel.now, circlesNow);
            const Exposure exposure = ExposureOf(reel.now);
            const auto speed = SpeedOf(reel.before, reel.now, circlesNow);
            const std::lock_guard lock(mutex);
            // Another area has another best.
            if (looked.Set() != circlesNow.Set()) figures.best = figures.sharpness = 0;
            looked = circlesNow;
            figures.sharpness = figures.sharpness > 0 ? (figures.sharpness + sharpness) / 2 : sharpness;
            figures.best = std::max(figures.best, figures.sharpness);
            figures.exposure = exposure;
            figures.speed = speed;
            figuresDue = Clock::now() + figureTime;
        }
        if (motionWanted) publish(View::motion, MotionJpeg(reel.before, reel.now));
        if (ViewersOf(View::plain) > 0) publish(View::plain, GreyJpeg(reel.now));
    }

    fail(CameraState::away);
    const std::lock_guard lock(mutex);
    ended = true;
    changed.notify_all();
}

Film::Viewer::~Viewer()
{
    const std::lock_guard lock(film.mutex);
    film.viewers[static_cast<std::size_t>(view)]--;
}

std::shared_ptr<const Shown> Film::Viewer::Next(std::chrono::milliseconds patienceOfViewer)
{
    const auto at = static_cast<std::size_t>(view);
    std::unique_lock lock(film.mutex);
    film.changed.wait_for(lock, patienceOfViewer, [&] {
        return film.stopping || (film.shown[at] && film.shown[at]->number != last);
    });
    if (film.stopping || !film.shown[at] || film.shown[at]->number == last) return nullptr;
    last = film.shown[at]->number;
    return film.shown[at];
}

std::unique_ptr<Film::Viewer> Film::Watch(View view)
{
    const std::lock_guard lock(mutex);
    if (viewers[0] + viewers[1] >= mostViewers) return nullptr;
    const auto at = static_cast<std::size_t>(view);
    if (viewers[at]++ == 0) shown[at].reset(); // the last picture may be an old one
    return std::unique_ptr<Viewer>(new Viewer(*this, view));
}

FilmState Film::State() const
{
    const std::lock_guard lock(mutex);
    FilmState state{camera, pictures, viewers[0] + viewers[1], figures};
    if (camera == CameraState::films && !working && Clock::now() - lastPicture > patience)
        state.camera = CameraState::silent;
    if (stopping) state.camera = CameraState::away; // it is being given back
    return state;
}

void Film::Look(const Circles& c)
{
    const std::lock_guard lock(mutex);
    circles = c;
}

void Film::ForgetBest()
{
    const std::lock_guard lock(mutex);
    figures.best = figures.sharpness = 0;
}

bool Film::Take(Order wanted)
{
    const std::lock_guard lock(mutex);
    if (order || stopping) return false;
    order = std::move(wanted);
    return true;
}

} // namespace telvane

// The camera and the one thread that films: everything that is made of pictures is made there.
#ifndef SETUP_FILM_H
#define SETUP_FILM_H

#include <setup/Figures.h>

#include <array>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

namespace telvane {

enum class View { plain, motion };

/// A picture as it goes to viewers.
struct Shown {
    std::uint64_t number = 0; ///< grows from picture to picture
    std::string jpeg;
};

enum class CameraState {
    opening,
    films,
    away,   ///< it does not open: it is not there, or another program has it
    silent, ///< it is open and sends no pictures
    loses   ///< it sends pictures, but some are missing whenever a sequence is taken
};

struct FigureSet {
    double sharpness = 0, best = 0; ///< see Sharpness; the best since the last ForgetBest
    Exposure exposure;
    std::optional<TeethSpeed> speed; ///< nothing while the circles are not set, or no teeth are made out
};

struct FilmState {
    CameraState camera = CameraState::opening;
    std::uint64_t pictures = 0; ///< how many have been filmed
    int viewers = 0;
    FigureSet figures;
};

/// Opens the camera and films until it is stopped. A camera that is away or falls silent is opened again and
/// again. Every member but the constructor may be called from any thread; what is handed out is plain bytes
/// and numbers, for Kavrix's arrays are for one thread.
class Film {
public:
    static constexpr int mostViewers = 8;

    Film() = default;
    Film(const Film&) = delete;
    Film& operator=(const Film&) = delete;
    ~Film(); ///< stops, see Stop

    /// \return false if there is no memory for the thread
    bool Start();
    /// Ends the filming and gives the camera back.
    /// \return false if the camera has not come back from a call after some seconds; the thread is left to
    /// it, and
    ///         the film must not be destroyed
    bool Stop();

    /// Someone who looks on, as long as it lives.
    class Viewer {
    public:
        ~Viewer();
        Viewer(const Viewer&) = delete;
        Viewer& operator=(const Viewer&) = delete;

        /// The newest picture, once it is another than the last one that came from here.
        /// \return null if there is none in that time
        std::shared_ptr<const Shown> Next(std::chrono::milliseconds patience);

    private:
        friend class Film;
        Viewer(Film& f, View v) : film(f), view(v) {}
        Film& film;
        const View view;
        std::uint64_t last = 0;
    };
    /// \return null while there are enough already
    std::unique_ptr<Viewer> Watch(View view);

    FilmState State() const;
    void Look(const Circles& circles); ///< what the figures look at
    void ForgetBest();

    /// A sequence of frames as the program would take it.
    struct Order {
        int count = 1, period1 = 1, period2 = 1;
        /// Gets the frames, or null if the camera failed, and what became of the camera. Called on the thread
        /// that films.
        std::function<void(CubByte* frames, CameraState camera)> work;
    };
    /// \return false while another order is not done
    bool Take(Order wanted);

private:
    class Reel; // what lives on the thread that films
    using Clock = std::chrono::steady_clock;

    void Run();
    bool Sleep(Clock::time_point until); // false: stop
    int ViewersOf(View view) const;
    void Say(CameraState state);
    void SayWorking(bool works);

    std::thread thread;
    mutable std::mutex mutex;
    std::condition_variable changed;
    // All below belongs to the mutex.
    bool stopping = false, ended = true, working = false;
    CameraState camera = CameraState::opening;
    Clock::time_point lastPicture = Clock::now();
    std::uint64_t pictures = 0;
    std::array<int, 2> viewers{};
    std::array<std::shared_ptr<const Shown>, 2> shown;
    FigureSet figures;
    Circles circles;
    std::optional<Order> order;
};

} // namespace telvane

#endif

// Which frames of a camera are missing, from what it says of those that came.
#ifndef CAMERA_LIBCAMERA_LOSSWATCH_H
#define CAMERA_LIBCAMERA_LOSSWATCH_H

#include <camera/GrabLoss.h>

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>

namespace telvane::camera {

/// What goes with a frame.
struct FrameStamp {
    std::uint32_t sequence = 0; ///< counted by the camera, modulo 2^32
    std::int64_t time = 0;      ///< of its exposure, nanoseconds of any clock that goes on
    std::int64_t duration = 0;  ///< that a frame takes at this exposure, nanoseconds; 0: not known
    std::uint64_t delivery = 0; ///< counted by the exchange, those that were lost or spoilt in it too
};

/// As many as can be at most, in a place of their own: while a camera films, no memory is asked for.
template <class T, std::size_t most> class Few {
public:
    void Add(const T& item) { items[count++] = item; }
    void Clear() { count = 0; }
    std::size_t Size() const { return count; }
    bool Empty() const { return count == 0; }
    T& operator[](std::size_t i) { return items[i]; }
    const T& operator[](std::size_t i) const { return items[i]; }
    auto begin() { return items.begin(); }
    auto end() { return items.begin() + static_cast<std::ptrdiff_t>(count); }
    auto begin() const { return items.begin(); }
    auto end() const { return items.begin() + static_cast<std::ptrdiff_t>(count); }

private:
    std::array<T, most> items{};
    std::size_t count = 0;
};

/// Follows the grabs of an open camera. A frame is missing where a number was left out, the camera's or the
/// exchange's; and where one and a half frame times have passed, for some cameras count only what
/// they deliver. The frame time is learned, the median of the last gaps; until it is known nothing is judged.
/// A camera that slows down in dim light and says so loses nothing by that. Not every camera fills in what
/// goes with a frame: numbers or times that never change, or go back, are left alone from then on.
class LossWatch {
public:
    using Time = std::chrono::nanoseconds;
    static constexpr std::size_t patience = 10; ///< gaps that may wait to be judged
    using Losses = Few<GrabLoss, patience>;

    /// A grab got a frame.
    /// \param waited  how long for it, since the last of these calls
    /// \return what is to be told now: of this grab, or of earlier ones that could not be judged before
    Losses Got(const FrameStamp& stamp, Time waited);

    /// A grab gave up.
    /// \return what is to be told: something at the first of several
    std::optional<GrabLoss> Nothing(Time waited);

    /// The camera is started anew during a grab, after waiting so long: its numbers begin again.
    void Restarted(Time waited);

    /// \return what was not judged yet, with the little that is known
    Losses Rest();

private:
    /// What lies between two frames that were got.
    struct Gap {
        int grab = 0;                        // that ends it
        std::int64_t uncounted = 0;          // frames, by the camera's numbers
        std::int64_t undelivered = 0;        // and by the exchange's
        std::int64_t time = 0;               // by the stamps
        std::int64_t longest = 0;            // that a frame takes, by the stamps; 0: not known
        std::int64_t waited = 0, silent = 0; // silent: a grab gave up, or the camera was started anew
        bool sameNumber = false, sameTime = false, restarted = false;
    };

    void Compare(const FrameStamp& stamp, Gap& gap);
    bool NumbersHold() const { return numbersGoOn && !numbersGoBack; }
    bool TimesHold() const { return timesGoOn && !timesGoBack; }
    std::int64_t Missing(const Gap& gap) const; // by the numbers
    std::int64_t Period() const;                // 0: not known
    bool Judge(const Gap& gap, GrabLoss& loss) const;

    int grabs = 0;
    std::optional<FrameStamp> last;
    bool numbersGoOn = false, numbersGoBack = false, timesGoOn = false, timesGoBack = false;
    static constexpr std::size_t learnedFrom = 9; // gaps; fewer than half of them may be losses
    Few<std::int64_t, learnedFrom> learned;       // the last gaps, for each frame
    std::size_t oldest = 0;                       // of them
    Few<Gap, patience> open;                      // not judged yet
    std::int64_t silent = 0;                      // since the last frame, in grabs that got none
    bool restarted = false, told = false;         // since the last frame
};

} // namespace telvane::camera

#endif

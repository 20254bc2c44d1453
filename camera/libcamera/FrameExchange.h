// Frames on their way from the thread that takes them to the thread that looks at them.
#ifndef CAMERA_LIBCAMERA_FRAMEEXCHANGE_H
#define CAMERA_LIBCAMERA_FRAMEEXCHANGE_H

#include <camera/libcamera/LossWatch.h>

#include <array>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <memory>
#include <mutex>

namespace telvane::camera {

/// One thread delivers frames and is never held up, another takes them in order. A few wait while the taker
/// is busy, so that frames which follow each other stay neighbours; when more come, the oldest of them are
/// lost. The frame that was taken last stays as it is until the next is taken.
class FrameExchange {
public:
    static constexpr int backlog = 3; ///< frames that wait at most

    FrameExchange() = default;
    FrameExchange(const FrameExchange&) = delete;
    FrameExchange& operator=(const FrameExchange&) = delete;

    /// Makes the frames, once, before anything else is called.
    /// \return false if there is no memory for them
    bool Allocate(std::size_t frameBytes);

    /// The deliverer: where the next frame is to be written. EndFrame follows, on the same thread.
    /// \return null after Close: there is nothing to write and no EndFrame to call
    unsigned char* BeginFrame();

    /// The deliverer: the frame is written.
    /// \param good   false: nothing came of it, it is not handed on
    /// \param stamp  its delivery is filled in here
    void EndFrame(bool good, FrameStamp stamp = {});

    /// The taker: goes on to the oldest frame that waits, or waits for one.
    /// \param patience  the longest wait
    /// \return false if none came in that time, or after Close; Frame() is then what it was
    bool Next(std::chrono::milliseconds patience);

    /// The taker: the frame that was taken last; black before the first. Never null.
    unsigned char* Frame() const { return slots[shown].bytes.get(); }

    /// The taker: what goes with that frame.
    const FrameStamp& Stamp() const { return slots[shown].stamp; }

    /// No more frames; wakes a taker that waits. When it returns, the deliverer is not writing and
    /// will not write again, so that what it reads from may go. Not to be called between BeginFrame and
    /// EndFrame by the deliverer itself.
    void Close();
    bool Closed();

    /// After Close, when its deliverer is gone: another one may begin. Frames that wait are dropped, the one
    /// that was taken last stays.
    void Reopen();

private:
    enum class State { free, filling, waiting, shown };
    struct Slot {
        std::unique_ptr<unsigned char[]> bytes;
        State state = State::free;
        FrameStamp stamp;
    };

    Slot* Oldest(State state);

    std::mutex mutex;
    std::condition_variable changed;
    std::array<Slot, backlog + 2> slots; // one more is shown, one more is filled
    std::size_t shown = 0;               // belongs to the taker
    Slot* filling = nullptr;
    std::uint64_t delivered = 0;
    bool closed = false;
};

} // namespace telvane::camera

#endif

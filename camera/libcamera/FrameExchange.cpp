// Frames on their way from the thread that takes them to the thread that looks at them.
#include <camera/libcamera/FrameExchange.h>

#include <algorithm>
#include <cstring>
#include <new>

namespace telvane::camera {

bool FrameExchange::Allocate(std::size_t frameBytes)
{
    for (Slot& slot : slots) {
        slot.bytes.reset(new (std::nothrow) unsigned char[frameBytes]);
        if (!slot.bytes) return false;
    }
    slots[shown].state = State::shown;
    std::memset(Frame(), 0, frameBytes);
    return true;
}

FrameExchange::Slot* FrameExchange::Oldest(State state)
{
    Slot* oldest = nullptr;
    for (Slot& slot : slots)
        if (slot.state == state && (!oldest || slot.stamp.delivery < oldest->stamp.delivery)) oldest = &slot;
    return oldest;
}

unsigned char* FrameExchange::BeginFrame()
{
    const std::lock_guard lock(mutex);
    if (closed) return nullptr;
    filling = Oldest(State::free); // there is one: no more than the backlog waits
    filling->state = State::filling;
    return filling->bytes.get();
}

void FrameExchange::EndFrame(bool good, FrameStamp stamp)
{
    const std::lock_guard lock(mutex);
    filling->state = good ? State::waiting : State::free;
    stamp.delivery = ++delivered;
    filling->stamp = stamp;
    filling = nullptr;
    const auto waits = [](const Slot& slot) { return slot.state == State::waiting; };
    if (std::count_if(slots.begin(), slots.end(), waits) > backlog)
        Oldest(State::waiting)->state = State::free;
    changed.notify_all();
}

bool FrameExchange::Next(std::chrono::milliseconds patience)
{
    std::unique_lock lock(mutex);
    Slot* next = nullptr;
    changed.wait_for(lock, patience, [&] {
        next = Oldest(State::waiting);
        return closed || next;
    });
    if (closed || !next) return false;
    slots[shown].state = State::free;
    next->state = State::shown;
    shown = static_cast<std::size_t>(next - slots.data());
    return true;
}

void FrameExchange::Close()
{
    std::unique_lock lock(mutex);
    closed = true;
    changed.notify_all();
    changed.wait(lock, [&] { return !filling; });
}

bool FrameExchange::Closed()
{
    const std::lock_guard lock(mutex);
    return closed;
}

void FrameExchange::Reopen()
{
    const std::lock_guard lock(mutex);
    for (Slot& slot : slots)
        if (slot.state == State::waiting) slot.state = State::free;
    closed = false;
}

} // namespace telvane::camera

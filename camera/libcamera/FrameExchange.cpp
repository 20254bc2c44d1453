// Frames on their way from the thread that takes them to the thread that looks at them.

#include <camera/libcamera/FrameExchange.h>

#include <algorithm>
#include <cstring>
#include <new>

namespace camera {

bool FrameExchange::Allocate(std::size_t frameBytes)
{
    for (Slot& slot : m_slots) {
        slot.bytes.reset(new (std::nothrow) unsigned char[frameBytes]);
        if (!slot.bytes) return false;
    }
    m_slots[m_shown].state = State::Shown;
    std::memset(Frame(), 0, frameBytes);
    return true;
}

FrameExchange::Slot* FrameExchange::Oldest(State state)
{
    Slot* oldest = nullptr;
    for (Slot& slot : m_slots)
        if (slot.state == state && (!oldest || slot.number < oldest->number)) oldest = &slot;
    return oldest;
}

unsigned char* FrameExchange::BeginFrame()
{
    const std::lock_guard lock(m_mutex);
    if (m_closed) return nullptr;
    m_filling = Oldest(State::Free); // there is one: no more than the backlog waits
    m_filling->state = State::Filling;
    return m_filling->bytes.get();
}

void FrameExchange::EndFrame(bool good)
{
    const std::lock_guard lock(m_mutex);
    m_filling->state = good ? State::Waiting : State::Free;
    m_filling->number = ++m_delivered;
    m_filling = nullptr;
    const auto waits = [](const Slot& slot) { return slot.state == State::Waiting; };
    if (std::count_if(m_slots.begin(), m_slots.end(), waits) > backlog)
        Oldest(State::Waiting)->state = State::Free;
    m_changed.notify_all();
}

bool FrameExchange::Next(std::chrono::milliseconds patience)
{
    std::unique_lock lock(m_mutex);
    Slot* next = nullptr;
    m_changed.wait_for(lock, patience, [&] {
        next = Oldest(State::Waiting);
        return m_closed || next;
    });
    if (m_closed || !next) return false;
    m_slots[m_shown].state = State::Free;
    next->state = State::Shown;
    m_shown = static_cast<std::size_t>(next - m_slots.data());
    return true;
}

void FrameExchange::Close()
{
    std::unique_lock lock(m_mutex);
    m_closed = true;
    m_changed.notify_all();
    m_changed.wait(lock, [&] { return !m_filling; });
}

} // namespace camera

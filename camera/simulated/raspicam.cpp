// The simulated camera: the default wheel, frame by frame.

#include <raspicam/raspicam.h>

#include <simulator/Wheel.h>

#include <atomic>
#include <climits>
#include <cstdio>
#include <cstring>
#include <new>

namespace raspicam {

namespace {

const std::size_t Pixels = std::size_t(1280) * 960;
const std::size_t Bytes = 3 * Pixels;

void SayOnce()
{
    static std::atomic<bool> said{false};
    if (!said.exchange(true))
        std::fputs("Simulated camera: these frames show a drawn wheel, not a real machine\n", stderr);
}

} // namespace

RaspiCam::~RaspiCam() { delete[] m_buffer; }

bool RaspiCam::open(bool)
{
    if (!m_buffer) m_buffer = new (std::nothrow) unsigned char[Bytes];
    if (!m_buffer) return false;
    std::memset(m_buffer, 0, Bytes);
    m_frame = 0;
    return true;
}

bool RaspiCam::grab()
{
    if (!m_buffer) return false;
    SayOnce();

    // The grey frame is drawn into the last third and spread from the front: writing never overtakes reading.
    const unsigned char* grey = m_buffer + 2 * Pixels;
    RenderWheel(WheelScene(), m_frame, m_buffer + 2 * Pixels);
    for (std::size_t i = 0; i < Pixels; i++) {
        const unsigned char v = grey[i];
        m_buffer[3 * i] = v;
        m_buffer[3 * i + 1] = v;
        m_buffer[3 * i + 2] = v;
    }
    m_frame = m_frame < INT_MAX ? m_frame + 1 : 0;
    return true;
}

unsigned char* RaspiCam::getImageBufferData() const { return m_buffer; }

std::size_t RaspiCam::getImageBufferSize() const { return m_buffer ? Bytes : 0; }

} // namespace raspicam

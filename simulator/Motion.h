// What happens over time: which camera frame is shown, how far the wheel has turned, when a row is exposed.
#ifndef SIMULATOR_MOTION_H
#define SIMULATOR_MOTION_H

#include <simulator/Exact.h>
#include <simulator/Wheel.h>

#include <cstdint>

namespace telvane {

/// The camera frame that is shown as the delivered frame of a number.
std::int64_t ShownFrame(const WheelScene& scene, int frame);

/// By how many degrees the wheel stands turned at a time, in camera frames.
double AngleAt(const WheelScene& scene, double time);

/// Where the ring's centre lies from the axis, on the face, when the wheel stands turned by an angle.
Vector RingCentre(const WheelScene& scene, double angle);

/// How many points in time the drawing of one exposure takes, 1 to this.
inline constexpr int mostInstants = 48;
int Instants(const WheelScene& scene, double time);

} // namespace telvane

#endif

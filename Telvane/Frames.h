// The frames of a run. Whoever makes or reads frames for the program includes this; it needs nothing itself.
#ifndef TELVANE_FRAMES_H
#define TELVANE_FRAMES_H

namespace telvane {

inline constexpr int frameWidth = 1280, frameHeight = 960; ///< pixels
inline constexpr int maxFrames = 50;                       ///< in a run, from 1 on
inline constexpr int warmUpFrames = 10;                    ///< that a camera is let pass before the first
inline constexpr int maxPeriod = 50; ///< camera frames from one frame of a run to the next, from 1 on

} // namespace telvane

#endif

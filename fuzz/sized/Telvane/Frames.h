// In place of the program's header of this name, for its main: frames of any size, which the targets choose.
#ifndef FUZZ_SIZED_TELVANE_FRAMES_H
#define FUZZ_SIZED_TELVANE_FRAMES_H

#include <fuzz/Program.h>

namespace telvane {

constexpr const int &frameWidth = programWidth, &frameHeight = programHeight;
constexpr int maxFrames = 50;
constexpr int maxPeriod = 50;

} // namespace telvane

#endif

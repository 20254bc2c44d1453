// The program's main under another name, for the targets that run all of it.
#pragma once

#include <fuzz/Harness.h>

#include <string>
#include <vector>

/// What the library may take for 50 frames and everything else.
inline constexpr std::size_t programStorage = std::size_t{64} << 20;

/// The frames that the program works on: small ones, in which all that it does is done in a hundredth of the
/// time. Set before each run.
extern int programWidth, programHeight;

/// Sets them: 1280 x 960 for one input in 256, the given ones for the others.
void SetFrameSize(int width, int height);

/// Runs the program with these words behind its name. The ending's `status` is its exit status, whichever way
/// it ends, as the parent would see it.
Ending RunProgram(std::vector<std::string> words);

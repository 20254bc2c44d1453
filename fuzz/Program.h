// The program's main under another name, for the targets that run all of it.
#pragma once

#include <fuzz/Harness.h>

#include <string>
#include <vector>

/// What the library may take for 50 frames and everything else.
inline constexpr std::size_t programStorage = std::size_t{64} << 20;

/// Runs the program with these words behind its name. The ending's `status` is its exit status, whichever way
/// it ends, as the parent would see it.
Ending RunProgram(std::vector<std::string> words);

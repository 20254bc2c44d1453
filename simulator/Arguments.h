// The command line of wheelsim.
#ifndef SIMULATOR_ARGUMENTS_H
#define SIMULATOR_ARGUMENTS_H

#include <simulator/Wheel.h>

#include <string>

namespace telvane {

/// What wheelsim is asked to do.
struct Job {
    WheelScene scene;
    int count = 15, first = 0;
    int period1 = 1, period2 = 1;
    std::string out = "."; ///< folder of the frames
    bool outNamed = false; ///< or else frames that are there stay
    std::string preview;   ///< where to, empty: the frames are written
};

/// Says in one line what is wrong with the command line and ends the program with status 2.
[[noreturn]] void Refuse(const std::string& problem);

/// Reads the command line. Answers --help and what cannot be read by itself, and then does not return.
/// Whether the numbers go together is for WheelProblem.
Job ReadArguments(int argc, char** argv);

} // namespace telvane

#endif

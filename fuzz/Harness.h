// What every fuzz target stands on: routines that may halt or end the process are run to that end and no
// further, files lie in memory, storage is limited, and a broken promise ends the run as a finding.
//
// A target is one function:
//
//     void Fuzz(FuzzedDataProvider& input)
//     {
//         const std::string text = input.ConsumeRemainingBytesAsString();
//         const Ending ending = RunToItsEnd([&] { RNG::GetRng(text.c_str()); });
//         Require(ending.returned || ending.HaltedWith("RNG: Invalid range selection"), "halts as promised");
//     }
//
// How the ends are caught is in Harness.cpp.
#pragma once

#include <gtest/gtest.h>

#include <fuzzer/FuzzedDataProvider.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

/// One input. Defined by each target.
void Fuzz(FuzzedDataProvider& input);

using FileBytes = std::vector<std::uint8_t>;

/// How a routine ended, and what it printed up to there.
struct Ending {
    bool returned = false;
    bool halted = false; ///< it reached the fail-stop, which sleeps for ever
    bool exited = false; ///< it ended the process
    int status = 0;      ///< of the process that it ended
    std::string out, err;

    /// Whether it came to the fail-stop with this message as its last line.
    bool HaltedWith(const std::string& message) const;
};

/// Runs a routine until it returns, halts or ends the process. A halt and an exit leave it by an exception,
/// so that its objects are destroyed, which in production they are not. Streams that it has opened and left
/// open are closed; where it returned that is a finding.
Ending RunToItsEnd(const std::function<void()>& routine);

/// The files that a routine finds by name, and those that it leaves there. No other file can be opened.
/// Emptied before each input.
extern std::map<std::string, FileBytes> files;

/// What the library's storage is while a routine runs. Reset before each input.
struct Storage {
    std::size_t limit = std::size_t{1} << 20; ///< bytes; a larger block gets no memory
    int fill = 0xA5; ///< new blocks hold this byte, so that uncleared elements show; -1: as they come
};
extern Storage storage;

/// Where files are written. Reset before each input.
struct Disk {
    std::size_t space = SIZE_MAX; ///< bytes that a file gets; then the disk is full
};
extern Disk disk;

inline const char* const notEnoughMemory = "Datablock::create: Not enough memory";
inline const char* const invalidRange = "RNG: Invalid range selection";

/// True for one input in n, whichever that is and always the same. What makes an input slow and finds little
/// is left to these: the fuzzer cannot breed them.
bool OneIn(unsigned n);

/// Ends the run as a finding.
[[noreturn]] void Finding(std::string_view what);

/// A finding where the promise is broken; `promise` says what should have been.
inline void Require(bool kept, std::string_view promise)
{
    if (!kept) Finding("not kept: " + std::string(promise));
}

/// The same for the comparisons of the tests, which say what differs.
inline void Require(const testing::AssertionResult& same, const std::string& what)
{
    if (!same) Require(false, "same " + what + ": " + same.message());
}

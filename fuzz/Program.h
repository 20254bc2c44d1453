// The program's main under another name, for the targets that run all of it.
#pragma once

#include "Harness.h"

#include <string>
#include <vector>

int TelvaneMain(int argc, char* argv[]);

/// Runs the program with these words behind its name. Its exit status is `status` of the ending, whichever
/// way it ends, as the parent would see it.
inline Ending RunProgram(std::vector<std::string> words)
{
    words.insert(words.begin(), "Telvane");
    std::vector<char*> argv;
    for (std::string& word : words) argv.push_back(word.data());
    argv.push_back(nullptr);
    int status = 0;
    Ending ending = RunToItsEnd([&] { status = TelvaneMain(static_cast<int>(words.size()), argv.data()); });
    ending.status = (ending.exited ? ending.status : status) & 255;
    return ending;
}

/// The program keeps its list of masks from call to call; one call that fills it comes before all inputs.
extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    std::vector<std::string> words = {"-l", "1"};
    for (int i = 0; i < 3; i++) words.insert(words.end(), {"-m", "0", "0", "9", "9"});
    words.insert(words.end(), 16, "0");
    storage.limit = std::size_t{64} << 20;
    RunProgram(words);
    return 0;
}

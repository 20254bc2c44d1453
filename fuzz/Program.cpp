// Main.cpp is compiled with its main called TelvaneMain.
#include <fuzz/Program.h>

#include <tests/reference/Files.h>

int TelvaneMain(int argc, char* argv[]);

int programWidth = 16, programHeight = 12;

void SetFrameSize(int width, int height)
{
    const bool full = OneIn(256);
    programWidth = full ? 1280 : width;
    programHeight = full ? 960 : height;
}

Ending RunProgram(std::vector<std::string> words)
{
    words.insert(words.begin(), "Telvane");
    std::vector<char*> argv;
    argv.reserve(words.size() + 1);
    for (std::string& word : words) argv.push_back(word.data());
    argv.push_back(nullptr);
    int status = 0;
    Ending ending = RunToItsEnd([&] { status = TelvaneMain(static_cast<int>(words.size()), argv.data()); });
    ending.status = (ending.exited ? ending.status : status) & 255;
    return ending;
}

// The program keeps its list of masks from call to call; one call that fills it comes before all inputs. It
// needs a frame to come that far.
extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    std::vector<std::string> words = {"-l", "1"};
    for (int i = 0; i < 3; i++) words.insert(words.end(), {"-m", "0", "0", "9", "9"});
    words.insert(words.end(), 16, "0");
    files["img1.bmp"] = reference::BmpByte(reference::Picture<std::uint8_t>(programWidth, programHeight));
    RunProgram(words);
    return 0;
}

// A camera that hands out known bytes and writes down how it is called.
#include <raspicam/raspicam.h>

#include <tests/Telvane/scripted_camera/Film.h>

#include <algorithm>
#include <climits>
#include <cstdio>
#include <fstream>
#include <string>

namespace raspicam {

namespace {

void Note(const std::string& call)
{
    if (std::FILE* log = std::fopen(filmLog, "a")) {
        std::fprintf(log, "%s\n", call.c_str());
        std::fclose(log);
    }
}

struct Fault {
    int goodGrabs = INT_MAX;
    std::string then;
    Fault()
    {
        if (std::ifstream file(filmFault); file) file >> goodGrabs >> then;
    }
};

const Fault& TheFault()
{
    static const Fault fault;
    return fault;
}

} // namespace

RaspiCam::RaspiCam() { Note("constructed"); }

RaspiCam::~RaspiCam() { Note("destroyed"); }

bool RaspiCam::open(bool startCapture)
{
    Note(startCapture ? "open(true)" : "open(false)");
    return true;
}

bool RaspiCam::grab()
{
    Note("grab");
    grabs++;
    return grabs <= TheFault().goodGrabs;
}

unsigned char* RaspiCam::getImageBufferData() const
{
    Note("data");
    if (grabs > TheFault().goodGrabs && TheFault().then == "null") return nullptr;
    const int shown = std::min(grabs, TheFault().goodGrabs);
    buffer.resize(filmWidth * filmHeight * 3);
    for (std::size_t i = 0; i < buffer.size(); i++) buffer[i] = FilmByte(shown, i);
    return buffer.data();
}

std::size_t RaspiCam::getImageBufferSize() const
{
    Note("size");
    return buffer.size();
}

} // namespace raspicam

// What a grab of the camera did not get, and the line on standard error that tells it: written where the
// frames come from, read where a run is judged.
#ifndef CAMERA_GRABLOSS_H
#define CAMERA_GRABLOSS_H

#include <array>
#include <atomic>
#include <cstddef>
#include <string_view>

namespace telvane::camera {

struct GrabLoss {
    enum class Kind {
        lost,    ///< frames are missing between the one before and this grab's
        none,    ///< the grab got no frame, nor do those after it until one has `lost`
        repeated ///< the grab got the frame of the one before once more
    };
    Kind kind = Kind::lost;
    int grab = 0;   ///< from 1 on, as they are made since the camera was opened
    int frames = 0; ///< `lost`: how many, 1 or more
    int silent = 0; ///< not `repeated`: milliseconds since the frame before; since the grab began, where
                    ///< that is not known
    bool restarted = false; ///< not `repeated`: the camera was started anew in this time
};

/// A line that needs no memory but its own.
class GrabLossLine {
public:
    void Add(std::string_view words);
    void Add(int number);
    std::string_view Text() const { return {text.data(), size}; }

private:
    std::array<char, 112> text{}; // the longest takes 95, and its newline
    std::size_t size = 0;
};

/// "Camera: 2 frames lost before grab 14, silent for 100 ms",
/// "Camera: no frame at grab 14, silent for 4000 ms", both with ", restarted" where it was;
/// "Camera: grab 14 repeats the frame before"
GrabLossLine LineOf(const GrabLoss& loss);

/// Reads such a line, without its newline.
/// \return false if it is none, to the letter
bool ReadLine(std::string_view line, GrabLoss& loss);

/// How many losses there were in this process.
inline std::atomic<unsigned> lossesSoFar{0};

/// Whether the lines are written. Off in a program that films on and on and lets pictures go by all the time.
inline std::atomic<bool> lossesAreTold{true};

} // namespace telvane::camera

#endif

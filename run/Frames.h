// Recorded frames for a run.
#ifndef RUN_FRAMES_H
#define RUN_FRAMES_H

#include <report/RunFolder.h>

#include <string>

namespace telvane {

/// How many frames to take of a folder.
/// \param count  in: how many there must be, or 0: as many as there are without a gap, at least two; out:
/// their number \return nothing, or what is wrong and where
std::string CountFrames(const RunFolder& frames, int& count);

/// Puts them into a run's folder as img1.bmp, img2.bmp, ... for the program: links where the system allows
/// it, copies elsewhere, and BMP files in place of JPEG files. Each must be a whole grey picture of a frame's
/// size. \return nothing, or what is wrong and where
std::string TakeFrames(const RunFolder& frames, int count, const std::string& folder);

} // namespace telvane

#endif

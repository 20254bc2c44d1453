// What is wrong with the frames themselves: light, noise, repetition, a camera that moves.
#ifndef DIAGNOSIS_FRAMEQUALITY_H
#define DIAGNOSIS_FRAMEQUALITY_H

#include <Kavrix/KXubyte.h>
#include <diagnosis/Changes.h>

#include <optional>
#include <vector>

namespace telvane {

struct FrameQuality {
    double clipped = 0;        ///< share of the pixels that are as bright as can be
    double bright = 0;         ///< the grey value that one pixel in fifty exceeds
    double dark = 0;           ///< share of the pixels that are black
    double noise = 0;          ///< standard deviation of a pixel, grey levels
    std::vector<int> repeated; ///< frames that show the same as the one before, while others differ; from 0
    bool allEqual = false;     ///< no frame differs from the first in any byte
    double flicker = 0;        ///< the largest change of the light from a frame to the next, a share
    double moving = 0;         ///< share of the picture that changes more than noise does
};

/// The grey value that the brightest parts between two circles reach.
double BrightnessOf(const Changes& changes, const Place& centre, double innerR, double outerR);

/// A jump of the whole picture between two frames.
struct Push {
    int frame = 0; ///< the first one after it, from 0
    Place by;      ///< pixels
};

/// \param places  where the same thing lies in each frame, where it was found: its slow drift is no push
std::vector<Push> PushesOf(const std::vector<std::optional<Place>>& places);

FrameQuality QualityOf(const CubByte& frames, const Changes& changes);

} // namespace telvane

#endif

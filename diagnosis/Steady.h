// The camera's own movement, from what stands still in the picture.
#ifndef DIAGNOSIS_STEADY_H
#define DIAGNOSIS_STEADY_H

#include <Kavrix/KXubyte.h>
#include <Telvane/Region.h>
#include <diagnosis/Changes.h>
#include <diagnosis/Place.h>

#include <vector>

namespace telvane {

/// By how much the picture is shifted in each frame against the first one, pixels: least squares on the grey
/// values of blocks, of which most must agree, all over the picture.
/// \param noise   standard deviation of a pixel's, grey levels; of `changes` it holds what the camera moved
/// \param masks   what is left out
/// \param wheel   its middle; nothing nearer to it than `radius`, pixels, is looked at
/// \return one for each frame; none where too little stands still, or too little is seen of it
std::vector<Place> ShiftsOf(const Changes& changes, double noise, const std::vector<Region>& masks,
                            const Place& wheel, double radius);

/// The frames as a camera that stands still would see them.
/// \param shifts  one for each of them
CubByte Steadied(const CubByte& frames, const std::vector<Place>& shifts);

} // namespace telvane

#endif

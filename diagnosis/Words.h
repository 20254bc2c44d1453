// Numbers, places and directions in words.
#ifndef DIAGNOSIS_WORDS_H
#define DIAGNOSIS_WORDS_H

#include <diagnosis/Place.h>

#include <string>
#include <vector>

namespace telvane {

/// With a point in every locale, and never "-0".
std::string NumberText(double number, int decimals);

/// "6.1 px to the right and 2.0 px up"; a part that is not a tenth of a pixel is left out.
std::string DirectionText(const Place& way);

/// "(652.4, 471.7)"
std::string PlaceText(const Place& place);

/// "at the upper left", "in the middle" of a picture
std::string WhereText(const Place& place, int width, int height);

/// "clockwise", "counter-clockwise"
const char* SenseText(Sense sense);

/// "37 %", "less than 1 %"
std::string ShareText(double share);

/// "1, 3 and 5"; of more than six the first ones and "..."
std::string ListText(const std::vector<int>& numbers);

} // namespace telvane

#endif

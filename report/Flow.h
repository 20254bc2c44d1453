// The motion in colours: the hue is where the picture moves to, the brightness how strongly.
#ifndef REPORT_FLOW_H
#define REPORT_FLOW_H

#include <Kavrix/KXshort.h>

#include <tools/Canvas.h>

#include <string>

namespace telvane {

/// The colour of a motion in degrees clockwise from the right, red to the right, then yellow, green (down and
/// to the left), cyan to the left, blue, magenta; and of `strength` 0..1 of the strongest. Its brightness
/// goes with the square root, so that weak motion shows too.
Colour FlowColour(double degrees, double strength);

/// The largest length of the vectors (u, v).
double StrongestFlow(const MatShort& u, const MatShort& v);

/// The motion that the flow tells of, one pixel for each vector. After two sweeps the vectors point against
/// the motion: they are turned round here.
Canvas FlowPicture(const MatShort& u, const MatShort& v);

/// The lengths of the vectors in grey, white the strongest.
MatByte StrengthPicture(const MatShort& u, const MatShort& v);

/// A wheel of the colours with the directions in words, an element <svg> of a page: on its rim the strongest
/// motion, in its middle none.
std::string FlowWheel();

} // namespace telvane

#endif

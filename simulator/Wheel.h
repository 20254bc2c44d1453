// The drawn wheel: a toothed wheel that turns before a fixed camera, with everything about it known.
//
// Frames are the same bytes on every platform and at every optimisation level: drawing uses + - * / and sqrt
// on doubles, no sine or arc tangent of the maths library, and a noise generator in integers.

#ifndef SIMULATOR_WHEEL_H
#define SIMULATOR_WHEEL_H

#include <Telvane/Frames.h>

#include <cstdint>

/// A striped disc that moves to and fro on a straight line, beside the wheel or in front of it.
struct WheelDisc {
    double x = 0, y = 0;   ///< middle in camera frame 0, pixels
    double radius = 0;     ///< pixels; 0: there is no disc
    double dx = 0, dy = 0; ///< movement per camera frame, pixels
    int travel = 20;       ///< camera frames until it turns back, 1..10000
    double stripe = 16;    ///< width of a stripe, 1..1000 pixels; stripes lie across the movement
};

/// What the camera sees. Lengths are in pixels, angles in degrees. x grows to the right and y downward; pixel
/// (x, y) has its middle at exactly (x, y). Angles run from +x towards +y, which is clockwise on the picture.
/// The defaults suit the detection: at the ring the picture moves by about 1.6 pixels per camera frame.
struct WheelScene {
    int width = telvane::frameWidth;   ///< of a frame, 1..4096
    int height = telvane::frameHeight; ///< 1..4096
    double centreX = 652.4;            ///< of the wheel; may lie outside the frame
    double centreY = 471.7;
    double innerR = 216;          ///< tooth root
    double outerR = 250;          ///< tooth tip, greater than innerR
    int teeth = 40;               ///< 1..1000; tooth and gap are equally wide
    double degreesPerFrame = 0.4; ///< -360..360; positive: clockwise on the picture
    double startAngle = 0;        ///< -360..360, of the middle of one tooth in camera frame 0
    int spokes = 6;               ///< 0..100; 0: no windows in the wheel's face
    double hubR = 60;             ///< 0..innerR; 0: no hub
    double uneven = 0.3;          ///< 0..1, the share of light lost from the upper left to the lower right
    double noise = 1.5;           ///< 0..100, standard deviation of the sensor's noise in grey levels
    std::uint32_t seed = 1;       ///< of the noise; changes nothing else
    WheelDisc disc;               ///< a second moving object
};

/// \return null if the scene can be drawn, else a phrase that says what is wrong with it
const char* WheelProblem(const WheelScene& scene);

/// Draws one camera frame of a scene that has passed WheelProblem.
/// \param frame    number of the camera frame, from 0
/// \param grey     receives width * height grey values, row after row without padding
void RenderWheel(const WheelScene& scene, int frame, unsigned char* grey);

#endif

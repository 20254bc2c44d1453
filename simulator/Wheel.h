// The drawn wheel: a toothed wheel that turns before a camera, with everything about it known.
//
// Frames are the same bytes on every platform and at every optimisation level: drawing uses + - * / and sqrt
// on doubles, no sine or arc tangent of the maths library, and a noise generator in integers.
// docs/simulator.md defines every part of the picture by its formula.

#ifndef SIMULATOR_WHEEL_H
#define SIMULATOR_WHEEL_H

#include <Telvane/Frames.h>

#include <cstdint>
#include <string>
#include <vector>

namespace telvane {

/// A striped disc that moves to and fro on a straight line, beside the wheel or in front of it.
struct WheelDisc {
    double x = 0, y = 0;   ///< middle in camera frame 0, pixels
    double radius = 0;     ///< pixels; 0: there is no disc
    double dx = 0, dy = 0; ///< movement per camera frame, pixels
    int travel = 20;       ///< camera frames until it turns back, 1..10000
    double stripe = 16;    ///< width of a stripe, 1..1000 pixels; stripes lie across the movement
};

/// A round place whose light differs; it stays while the wheel turns.
struct WheelSpot {
    double x = 0, y = 0; ///< middle, pixels
    double radius = 0;   ///< pixels; 0: there is none
    double strength =
        0; ///< highlight: grey levels that bright metal gains in the middle; shadow: share lost there
};

/// The wheel jumps between two frames.
struct WheelJerk {
    int frame = 0;      ///< the first camera frame after it
    double degrees = 0; ///< by which the wheel is further from then on
};

/// From one camera frame on the whole picture is shifted.
struct WheelPush {
    int frame = 0;
    double dx = 0, dy = 0; ///< pixels; none where both are 0
};

/// What the camera sees. Lengths are in pixels, angles in degrees. x grows to the right and y downward; pixel
/// (x, y) has its middle at exactly (x, y). Angles run from +x towards +y, which is clockwise on the picture.
/// The defaults suit the detection: at the ring the picture moves by about 1.6 pixels per camera frame.
/// Limits are those of SceneOptions.h.
struct WheelScene {
    int width = telvane::frameWidth;   ///< of a frame, 1..4096
    int height = telvane::frameHeight; ///< 1..4096
    double centreX = 652.4;            ///< of the wheel; may lie outside the frame
    double centreY = 471.7;
    double innerR = 216;          ///< tooth root
    double outerR = 250;          ///< tooth tip, greater than innerR
    int teeth = 40;               ///< tooth and gap are equally wide
    double degreesPerFrame = 0.4; ///< positive: clockwise on the picture
    double startAngle = 0;        ///< of the middle of one tooth in camera frame 0
    int spokes = 6;               ///< 0: no windows in the wheel's face
    double hubR = 60;             ///< 0..innerR; 0: no hub
    double uneven = 0.3;          ///< the share of light lost from the upper left to the lower right
    double noise = 1.5;           ///< standard deviation of the sensor's read noise in grey levels
    std::uint32_t seed = 1;       ///< of the noise and of the hot pixels; changes nothing else
    WheelDisc disc;               ///< a second moving object

    // What real machines show; every default means that there is none of it.

    double tilt = 0;               ///< by which the axis leans
    double tiltDirection = 0;      ///< the side of the wheel that lies further away
    double distance = 0;           ///< from the lens to the wheel's centre, in pixels; 0: infinitely far
    double thickness = 0;          ///< of the wheel, pixels away from the camera
    double eccentricity = 0;       ///< from the axis to the ring's centre, pixels
    double eccentricDirection = 0; ///< in which the ring's centre lies in camera frame 0
    double lens = 0;               ///< k1, radial distortion
    double vignette = 0;           ///< share of light lost in the picture's corners
    WheelSpot highlight, shadow;
    double flicker = 0;       ///< brightness changes by this share, up and down
    double flickerPeriod = 2; ///< camera frames
    double gain = 1;          ///< factor of the light: below 1 underexposed, above 1 overexposed
    double exposure = 0;      ///< share of the frame time during which the shutter is open
    double rolling = 0;       ///< share of the frame time from the first row to the last
    double fullWell = 0;      ///< electrons of a white pixel, for shot noise; 0: none
    double rowNoise = 0;      ///< standard deviation from row to row in grey levels
    int hotPixels = 0;        ///< pixels that are always white
    double ramp = 0;          ///< by which the speed grows, degrees per camera frame and camera frame
    std::vector<WheelJerk> jerks;
    WheelPush push;
    std::vector<int> repeated; ///< camera frames in whose place the one before is delivered once more
    std::vector<int> lost;     ///< camera frames that are not delivered
    int scratches = 0;         ///< on the wheel's face; they turn with it
    int dirt = 0;              ///< spots on the wheel's face; they turn with it
    double texture = 0;        ///< of the backdrop: grey levels by which it differs at most
};

/// \return empty if the scene can be drawn, else a phrase that says what is wrong with it
std::string WheelProblem(const WheelScene& scene);

/// Draws one camera frame of a scene that has passed WheelProblem.
/// \param number   of the frame as it is delivered, from 0
/// \param grey     receives width * height grey values, row after row without padding
void RenderWheel(const WheelScene& scene, int number, unsigned char* grey);

/// A place in the picture, in pixels.
struct WheelPlace {
    double x = 0, y = 0;
};

/// Where things truly lie, as the lens shows them and before any push.
struct WheelTruth {
    WheelPlace axis; ///< where the axis meets the front face: what the wheel turns about
    WheelPlace ring; ///< the ring's centre on the front face; with eccentricity it moves
    WheelPlace
        ellipse; ///< the centre of the ellipse that the circle of the tooth tips is before the lens bends it
};
WheelTruth TruthOf(const WheelScene& scene, int number);

/// Where a point of the front face is seen. It lies (x, y) from the axis where the face stands straight
/// before the camera.
WheelPlace SeenAt(const WheelScene& scene, double x, double y);

/// The angle by which the wheel stands turned in a frame as it is delivered, degrees.
double AngleOf(const WheelScene& scene, int number);

} // namespace telvane

#endif

// Drawing of the wheel: coverage from the distance to each edge, then light, then noise.
//
// The functions used are sqrt, which IEEE 754 rounds correctly, and floor, which is exact. Products and sums
// must not be fused (-ffp-contract=off): then every platform draws the same bytes.

#include <simulator/Wheel.h>

#include <cmath>

namespace {

const double Pi = 3.14159265358979323846;

// Grey levels before light and noise. The windows between the spokes show little contrast, so that most of
// the motion lies on the teeth.
const double Backdrop = 52;
const double Metal = 196;
const double Window = 150;
const double Hub = 118;
const double DiscLight = 206;

// Lens and sensor spread an edge over this many pixels. With the levels above, the smoothed derivatives then
// stay well under the slope (91 levels per pixel) at which squares in the flow's denominator leave 16 bits.
const double EdgeWidth = 2.5;

double Lesser(double a, double b) { return b < a ? b : a; }

double Greater(double a, double b) { return b > a ? b : a; }

double Magnitude(double v) { return v < 0 ? -v : v; }

/// The part of v above the whole number below it.
double Fraction(double v) { return v - std::floor(v); }

/// The direction of (x, y) in turns, from +x towards +y, -1/2..1/2; 0 for (0, 0).
double Turns(double x, double y)
{
    const double ax = Magnitude(x), ay = Magnitude(y), longer = Greater(ax, ay);
    if (!(longer > 0)) return 0;

    // Two reductions bring the tangent below tan(pi/8), where eight terms of the series are good to 3e-8.
    double t = Lesser(ax, ay) / longer, base = 0;
    if (t > 0.41421356237309503) {
        t = (t - 1) / (t + 1);
        base = 0.125;
    }
    const double q = t * t;
    const double series =
        1 -
        q * (1. / 3 - q * (1. / 5 - q * (1. / 7 - q * (1. / 9 - q * (1. / 11 - q * (1. / 13 - q / 15))))));
    double turns = base + t * series / (2 * Pi);

    if (ax < ay) turns = 0.25 - turns;
    if (x < 0) turns = 0.5 - turns;
    return y < 0 ? -turns : turns;
}

/// How far a turn by `degrees` goes into a pattern of `parts` equal parts, as a fraction of one part.
double Phase(double degrees, int parts) { return Fraction(degrees * parts / 360); }

/// Coverage 0..1 of a pixel whose middle lies `inside` pixels within an edge (negative: beyond it).
double Coverage(double inside)
{
    const double t = 0.5 + inside / EdgeWidth;
    if (!(t > 0)) return 0;
    return t < 1 ? t * t * (3 - 2 * t) : 1;
}

/// Coverage of the point at `turns` and r by radial bars, one in each of `parts` equal parts of the circle,
/// that fill `share` of it. The flanks run straight to the centre: the picture moves at right angles to them.
double BarCoverage(double turns, double r, int parts, double phase, double share)
{
    const double fromMiddle = Magnitude(Fraction(turns * parts - phase + 0.5) - 0.5);
    return Coverage((share / 2 - fromMiddle) / parts * (2 * Pi) * r);
}

double Mix(double below, double above, double coverage) { return below + (above - below) * coverage; }

/// Spreads the bits of v over the whole word (the finaliser of splitmix64).
std::uint64_t Scatter(std::uint64_t v)
{
    v = (v ^ (v >> 30)) * 0xBF58476D1CE4E5B9u;
    v = (v ^ (v >> 27)) * 0x94D049BB133111EBu;
    return v ^ (v >> 31);
}

/// Nearly normal noise: the sum of four uniform 16-bit numbers less its mean.
double Noise(std::uint64_t key)
{
    const std::uint64_t v = Scatter(key);
    const std::uint64_t sum = (v & 0xFFFF) + ((v >> 16) & 0xFFFF) + ((v >> 32) & 0xFFFF) + (v >> 48);
    return static_cast<double>(static_cast<std::int32_t>(sum) - 131070);
}
const double NoiseDeviation = 37837.2; // 65536 * sqrt(4 / 12)

unsigned char ToByte(double v)
{
    v += 0.5;
    if (!(v > 0)) return 0;
    return v < 255 ? static_cast<unsigned char>(v) : 255;
}

/// False also when v is not a number.
bool Between(double v, double lowest, double highest) { return v >= lowest && v <= highest; }

/// The disc's place in one camera frame.
class Disc {
public:
    Disc(const WheelDisc& d, int frame)
        : m_radius(d.radius), m_reach(d.radius + EdgeWidth), m_period(2 * d.stripe)
    {
        const int step = frame % (2 * d.travel), way = step < d.travel ? step : 2 * d.travel - step;
        m_x = d.x + d.dx * way;
        m_y = d.y + d.dy * way;
        const double speed = std::sqrt(d.dx * d.dx + d.dy * d.dy);
        if (speed > 0) {
            m_alongX = d.dx / speed;
            m_alongY = d.dy / speed;
        }
    }

    /// Draws over the grey level v of pixel (x, y).
    double Over(double v, int x, int y) const
    {
        const double dx = x - m_x, dy = y - m_y, r2 = dx * dx + dy * dy;
        if (!(r2 < m_reach * m_reach)) return v;
        const double fromDark = Magnitude(Fraction((dx * m_alongX + dy * m_alongY) / m_period) - 0.5);
        const double face = Mix(Backdrop, DiscLight, Coverage((fromDark - 0.25) * m_period));
        return Mix(v, face, Coverage(m_radius - std::sqrt(r2)));
    }

private:
    double m_radius, m_reach, m_period;
    double m_x = 0, m_y = 0;
    double m_alongX = 1, m_alongY = 0; // unit vector across the stripes
};

} // namespace

const char* WheelProblem(const WheelScene& s)
{
    const double most = 100000;
    const WheelDisc& d = s.disc;
    if (!Between(s.width, 1, 4096) || !Between(s.height, 1, 4096))
        return "the frame must be 1 to 4096 pixels wide and high";
    if (!Between(s.centreX, -most, most) || !Between(s.centreY, -most, most))
        return "the centre must be two numbers between -100000 and 100000";
    if (!Between(s.innerR, 0, most) || !Between(s.outerR, 0, most) || !(s.innerR < s.outerR))
        return "the radii must lie between 0 and 100000, the inner one below the outer one";
    if (!Between(s.teeth, 1, 1000)) return "there must be 1 to 1000 teeth";
    if (!Between(s.degreesPerFrame, -360, 360))
        return "the speed must lie between -360 and 360 degrees per camera frame";
    if (!Between(s.startAngle, -360, 360)) return "the start angle must lie between -360 and 360 degrees";
    if (!Between(s.spokes, 0, 100)) return "there must be 0 to 100 spokes";
    if (!Between(s.hubR, 0, s.innerR)) return "the hub's radius must lie between 0 and the inner radius";
    if (!Between(s.uneven, 0, 1)) return "the unevenness of the light must lie between 0 and 1";
    if (!Between(s.noise, 0, 100)) return "the noise must lie between 0 and 100 grey levels";
    if (!Between(d.x, -most, most) || !Between(d.y, -most, most) || !Between(d.radius, 0, most))
        return "the disc's place must lie between -100000 and 100000, its radius between 0 and 100000";
    if (!Between(d.dx, -1000, 1000) || !Between(d.dy, -1000, 1000))
        return "the disc must move by at most 1000 pixels per camera frame";
    if (!Between(d.travel, 1, 10000)) return "the disc must turn back after 1 to 10000 camera frames";
    if (!Between(d.stripe, 1, 1000)) return "the disc's stripes must be 1 to 1000 pixels wide";
    return nullptr;
}

void RenderWheel(const WheelScene& s, int frame, unsigned char* grey)
{
    const double turned = s.startAngle + s.degreesPerFrame * frame;
    const double toothPhase = Phase(turned, s.teeth), spokePhase = Phase(turned, s.spokes);
    const double reach = s.outerR + EdgeWidth;

    // The windows reach from close to the hub to the rim that carries the teeth.
    const double windowsFrom = s.hubR + (s.innerR - s.hubR) * 0.1;
    const double windowsTo = s.innerR - (s.innerR - s.hubR) * 0.2;

    const Disc disc(s.disc, frame);
    const std::uint64_t noiseKey =
        Scatter((static_cast<std::uint64_t>(s.seed) << 32) + static_cast<std::uint32_t>(frame));
    const double noiseScale = s.noise / NoiseDeviation;

    for (int y = 0; y < s.height; y++) {
        const double dy = y - s.centreY, lightY = static_cast<double>(y) / s.height;
        for (int x = 0; x < s.width; x++) {
            const double dx = x - s.centreX, lightX = static_cast<double>(x) / s.width;
            double v = Backdrop;

            const double r2 = dx * dx + dy * dy;
            if (r2 < reach * reach) {
                const double r = std::sqrt(r2), turns = Turns(dx, dy);
                double face = Metal;
                if (s.spokes > 0) {
                    const double spoke = BarCoverage(turns, r, s.spokes, spokePhase, 0.35);
                    const double band = Lesser(Coverage(windowsTo - r), Coverage(r - windowsFrom));
                    face = Mix(face, Window, Lesser(band, 1 - spoke));
                }
                if (s.hubR > 0) face = Mix(face, Hub, Coverage(s.hubR - r));
                const double tooth =
                    Lesser(Coverage(s.outerR - r), BarCoverage(turns, r, s.teeth, toothPhase, 0.5));
                v = Mix(v, face, Greater(Coverage(s.innerR - r), tooth));
            }
            if (s.disc.radius > 0) v = disc.Over(v, x, y);

            v *= 1 - s.uneven * (lightX * lightX + lightY * lightY) / 2;
            if (s.noise > 0) {
                const std::uint64_t pixel = std::uint64_t(y) * 4096 + std::uint64_t(x);
                v += noiseScale * Noise(noiseKey + pixel * 0x9E3779B97F4A7C15u);
            }
            *grey++ = ToByte(v);
        }
    }
}

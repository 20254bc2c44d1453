// One calculation in a process of its own, for how time and memory grow. The time is that of the fastest of
// several.
//
//     telvane_growth <width> <height> <frames> <R3>
//
// prints "<milliseconds> <MB at the peak> <MB of the frames>" of a detection. R3 chooses the method: 0 votes,
// -1 the ring search. The wheel grows with the picture.
//
//     telvane_growth ring <radius> <radius of the wheel> <noise>
//
// prints the milliseconds of a ring search in 15 frames of 1280 x 960. Radii are outer ones, the inner ones
// four fifths of them; the teeth move by the same number of pixels whatever the radius.
#include <Kavrix/Kavrix.h>
#include <Telvane/Telvane.h>
#include <simulator/Wheel.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>

namespace {

// Of this process and no other: what it was started from does not count.
double PeakMegabytes()
{
    std::ifstream status("/proc/self/status");
    for (std::string word; status >> word;) {
        double kilobytes;
        if (word == "VmHWM:" && status >> kilobytes) return kilobytes / 1000;
    }
    return 0;
}

telvane::WheelScene Scaled(double scale)
{
    telvane::WheelScene scene;
    for (double* length : {&scene.innerR, &scene.outerR, &scene.hubR}) *length *= scale;
    return scene;
}

CubByte Frames(const telvane::WheelScene& scene, int count)
{
    if (const std::string problem = telvane::WheelProblem(scene); !problem.empty()) {
        std::fprintf(stderr, "telvane_growth: %s\n", problem.c_str());
        std::exit(2);
    }
    CubByte frames(scene.width, scene.height, count);
    for (int i = 0; i < count; i++) telvane::RenderWheel(scene, i, &frames(0, 0, i));
    return frames;
}

template <class F> double FastestMilliseconds(F f)
{
    double best = 0;
    for (int i = 0; i < 5; i++) {
        const auto start = std::chrono::steady_clock::now();
        f();
        const std::chrono::duration<double, std::milli> time = std::chrono::steady_clock::now() - start;
        best = i == 0 ? time.count() : std::min(best, time.count());
    }
    return best;
}

int Detection(int width, int height, int count, float R3)
{
    const double scale = width / 1280.0;
    telvane::WheelScene scene = Scaled(scale);
    scene.width = width;
    scene.height = height;
    scene.centreX *= scale;
    scene.centreY *= scale;
    const CubByte frames = Frames(scene, count);

    const auto f = [](double value) { return static_cast<float>(value); };
    const float values[] = {14,
                            0,
                            f(150 * scale),
                            f(130 * scale),
                            f(300 * scale),
                            f(260 * scale),
                            f(scene.innerR),
                            f(scene.outerR),
                            R3,
                            0,
                            360,
                            9,
                            1,
                            0};
    const double milliseconds = FastestMilliseconds([&] {
        VecFloat params(14);
        params.ImportData(values);
        VecInt periods(2), iroi(5), oroi(5);
        periods.Fill(1);
        const int region[] = {0, 0, width, height, 1};
        iroi.ImportData(region);
        MatByte detected;
        MatShort hough, u_sum_sh, v_sum_sh, mag_sh, bgShort;
        if (Detect(1, frames, false, periods, iroi, params, oroi, detected, hough, u_sum_sh, v_sum_sh, mag_sh,
                   bgShort) != 0) {
            std::fputs("telvane_growth: no centre found\n", stderr);
            std::exit(1);
        }
    });
    std::printf("%.3f %.1f %.1f\n", milliseconds, PeakMegabytes(), 1e-6 * width * height * count);
    return 0;
}

int RingSearch(float radius, double wheelRadius, double noise)
{
    const double scale = wheelRadius / telvane::WheelScene().outerR;
    telvane::WheelScene scene = Scaled(scale);
    scene.innerR = 0.8 * scene.outerR;
    scene.teeth = std::max(4, static_cast<int>(scene.teeth * scale));
    scene.degreesPerFrame /= scale;
    scene.noise = noise;
    CubByte frames = Frames(scene, 15);
    MatInt u_sum(scene.width + 1, scene.height + 1), v_sum(scene.width + 1, scene.height + 1);
    u_sum.Fill(0);
    v_sum.Fill(0);
    OpticalFlow12Alt(frames, u_sum, v_sum, 2);
    MatShort u_sum_sh, v_sum_sh, mag_sh;
    OF_Norm(u_sum, v_sum, u_sum_sh, v_sum_sh, mag_sh);
    float cx, cy;
    std::printf("%.3f\n",
                FastestMilliseconds([&] { FindSemiCircle(mag_sh, 0.8f * radius, radius, cx, cy); }));
    return 0;
}

} // namespace

int main(int argc, char** argv)
{
    const auto number = [argv](int i) { return std::atof(argv[i]); };
    if (argc == 5 && std::string(argv[1]) == "ring")
        return RingSearch(static_cast<float>(number(2)), number(3), number(4));
    if (argc == 5)
        return Detection(std::atoi(argv[1]), std::atoi(argv[2]), std::atoi(argv[3]),
                         static_cast<float>(number(4)));
    std::fputs("Usage: telvane_growth <width> <height> <frames> <R3>\n"
               "       telvane_growth ring <radius> <radius of the wheel> <noise>\n",
               stderr);
    return 2;
}

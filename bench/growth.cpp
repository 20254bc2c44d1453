// One detection of a given size in a process of its own, for how time and memory grow:
//
//     telvane_growth <width> <height> <frames> <R3>
//
// prints "<milliseconds> <MB at the peak> <MB of the frames>", the time of the fastest of several detections.
// R3 chooses the method: 0 votes, -1 the ring search. The wheel grows with the picture.
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

} // namespace

int main(int argc, char** argv)
{
    if (argc != 5) {
        std::fputs("Usage: telvane_growth <width> <height> <frames> <R3>\n", stderr);
        return 2;
    }
    const int width = std::atoi(argv[1]), height = std::atoi(argv[2]), count = std::atoi(argv[3]);
    const auto R3 = static_cast<float>(std::atof(argv[4]));

    WheelScene scene;
    const double scale = width / static_cast<double>(scene.width);
    scene.width = width;
    scene.height = height;
    for (double* length : {&scene.centreX, &scene.centreY, &scene.innerR, &scene.outerR, &scene.hubR})
        *length *= scale;
    if (const char* problem = WheelProblem(scene)) {
        std::fprintf(stderr, "telvane_growth: %s\n", problem);
        return 2;
    }
    CubByte frames(width, height, count);
    for (int i = 0; i < count; i++) RenderWheel(scene, i, &frames(0, 0, i));

    double best = 0;
    for (int i = 0; i < 5; i++) {
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
        VecFloat params(14);
        params.ImportData(values);
        VecInt periods(2), iroi(5), oroi(5);
        periods.Fill(1);
        const int region[] = {0, 0, width, height, 1};
        iroi.ImportData(region);
        MatByte detected;
        MatShort hough, u_sum_sh, v_sum_sh, mag_sh, bgShort;
        const auto start = std::chrono::steady_clock::now();
        const int result = Detect(1, frames, false, periods, iroi, params, oroi, detected, hough, u_sum_sh,
                                  v_sum_sh, mag_sh, bgShort);
        const std::chrono::duration<double, std::milli> time = std::chrono::steady_clock::now() - start;
        if (result != 0) {
            std::fputs("telvane_growth: no centre found\n", stderr);
            return 1;
        }
        best = i == 0 ? time.count() : std::min(best, time.count());
    }
    std::printf("%.3f %.1f %.1f\n", best, PeakMegabytes(), 1e-6 * width * height * count);
}

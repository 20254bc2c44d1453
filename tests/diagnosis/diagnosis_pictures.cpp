// Pictures of what the diagnosis measures on a drawn wheel, for docs/diagnosis.md: diagnosis_pictures
// <folder>
#include <tests/diagnosis/DrawnRuns.h>

#include <diagnosis/Changes.h>
#include <diagnosis/Ring.h>
#include <diagnosis/Words.h>
#include <tools/Canvas.h>
#include <tools/Files.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string>

using namespace telvane;

namespace {

void Write(const std::string& name, const std::string& bytes)
{
    const std::string problem = WriteWhole(name, bytes);
    if (problem.empty()) return;
    std::fprintf(stderr, "%s: %s\n", name.c_str(), problem.c_str());
    std::exit(1);
}

struct Chart {
    std::string across, up;  ///< what the axes show
    double from = 0, to = 1; ///< of the horizontal axis
    double grid = 1;         ///< from one number on it to the next
    std::vector<std::pair<double, double>> points;
    bool bars = false;
    std::vector<std::pair<double, std::string>> marks; ///< upright lines with their words
};

/// The strongest point fills the height.
std::string Svg(const Chart& chart)
{
    const double width = 640, height = 260, left = 30, right = 10, top = 34, bottom = 44;
    double highest = 0;
    for (const auto& [x, y] : chart.points) highest = std::max(highest, y);
    const auto x = [&](double v) {
        return NumberText(left + (v - chart.from) / (chart.to - chart.from) * (width - left - right), 1);
    };
    const auto y = [&](double v) {
        return NumberText(height - bottom - v / highest * (height - top - bottom), 1);
    };
    const std::string floor = NumberText(height - bottom, 1);
    std::string svg =
        "<svg xmlns=\"http://www.w3.org/2000/svg\" viewBox=\"0 0 640 260\" font-family=\"sans-serif\" "
        "font-size=\"13\">\n<rect width=\"640\" height=\"260\" fill=\"#fff\"/>\n";
    const auto text = [&svg](const std::string& where, const std::string& words) {
        svg += "<text " + where + ">" + words + "</text>\n";
    };
    for (double v = std::ceil(chart.from / chart.grid) * chart.grid; v <= chart.to; v += chart.grid) {
        svg += "<path d=\"M" + x(v) + ' ' + floor + "v5\" stroke=\"#444\"/>\n";
        text("x=\"" + x(v) + "\" y=\"232\" text-anchor=\"middle\"", NumberText(v, 0));
    }
    svg += "<path d=\"M" + x(chart.from) + " 34V" + floor + "H630\" fill=\"none\" stroke=\"#444\"/>\n";
    text("x=\"335\" y=\"252\" text-anchor=\"middle\"", chart.across);
    text("transform=\"translate(18 125) rotate(-90)\" text-anchor=\"middle\"", chart.up);
    if (chart.bars) {
        for (const auto& [at, v] : chart.points)
            svg += "<path d=\"M" + x(at) + ' ' + floor + 'V' + y(v) +
                   "\" stroke=\"#0072b2\" stroke-width=\"3\"/>\n";
    } else {
        svg += "<polyline fill=\"none\" stroke=\"#0072b2\" stroke-width=\"2\" points=\"";
        for (const auto& [at, v] : chart.points) svg += x(at) + ',' + y(v) + ' ';
        svg += "\"/>\n";
    }
    for (const auto& [at, words] : chart.marks) {
        svg += "<path d=\"M" + x(at) + ' ' + floor + "V28\" stroke=\"#d55e00\" stroke-dasharray=\"5 4\"/>\n";
        text("x=\"" + x(at) + "\" y=\"22\" text-anchor=\"middle\" fill=\"#b04a00\"", words);
    }
    return svg + "</svg>\n";
}

/// How far a frame differs from another one that is turned by an angle about a centre, white being no
/// difference; of the picture's middle every second pixel.
std::string Difference(const CubByte& frames, int first, int second, const Place& centre, double degrees)
{
    const int half = 270;
    MatByte grey(half, half);
    const double a = degrees * M_PI / 180, cosine = std::cos(a), sine = std::sin(a);
    for (int y = 0; y < half; y++)
        for (int x = 0; x < half; x++) {
            const int px = static_cast<int>(centre.x) - half + 2 * x,
                      py = static_cast<int>(centre.y) - half + 2 * y;
            // Where this was before the turn.
            const double dx = px - centre.x, dy = py - centre.y;
            const double fx = centre.x + cosine * dx + sine * dy, fy = centre.y - sine * dx + cosine * dy;
            const int left = static_cast<int>(fx), top = static_cast<int>(fy);
            const double u = fx - left, v = fy - top;
            const double before =
                (frames(left, top, first) * (1 - u) + frames(left + 1, top, first) * u) * (1 - v) +
                (frames(left, top + 1, first) * (1 - u) + frames(left + 1, top + 1, first) * u) * v;
            grey(x, y) =
                static_cast<UBYTE>(255 - std::min(255.0, 4 * std::abs(frames(px, py, second) - before)));
        }
    return GreyPng(grey);
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 2) {
        std::fprintf(stderr, "Usage: diagnosis_pictures <folder>\n");
        return 2;
    }
    const std::string folder = argv[1];
    WheelScene scene;
    scene.spokes = 5;
    scene.noise = 0; // it would make the files large and show nothing
    const int count = 15, last = count - 1;
    const CubByte frames = DrawnFrames(scene, count);
    Geometry geometry;
    if (!Measure(scene, geometry).empty()) return 1;
    const RunSeen run = DetectedRun(frames, ArgumentsFor(scene, geometry, count, Method::ring));
    const Diagnosis diagnosis = Diagnose(run);
    if (!diagnosis.centre || !diagnosis.ring || !diagnosis.teeth) return 1;
    const Changes changes = ChangesOf(frames);

    Chart radial{"distance from the centre, px", "change over the frames", 0, 320, 40, {}, false, {}};
    const std::vector<double> profile = RadialProfile(changes, *diagnosis.centre, {});
    for (std::size_t i = 0; i * profileStep < 320; i++)
        radial.points.emplace_back((static_cast<double>(i) + 0.5) * profileStep, profile[i]);
    radial.marks = {{diagnosis.ring->inner, NumberText(diagnosis.ring->inner, 1)},
                    {diagnosis.ring->outer, NumberText(diagnosis.ring->outer, 1)}};
    Write(folder + "/radial.svg", Svg(radial));

    const PolarProfile polar = PolarProfileOf(frames, *diagnosis.centre, *diagnosis.ring, {});
    Chart greys{"direction from the centre, degrees clockwise from the right",
                "grey values",
                0,
                90,
                10,
                {},
                false,
                {}};
    double darkest = 0;
    for (const double grey : polar.frames[0]) darkest = std::min(darkest, grey);
    for (int i = 0; i <= polar.count / 4; i++)
        greys.points.emplace_back(360.0 * i / polar.count,
                                  polar.frames[0][static_cast<std::size_t>(i)] - darkest);
    Write(folder + "/polar.svg", Svg(greys));

    Chart teeth{"number of teeth", "part in the grey values", 0, 130, 10, {}, true, {}};
    const std::vector<double> power = TeethPower(polar, diagnosis.ring->outer);
    for (std::size_t i = 3; i <= 130; i++)
        teeth.points.emplace_back(static_cast<double>(i), std::sqrt(power[i]));
    teeth.marks = {{double(*diagnosis.teeth), std::to_string(*diagnosis.teeth)}};
    Write(folder + "/teeth.svg", Svg(teeth));

    Write(folder + "/before.png", Difference(frames, 0, last, *diagnosis.centre, 0));
    Write(folder + "/after.png",
          Difference(frames, 0, last, *diagnosis.centre, *diagnosis.degreesPerFrame * last));
}

// The line that tells what a grab did not get: written and read to the letter.
#include <camera/GrabLoss.h>

#include <gtest/gtest.h>

#include <climits>
#include <string>
#include <vector>

namespace {

using telvane::camera::GrabLoss;
using Kind = GrabLoss::Kind;

struct Case {
    std::string line;
    GrabLoss loss;
};

const std::vector<Case> cases = {
    {"Camera: 1 frame lost before grab 14, silent for 67 ms", {Kind::lost, 14, 1, 67, false}},
    {"Camera: 2 frames lost before grab 2, silent for 100 ms", {Kind::lost, 2, 2, 100, false}},
    {"Camera: 63 frames lost before grab 11, silent for 2133 ms, restarted",
     {Kind::lost, 11, 63, 2133, true}},
    {"Camera: no frame at grab 1, silent for 4000 ms, restarted", {Kind::none, 1, 0, 4000, true}},
    {"Camera: no frame at grab 2460, silent for 2001 ms", {Kind::none, 2460, 0, 2001, false}},
    {"Camera: grab 25 repeats the frame before", {Kind::repeated, 25, 0, 0, false}},
    {"Camera: 2147483647 frames lost before grab 2147483647, silent for 2147483647 ms",
     {Kind::lost, INT_MAX, INT_MAX, INT_MAX, false}},
};

bool Same(const GrabLoss& a, const GrabLoss& b)
{
    return a.kind == b.kind && a.grab == b.grab && a.frames == b.frames && a.silent == b.silent &&
           a.restarted == b.restarted;
}

TEST(GrabLoss, EachHasItsLine)
{
    for (const Case& c : cases) EXPECT_EQ(LineOf(c.loss).Text(), c.line);
}

TEST(GrabLoss, EachIsReadFromItsLine)
{
    for (const Case& c : cases) {
        GrabLoss loss{Kind::lost, -1, -1, -1, !c.loss.restarted};
        EXPECT_TRUE(ReadLine(c.line, loss)) << c.line;
        EXPECT_TRUE(Same(loss, c.loss)) << c.line;
    }
}

TEST(GrabLoss, OtherLinesAreNoneAndChangeNothing)
{
    std::vector<std::string> lines = {
        "",
        "Simulated camera: these frames show a drawn wheel, not a real machine",
        "Could not open the camera",
        "Camera: 1 frames lost before grab 14, silent for 67 ms",
        "Camera: 2 frame lost before grab 14, silent for 67 ms",
        "Camera: 02 frames lost before grab 14, silent for 67 ms",
        "Camera: +2 frames lost before grab 14, silent for 67 ms",
        "Camera: 2 frames lost before grab , silent for 67 ms",
        "Camera: 2 frames lost before grab 2147483648, silent for 67 ms",
        "Camera: 2 frames lost before grab 14, silent for -67 ms",
        "Camera: 2 frames lost before grab 14, silent for 67 ms, restarted twice",
        "camera: 2 frames lost before grab 14, silent for 67 ms",
        " Camera: grab 25 repeats the frame before",
        "Camera: grab 25 repeats the frame behind",
    };
    for (const Case& c : cases) {
        for (std::size_t size = 0; size < c.line.size(); size++) {
            // A line that ends before ", restarted" is one of a camera that was not.
            if (c.loss.restarted && c.line.substr(size) == ", restarted") continue;
            lines.push_back(c.line.substr(0, size));
        }
        lines.push_back(c.line + " ");
        lines.push_back(c.line + "\n");
    }
    for (const std::string& line : lines) {
        const GrabLoss before{Kind::none, 3, 4, 5, true};
        GrabLoss loss = before;
        EXPECT_FALSE(ReadLine(line, loss)) << line;
        EXPECT_TRUE(Same(loss, before)) << line;
    }
}

} // namespace

// Summits of the votes, and the heat map.
#include <report/Votes.h>

#include <marks/Drawing.h>
#include <tools/Markup.h>
#include <tools/Numbers.h>

#include <algorithm>
#include <cmath>
#include <numbers>
#include <string>
#include <vector>

namespace telvane {

namespace {

/// maxima[i] is the largest of the values up to `reach` places from i, read through get(i), i = 0..n-1.
/// Every value is taken in and dropped once, whatever the reach.
template <class Get, class Put> void RunningMaximum(int n, int reach, Get get, Put put)
{
    std::vector<int> falling; // places whose values fall, the largest first, from `head` on
    falling.reserve(static_cast<std::size_t>(n));
    std::size_t head = 0;
    int taken = 0;
    for (int i = 0; i < n; i++) {
        for (; taken < n && taken <= i + reach; taken++) {
            while (falling.size() > head && get(falling.back()) <= get(taken)) falling.pop_back();
            falling.push_back(taken);
        }
        while (falling[head] < i - reach) head++;
        put(i, get(falling[head]));
    }
}

/// The largest value within `reach` columns and rows of every place.
MatShort LocalMaxima(const MatShort& m, int reach)
{
    MatShort alongRows(m.dim1, m.dim2), maxima(m.dim1, m.dim2);
    for (int y = 0; y < m.dim2; y++)
        RunningMaximum(
            m.dim1, reach, [&](int x) { return m(x, y); },
            [&](int x, short value) { alongRows(x, y) = value; });
    for (int x = 0; x < m.dim1; x++)
        RunningMaximum(
            m.dim2, reach, [&](int y) { return alongRows(x, y); },
            [&](int y, short value) { maxima(x, y) = value; });
    return maxima;
}

double Share(short votes, short most) { return most > 0 ? static_cast<double>(votes) / most : 0; }

} // namespace

Summits FindSummits(const MatShort& votes, int apart)
{
    Summits found;
    if (votes.dim1 < 3 || votes.dim2 < 3) return found;
    const MatShort inner = votes(RNG(1, votes.dim1 - 2), RNG(1, votes.dim2 - 2));
    const MatShort maxima = LocalMaxima(inner, apart);

    const auto best = [&](auto counts) {
        Summit s;
        for (int y = 0; y < inner.dim2; y++)
            for (int x = 0; x < inner.dim1; x++)
                if (inner(x, y) > s.votes && inner(x, y) == maxima(x, y) && counts(x + 1, y + 1))
                    s = {x + 1, y + 1, inner(x, y)};
        return s;
    };
    const Summit& peak = found.peak = best([](int, int) { return true; });
    found.next =
        best([&](int x, int y) { return std::max(std::abs(x - peak.x), std::abs(y - peak.y)) > apart; });
    return found;
}

short MostVotes(const MatShort& votes)
{
    if (votes.dim1 < 3 || votes.dim2 < 3) return 0;
    return Max(Max(votes(RNG(1, votes.dim1 - 2), RNG(1, votes.dim2 - 2))));
}

Colour HeatColour(double share)
{
    const double t = 3 * std::sqrt(std::clamp(share, 0.0, 1.0));
    const auto channel = [t](int before) {
        return static_cast<UBYTE>(std::lround(255 * std::clamp(t - before, 0.0, 1.0)));
    };
    return {channel(0), channel(1), channel(2)};
}

Canvas VotePicture(const MatShort& votes)
{
    const short most = MostVotes(votes);
    Canvas canvas(votes.dim1, votes.dim2);
    for (int y = 0; y < votes.dim2; y++)
        for (int x = 0; x < votes.dim1; x++) canvas.Set(x, y, HeatColour(Share(votes(x, y), most)));
    return canvas;
}

namespace {

const Ink peakInk{"#56B4E9", "", 2}, nextInk{"#CC79A7", "6 3", 2};

MarkedPicture PictureOf(const Canvas& canvas, const char* title, const char* description)
{
    const std::string png = canvas.Png();
    return {canvas.Width(), canvas.Height(), "data:image/png;base64," + Base64(png), title, description};
}

} // namespace

std::string VoteDrawing(const MatShort& votes, const Summits& summits)
{
    const MarkedPicture picture = PictureOf(
        VotePicture(votes), "Heat map of the votes",
        "Black where nobody voted, then red, yellow and white; the peak and the next best place are ringed.");
    Drawing drawing(picture);
    struct Ringed {
        const Summit& summit;
        const Ink& ink;
        const char *name, *words;
        int mark = 0;
    };
    Ringed all[] = {{summits.next, nextInk, "next-best", "next best"},
                    {summits.peak, peakInk, "peak", "peak"}};
    const double radius = 0.7 * drawing.Letters();
    for (Ringed& r : all) {
        if (r.summit.votes < 1) continue;
        const Place at = {r.summit.x * 1.0, r.summit.y * 1.0};
        drawing.Begin(r.name, r.ink);
        drawing.Circle(at, radius);
        drawing.KeepClear(at);
        drawing.End();
        r.mark = drawing.Mark();
    }
    for (const Ringed& r : all) {
        if (r.summit.votes < 1) continue;
        std::vector<LabelAnchor> round;
        for (int degrees = 0; degrees < 360; degrees += 45) {
            const double angle = degrees * std::numbers::pi / 180;
            round.push_back({{r.summit.x + radius * std::cos(angle), r.summit.y + radius * std::sin(angle)},
                             static_cast<double>(degrees)});
        }
        drawing.Name(r.words, r.mark, r.ink, r.name, round);
    }
    return drawing.Svg();
}

std::string PeakDrawing(const MatShort& votes, const Summit& peak, int reach)
{
    const short most = MostVotes(votes);
    Canvas around(2 * reach + 1, 2 * reach + 1);
    for (int y = 0; y < around.Height(); y++)
        for (int x = 0; x < around.Width(); x++) {
            const int vx = peak.x - reach + x, vy = peak.y - reach + y;
            const bool inside = 0 <= vx && vx < votes.dim1 && 0 <= vy && vy < votes.dim2;
            around.Set(x, y, inside ? HeatColour(Share(votes(vx, vy), most)) : Colour{70, 70, 70});
        }
    MarkedPicture picture = PictureOf(around, "The peak, enlarged", "The votes around the peak, in a cross.");
    picture.enlarged = 6;
    Drawing drawing(picture);
    drawing.Begin("peak", peakInk);
    const double gap = 3, end = 10, middle = reach;
    for (const int sign : {-1, 1}) {
        drawing.Line({middle + sign * gap, middle}, {middle + sign * end, middle});
        drawing.Line({middle, middle + sign * gap}, {middle, middle + sign * end});
    }
    drawing.End();
    return drawing.Svg();
}

std::string HeatScale(int most)
{
    const int width = 360, bar = 20;
    Canvas strip(width, bar);
    for (int x = 0; x < width; x++) {
        const double t = static_cast<double>(x) / (width - 1);
        for (int y = 0; y < bar; y++) strip.Set(x, y, HeatColour(t * t)); // even steps of colour
    }
    const std::string png = strip.Png();
    std::string svg =
        "<svg xmlns=\"http://www.w3.org/2000/svg\" role=\"img\" viewBox=\"0 0 360 42\" width=\"360\" "
        "height=\"42\" font-family=\"sans-serif\" font-size=\"12\" "
        "style=\"max-width:100%;height:auto\">\n<title>Scale of the heat map</title>\n"
        "<image width=\"360\" height=\"20\" href=\"data:image/png;base64," +
        Base64(png) + "\"/>\n<rect width=\"360\" height=\"20\" fill=\"none\" stroke=\"#888\"/>\n";
    for (const double share : {0.0, 0.01, 0.1, 0.25, 0.5, 1.0}) {
        const double x = std::sqrt(share) * width;
        const char* const anchor = share > 0 ? share < 1 ? "middle" : "end" : "start";
        svg += "<path stroke=\"currentColor\" d=\"M" + RoundedText(x, 2) + " " + RoundedText(bar, 2) +
               "v4\"/><text fill=\"currentColor\" text-anchor=\"" + anchor + "\"" + Attribute("x", x) +
               " y=\"37\">" + std::to_string(std::lround(share * most)) + "</text>\n";
    }
    return svg + "</svg>\n";
}

} // namespace telvane

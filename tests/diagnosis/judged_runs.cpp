// Judges many runs on drawn wheels whose truth is known, and counts both kinds of mistake: an answer called
// good that lies far off, and one not called good that is right.
//
//     judged_runs [--runs N] [--seed S] [--jobs J] [--list]
//
// Scenes are drawn at random, the same on every machine for the same seed, until there are N runs: each scene
// serves for several command lines. Prints a table in Markdown; --list prints a line for each run before it.
// Exit status 1 where an answer that is more than 3 pixels off was called good, or fewer than 95 of 100 of
// those within 2 pixels. Of a wheel that stands still and of frames that repeat an answer is right by luck,
// and counts for neither.
#include <tests/diagnosis/DrawnRuns.h>

#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <map>
#include <random>
#include <string>
#include <vector>

using namespace telvane;

namespace {

// ---------------------------------------------------------------------------------- scenes

/// The same numbers on every platform.
class Dice {
public:
    explicit Dice(unsigned seed) : engine(seed) {}
    double Real(double from, double to) { return from + (to - from) * (engine() / 4294967296.0); }
    int Between(int from, int to) { return from + static_cast<int>(Real(0, 1) * (to - from + 1)); }
    bool OneIn(int n) { return Between(1, n) == 1; }
    double Sign() { return OneIn(2) ? 1 : -1; }

private:
    std::mt19937 engine;
};

enum Kind {
    right,
    senseWrong,
    bothRadii,
    oneRadius,
    still,
    halfTooth,
    discBeside,
    discBefore,
    halfOutside,
    dark,
    clipped,
    noisy,
    repeated,
    pushed,
    lightChanges,
    tilted,
    eccentric,
    bentByLens,
    thick,
    textured,
    dirty,
    jerked,
    allMild,
    kinds
};

const char* const names[kinds] = {
    "as it should be",
    "sense of rotation given wrong",
    "both radii given 3 to 30 % wrong",
    "one radius given 3 to 30 % wrong",
    "the wheel stands still",
    "0.42 to 0.58 of a tooth from frame to frame",
    "another thing moves beside the ring, blanked or not",
    "another thing moves in front of the ring, blanked or not",
    "up to half of the ring outside of the picture",
    "dark: 0.1 to 0.4 of the light",
    "clipped: 1.4 to 4 times the light",
    "noise of 4 to 12 grey levels, shot noise",
    "frames repeat",
    "the camera is pushed by 0.5 to 8 pixels",
    "the light changes by 3 to 30 %",
    "tilted by 2 to 12 degrees, with perspective",
    "eccentric by 1 to 8 pixels",
    "lens, k1 from -0.05 to 0.15",
    "thickness up to 160 pixels, with perspective",
    "texture, highlight and shadow",
    "scratches and dirt",
    "a jerk, or frames lost",
    "a real machine: all mild ones",
};

struct Drawn {
    WheelScene scene;
    int count = 15;
};

/// A wheel of any size, anywhere in the picture as a whole, its teeth moving by 0.2 px to a third of a tooth.
Drawn Plain(Dice& dice, double largest = 430)
{
    Drawn drawn;
    WheelScene& s = drawn.scene;
    s.outerR = dice.Real(70, largest);
    s.innerR = s.outerR * dice.Real(0.72, 0.92);
    if (s.outerR - s.innerR < 10) s.innerR = s.outerR - 10;
    const double middle = (s.innerR + s.outerR) / 2, around = 2 * M_PI * middle;
    s.teeth = std::clamp(static_cast<int>(around / dice.Real(10, 50)), 8, 120);
    const double tooth = around / s.teeth;
    const double step = 0.2 * std::pow(tooth / 3 / 0.2, dice.Real(0, 1)); // pixels from frame to frame
    s.degreesPerFrame = dice.Sign() * step / middle * 180 / M_PI;
    s.startAngle = dice.Real(0, 360);
    s.spokes = dice.OneIn(4) ? 0 : dice.Between(3, 8);
    s.hubR = s.innerR * dice.Real(0.15, 0.4);
    s.uneven = dice.Real(0, 0.5);
    s.noise = dice.Real(0.7, 2.5);
    s.seed = static_cast<std::uint32_t>(dice.Between(1, 1000000));
    const double room = s.outerR + 4;
    s.centreX = dice.Real(std::max(room, 40.0), s.width - 1 - std::max(room, 40.0));
    s.centreY = dice.Real(std::max(room, 40.0), s.height - 1 - std::max(room, 40.0));
    drawn.count = dice.OneIn(3) ? dice.Between(2, 14) : 15;
    return drawn;
}

WheelSpot SpotOn(Dice& dice, const WheelScene& s, double strength)
{
    const double angle = dice.Real(0, 2 * M_PI), r = (s.innerR + s.outerR) / 2;
    return {s.centreX + r * std::cos(angle), s.centreY + r * std::sin(angle), s.outerR / 2, strength};
}

/// A striped disc that keeps within the picture and moves by 0.5 to 6 pixels a frame.
WheelDisc DiscAt(Dice& dice, const WheelScene& s, double fromCentre)
{
    WheelDisc disc;
    disc.radius = dice.Real(30, 80);
    disc.stripe = dice.Real(10, 24);
    disc.travel = 20;
    for (int i = 0; i < 200; i++) {
        const double angle = dice.Real(0, 2 * M_PI), way = dice.Real(0, 2 * M_PI), step = dice.Real(0.5, 5);
        disc.x = s.centreX + fromCentre * std::cos(angle);
        disc.y = s.centreY + fromCentre * std::sin(angle);
        disc.dx = step * std::cos(way);
        disc.dy = step * std::sin(way);
        WheelScene trial = s;
        trial.disc = disc;
        Geometry geometry;
        if (Measure(trial, geometry).empty()) return disc;
    }
    return {};
}

Drawn Draw(Dice& dice, Kind kind)
{
    const bool needsRoom = kind == discBeside;
    Drawn drawn = Plain(dice, needsRoom ? 250 : 430);
    WheelScene& s = drawn.scene;
    const double middle = (s.innerR + s.outerR) / 2;
    const auto anywhere = [&dice] { return dice.Real(0, 360); };
    if (kind >= tilted || kind == dark || kind == noisy || kind == pushed) {
        // As a camera is mounted: not right at the edge.
        s.centreX += 0.5 * ((s.width - 1) / 2.0 - s.centreX);
        s.centreY += 0.5 * ((s.height - 1) / 2.0 - s.centreY);
    }
    switch (kind) {
    case still: s.degreesPerFrame = 0; break;
    case halfTooth: s.degreesPerFrame = dice.Sign() * 360.0 / s.teeth * dice.Real(0.42, 0.58); break;
    case discBeside: s.disc = DiscAt(dice, s, s.outerR + dice.Real(90, 350)); break;
    case discBefore: s.disc = DiscAt(dice, s, middle + dice.Real(-60, 60)); break;
    case halfOutside: {
        const double out = dice.Real(0, 1) * s.outerR;
        if (dice.OneIn(2)) s.centreX = dice.OneIn(2) ? s.outerR - out + 1 : s.width - 2 - s.outerR + out;
        else s.centreY = dice.OneIn(2) ? s.outerR - out + 1 : s.height - 2 - s.outerR + out;
        s.centreX = std::clamp(s.centreX, 31.0, s.width - 32.0);
        s.centreY = std::clamp(s.centreY, 31.0, s.height - 32.0);
        break;
    }
    case dark: s.gain = dice.Real(0.1, 0.4); break;
    case clipped: s.gain = dice.Real(1.4, 4); break;
    case noisy:
        s.noise = dice.Real(4, 12);
        if (dice.OneIn(2)) s.fullWell = dice.Real(1000, 10000);
        break;
    case repeated: {
        drawn.count = std::max(drawn.count, 4);
        const int several = dice.Between(1, std::max(1, drawn.count / 2 - 1));
        for (int i = 0; i < several; i++) s.repeated.push_back(1 + 2 * i);
        break;
    }
    case pushed: {
        const double way = dice.Real(0, 2 * M_PI), length = dice.Real(0.5, 8);
        s.push = {dice.Between(1, drawn.count - 1), length * std::cos(way), length * std::sin(way)};
        break;
    }
    case lightChanges:
        s.flicker = dice.Real(0.03, 0.3);
        s.flickerPeriod = dice.Real(2, 8);
        break;
    case tilted:
        s.tilt = dice.Real(2, 12);
        s.tiltDirection = anywhere();
        s.distance = dice.Real(2000, 5000);
        break;
    case eccentric:
        s.eccentricity = dice.Real(1, 8);
        s.eccentricDirection = anywhere();
        break;
    case bentByLens: s.lens = dice.Real(-0.05, 0.15); break;
    case thick:
        s.thickness = dice.Real(20, 160);
        s.distance = dice.Real(1500, 4000);
        break;
    case textured:
        s.texture = dice.Real(5, 40);
        if (dice.OneIn(2)) s.highlight = SpotOn(dice, s, dice.Real(20, 80));
        else s.shadow = SpotOn(dice, s, dice.Real(0.2, 0.8));
        break;
    case dirty:
        s.scratches = dice.Between(5, 60);
        s.dirt = dice.Between(5, 60);
        break;
    case jerked:
        drawn.count = std::max(drawn.count, 5);
        if (dice.OneIn(2)) s.jerks = {{dice.Between(1, drawn.count - 1), dice.Sign() * dice.Real(1, 10)}};
        else s.lost = {dice.Between(1, drawn.count - 1), dice.Between(1, drawn.count - 1)};
        break;
    case allMild:
        s.tilt = 2;
        s.tiltDirection = anywhere();
        s.distance = 2500;
        s.eccentricity = 1;
        s.eccentricDirection = anywhere();
        s.thickness = 160;
        s.lens = 0.02;
        s.vignette = 0.1;
        s.highlight = SpotOn(dice, s, 20);
        s.flicker = 0.03;
        s.flickerPeriod = 2.4;
        s.exposure = 0.2;
        s.rolling = 0.1;
        s.fullWell = 10000;
        s.scratches = s.dirt = 10;
        break;
    default: break;
    }
    return drawn;
}

// ---------------------------------------------------------------------------------- runs

/// What came of one run.
struct Judged {
    int kind = 0, scene = 0;
    bool answered = false;
    double off = 0; ///< pixels from the true centre to the one found
    Verdict verdict = Verdict::unclear;
    bool moving = false;                ///< the wheel turns, and not too fast
    int sense = 0, teeth = 0, ring = 0; ///< 1 right, 0 not known, -1 wrong
    double fit = -1;                    ///< pixels from the true centre to the rotation's; below 0: none
    double sigma = 0;
    double seconds = 0; ///< of the processor
    char words[240] = {};
};

class Judging {
public:
    Judging(const Drawn& d, const Geometry& g, Kind k, int n)
        : drawn(d), geometry(g), kind(k), number(n), frames(DrawnFrames(d.scene, d.count)),
          truth(TruthOf(d.scene, 0).axis)
    {
    }

    Judged With(const RunArguments& arguments, Kind row)
    {
        const RunSeen seen = DetectedRun(frames, arguments);
        const std::clock_t start = std::clock();
        const Diagnosis diagnosis = Diagnose(seen);
        const std::clock_t end = std::clock();
        Judged judged;
        judged.kind = row;
        judged.scene = number;
        judged.seconds = static_cast<double>(end - start) / CLOCKS_PER_SEC;
        judged.verdict = diagnosis.verdict;
        judged.answered = diagnosis.found.has_value();
        if (diagnosis.found)
            judged.off = std::hypot(diagnosis.found->x - truth.x, diagnosis.found->y - truth.y);
        judged.moving = kind != still && kind != halfTooth && drawn.count > 1;
        if (diagnosis.sense)
            judged.sense =
                (*diagnosis.sense == Sense::clockwise) == (drawn.scene.degreesPerFrame > 0) ? 1 : -1;
        if (diagnosis.teeth) judged.teeth = *diagnosis.teeth == drawn.scene.teeth ? 1 : -1;
        if (diagnosis.ring)
            judged.ring = std::max(std::abs(diagnosis.ring->inner - geometry.innerR),
                                   std::abs(diagnosis.ring->outer - geometry.outerR)) <= 3.5
                              ? 1
                              : -1;
        if (diagnosis.centre) {
            judged.fit = std::hypot(diagnosis.centre->x - truth.x, diagnosis.centre->y - truth.y);
            judged.sigma = std::max(diagnosis.sigma->x, diagnosis.sigma->y);
        }
        const WheelScene& s = drawn.scene;
        std::snprintf(judged.words, sizeof judged.words,
                      "%s n=%d R=%.0f-%.0f at %.0f,%.0f z=%d d=%.3f (%.2f) told %d-%d %+d: got %.1f-%.1f "
                      "z=%d R2 %.2f | %s",
                      Name(arguments.HowSearched()), drawn.count, s.innerR, s.outerR, s.centreX, s.centreY,
                      s.teeth, s.degreesPerFrame, s.degreesPerFrame * s.teeth / 360, arguments.innerR,
                      arguments.outerR, arguments.turn, diagnosis.ring ? diagnosis.ring->inner : 0,
                      diagnosis.ring ? diagnosis.ring->outer : 0, diagnosis.teeth.value_or(0),
                      diagnosis.explained.value_or(-1), diagnosis.evidence.c_str());
        return judged;
    }

private:
    const Drawn& drawn;
    const Geometry& geometry;
    Kind kind;
    int number;
    CubByte frames;
    WheelPlace truth;
};

double WrongBy(Dice& dice) { return 1 + dice.Sign() * dice.Real(0.03, 0.3); }

void MakeRadii(RunArguments& a, double inner, double outer)
{
    a.innerR = static_cast<int>(std::lround(a.innerR * inner));
    a.outerR = static_cast<int>(std::lround(a.outerR * outer));
    if (a.innerR >= a.outerR) a.innerR = a.outerR - 1;
}

/// All runs on one scene.
std::vector<Judged> JudgeScene(unsigned seed, int number)
{
    Dice dice(seed * 100003U + static_cast<unsigned>(number));
    // Every fourth scene is a plain one, told wrong in several ways; the others take their turns.
    const Kind kind =
        number % 4 == 0 ? right : static_cast<Kind>(still + (number - number / 4 - 1) % (kinds - still));
    const Drawn drawn = Draw(dice, kind);
    Geometry geometry;
    std::vector<Judged> all;
    if (!WheelProblem(drawn.scene).empty() || !Measure(drawn.scene, geometry).empty()) return all;
    Judging judging(drawn, geometry, kind, number);
    std::vector<Method> methods{Method::votes};
    if (geometry.ringInside) methods.push_back(Method::ring);

    for (const Method method : methods) {
        RunArguments a = ArgumentsFor(drawn.scene, geometry, drawn.count, method);
        if (geometry.mask.width > 0) {
            all.push_back(judging.With(a, kind));
            a.masks.push_back(
                {geometry.mask.left, geometry.mask.top, geometry.mask.width, geometry.mask.height});
        }
        all.push_back(judging.With(a, kind));
    }
    // Each further run is told something wrong.
    const auto any = [&] {
        return ArgumentsFor(
            drawn.scene, geometry, drawn.count,
            methods[static_cast<std::size_t>(dice.Between(0, static_cast<int>(methods.size()) - 1))]);
    };
    if (kind == right) {
        for (const Method method : methods) {
            RunArguments a = ArgumentsFor(drawn.scene, geometry, drawn.count, method);
            a.turn = -a.turn;
            all.push_back(judging.With(a, senseWrong));
        }
        RunArguments both = any(), inner = any(), outer = any();
        const double wrong = WrongBy(dice);
        MakeRadii(both, wrong, wrong);
        all.push_back(judging.With(both, bothRadii));
        MakeRadii(inner, WrongBy(dice), 1);
        all.push_back(judging.With(inner, oneRadius));
        MakeRadii(outer, 1, WrongBy(dice));
        all.push_back(judging.With(outer, oneRadius));
    } else if (dice.OneIn(3)) {
        RunArguments a = any();
        if (dice.OneIn(2)) a.turn = -a.turn;
        else {
            const double wrong = WrongBy(dice);
            MakeRadii(a, wrong, wrong);
        }
        all.push_back(judging.With(a, kind));
    }
    return all;
}

void Print(const Judged& j)
{
    std::printf("%d %s: off %.1f %s fit %.2f sigma %.3f sense %+d teeth %+d ring %+d %.2f s %s\n", j.scene,
                names[j.kind], j.answered ? j.off : -1, Name(j.verdict), j.fit, j.sigma, j.sense, j.teeth,
                j.ring, j.seconds, j.words);
    std::fflush(stdout);
}

/// In so many processes at once: the arrays' storage is counted without locks.
std::vector<Judged> JudgeAll(unsigned seed, int runs, int jobs, bool list)
{
    std::vector<std::FILE*> pipes;
    for (int job = 0; job < jobs; job++) {
        int ends[2];
        if (pipe(ends) != 0) std::exit(2);
        if (fork() == 0) {
            close(ends[0]);
            std::FILE* out = fdopen(ends[1], "w");
            // Scene after scene, until the reader has enough.
            for (int scene = job;; scene += jobs) {
                for (const Judged& judged : JudgeScene(seed, scene))
                    if (std::fwrite(&judged, sizeof judged, 1, out) != 1) _exit(0);
                Judged end;
                end.kind = -1;
                end.scene = scene;
                if (std::fwrite(&end, sizeof end, 1, out) != 1 || std::fflush(out) != 0) _exit(0);
            }
        }
        close(ends[1]);
        pipes.push_back(fdopen(ends[0], "r"));
    }
    // Scene after scene, so that the result does not depend on the number of processes.
    std::vector<Judged> all;
    for (int scene = 0; static_cast<int>(all.size()) < runs; scene++)
        for (Judged judged;;) {
            if (std::fread(&judged, sizeof judged, 1, pipes[static_cast<std::size_t>(scene % jobs)]) != 1)
                std::exit(2);
            if (judged.kind < 0) break;
            if (static_cast<int>(all.size()) == runs) continue;
            all.push_back(judged);
            if (list) Print(judged);
        }
    for (std::FILE* file : pipes) std::fclose(file); // its writer ends with that
    while (wait(nullptr) > 0) {
    }
    return all;
}

// ---------------------------------------------------------------------------------- table

/// Where an answer may be right by luck only, it does not count that it is not called good.
bool ByLuck(int kind) { return kind == still || kind == repeated; }

struct Row {
    int runs = 0, near = 0, nearGood = 0, far = 0, farGood = 0;
    std::map<Verdict, int> verdicts;

    void Add(const Judged& j)
    {
        runs++;
        verdicts[j.verdict]++;
        const bool good = j.verdict == Verdict::good;
        if (j.answered && j.off <= 2 && !ByLuck(j.kind)) near++, nearGood += good;
        if (j.answered && j.off > 3) far++, farGood += good;
    }

    void Print(const char* name) const
    {
        std::printf("| %s | %d | %d | %s | %d | %d |", name, runs, near,
                    near > 0 ? (std::to_string((200 * nearGood / near + 1) / 2) + " %").c_str() : "", far,
                    farGood);
        bool first = true;
        for (const auto& [verdict, count] : verdicts) {
            std::printf("%s%s %d", first ? " " : ", ", Name(verdict), count);
            first = false;
        }
        std::printf(" |\n");
    }
};

double Share(int part, int all) { return all > 0 ? 100.0 * part / all : 0; }

/// \return whether the goals are met
bool Tell(const std::vector<Judged>& all)
{
    std::vector<Row> rows(kinds);
    Row total;
    int moving = 0, sense = 0, senseWrongly = 0, teeth = 0, teethWrongly = 0, ring = 0, ringWrongly = 0,
        fits = 0;
    std::vector<double> errors, seconds;
    for (const Judged& j : all) {
        rows[static_cast<std::size_t>(j.kind)].Add(j);
        total.Add(j);
        seconds.push_back(j.seconds);
        if (!j.moving) continue;
        moving++;
        sense += j.sense > 0, senseWrongly += j.sense < 0;
        teeth += j.teeth > 0, teethWrongly += j.teeth < 0;
        ring += j.ring > 0, ringWrongly += j.ring < 0;
        if (j.fit >= 0) fits++, errors.push_back(j.fit);
    }
    std::printf(
        "| drawn wheels | runs | region within 2 px | of these good | region over 3 px off | of these good | "
        "verdicts |\n| --- | ---: | ---: | ---: | ---: | ---: | --- |\n");
    for (std::size_t i = 0; i < rows.size(); i++)
        if (rows[i].runs > 0) rows[i].Print(names[i]);
    total.Print("**all**");
    std::sort(errors.begin(), errors.end());
    std::sort(seconds.begin(), seconds.end());
    const auto at = [](const std::vector<double>& v, double share) {
        return v.empty() ? 0 : v[static_cast<std::size_t>(share * static_cast<double>(v.size() - 1))];
    };
    std::printf("\n| of the runs whose wheel turns, and not too fast | right | wrong | not known |\n| --- | "
                "---: | ---: | "
                "---: |\n");
    const auto line = [&](const char* name, int good, int bad) {
        std::printf("| %s | %.1f %% | %.1f %% | %.1f %% |\n", name, Share(good, moving), Share(bad, moving),
                    Share(moving - good - bad, moving));
    };
    line("sense of rotation", sense, senseWrongly);
    line("number of teeth", teeth, teethWrongly);
    line("both radii of the ring within 3 px", ring, ringWrongly);
    std::printf("\nThe rotation fit held in %.1f %% of them, with errors of %.2f px (median), %.2f (95 of "
                "100) and %.2f "
                "(largest).\n",
                Share(fits, moving), at(errors, 0.5), at(errors, 0.95), at(errors, 1));
    std::fflush(stdout);
    std::fprintf(stderr, "Processor time of a diagnosis: %.2f s (median), %.2f s (largest).\n",
                 at(seconds, 0.5), at(seconds, 1));
    std::fprintf(stderr, "%d runs judged: %d of %d far answers and %d of %d near ones called good\n",
                 total.runs, total.farGood, total.far, total.nearGood, total.near);
    return total.farGood == 0 && total.nearGood * 100 >= 95 * total.near;
}

} // namespace

int main(int argc, char** argv)
{
    int runs = 60, jobs = 1;
    unsigned seed = 1;
    bool list = false;
    for (int i = 1; i < argc; i++) {
        const std::string word = argv[i];
        const auto number = [&] { return i + 1 < argc ? std::atoi(argv[++i]) : 0; };
        if (word == "--runs") runs = number();
        else if (word == "--seed") seed = static_cast<unsigned>(number());
        else if (word == "--jobs") jobs = number();
        else if (word == "--list") list = true;
        else jobs = 0;
    }
    if (jobs < 1 || runs < 1) {
        std::fprintf(stderr, "Usage: judged_runs [--runs N] [--seed S] [--jobs J] [--list]\n");
        return 2;
    }
    return Tell(JudgeAll(seed, runs, jobs, list)) ? 0 : 1;
}

// wheelsim: writes the frames of a drawn wheel as img1.bmp, img2.bmp, ... and says where its centre lies.

#include <Telvane/Frames.h>
#include <Kavrix/Kavrix.h>
#include <simulator/Preview.h>
#include <simulator/Wheel.h>
#include <tools/Arguments.h>
#include <tools/Files.h>

#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <initializer_list>
#include <string>
#include <string_view>
#include <system_error>

namespace {

const Tool tool{"wheelsim",
                "usage: wheelsim [--out DIR] [--count N] [--p1 N] [--p2 N] [--first N] [--centre X,Y]\n"
                "                [--inner R] [--outer R] [--teeth N] [--speed D] [--start D] [--spokes N]\n"
                "                [--hub R] [--uneven A] [--noise S] [--seed N] [--disc X,Y,R,DX,DY]\n"
                "                [--preview FILE.png|DIR] [--help]\n"};

const char Help[] =
    "\n"
    "wheelsim draws a toothed wheel that turns before a camera, writes the frames as 8-bit\n"
    "BMP files that Telvane reads with -l, and prints the true centre.\n"
    "\n"
    "  --out DIR           folder for img1.bmp, img2.bmp, ...; made if missing          (.)\n"
    "  --count N           frames to write, 1 to 50                                     (15)\n"
    "  --p1 N  --p2 N      kept frames lie p1, p2, p1, ... camera frames after their\n"
    "                      predecessors, each 1 to 50                                   (1, 1)\n"
    "  --first N           camera frame that becomes img1.bmp, 0 to 1000000             (0)\n"
    "                      10 gives the frames that Telvane keeps from the simulated camera\n"
    "  --centre X,Y        centre of the wheel in pixels, fractions allowed, at least\n"
    "                      30 pixels within the picture of 1280 x 960                   (652.4,471.7)\n"
    "  --inner R           radius of the tooth roots                                    (216)\n"
    "  --outer R           radius of the tooth tips                                     (250)\n"
    "  --teeth N           1 to 1000                                                    (40)\n"
    "  --speed D           degrees per camera frame, positive: clockwise                (0.4)\n"
    "  --start D           angle of one tooth in camera frame 0, in degrees from +x\n"
    "                      clockwise                                                    (0)\n"
    "  --spokes N          0 to 100; 0: no windows                                      (6)\n"
    "  --hub R             radius of the hub; 0: none                                   (inner * 60 / 216)\n"
    "  --uneven A          share of light lost towards the lower right, 0 to 1          (0.3)\n"
    "  --noise S           standard deviation of the noise, 0 to 100 grey levels        (1.5)\n"
    "  --seed N            of the noise, 0 to 4294967295                                (1)\n"
    "  --disc X,Y,R,DX,DY  a striped disc of radius R that starts at X,Y, moves by DX,DY\n"
    "                      per camera frame and turns back after 20                     (none)\n"
    "  --preview PLACE     instead of the frames, the first of them as one PNG file in colour with\n"
    "                      the centre, radii, teeth, region and sense of rotation marked and named\n"
    "                      as Telvane's arguments; a file whose name ends in .png, or a folder for\n"
    "                      preview.png, made if missing                                 (none)\n"
    "  --help              this text\n"
    "\n"
    "Two lines for people come first, then lines for scripts:\n"
    "  TRUE_CENTRE=X,Y             the centre; pixel (x, y) has its middle at exactly (x, y)\n"
    "  TRUE_OROI=[L,T,W,H,1]       the output region that the true centre gives\n"
    "  VOTES=Telvane -l ...        command line that finds the centre by flow votes (R3 = 0)\n"
    "  RING=Telvane -l ...         the same by ring search (R3 = -1); left out if the ring\n"
    "                              is not wholly inside the picture\n"
    "The command lines are for the folder with the frames. With a disc, they blank it with -m.\n"
    "\n"
    "Detection works best while the teeth move by 0.2 to 2.5 pixels from frame to frame. With equal\n"
    "periods the movement is period * speed; with different ones only frames one camera frame\n"
    "apart count.\n"
    "\n"
    "Exit status: 0 done, 1 a file could not be written, 2 an argument is wrong (nothing is written).\n";

struct Job {
    WheelScene scene;
    int count = 15, first = 0;
    int period1 = 1, period2 = 1;
    std::string out = ".";
    std::string preview; // where to, empty: the frames are written
};

/// Reads as many numbers as there are targets, separated by commas. WheelProblem judges their ranges.
void ReadNumbers(std::string_view option, std::string_view text, std::initializer_list<double*> targets)
{
    std::string_view rest = text;
    std::size_t left = targets.size();
    for (double* target : targets) {
        const std::size_t comma = rest.find(',');
        const bool last = --left == 0;
        if (last != (comma == rest.npos) || !ReadNumber(rest.substr(0, comma), *target) ||
            !std::isfinite(*target))
            tool.Refuse(std::string(option) + " takes " + std::to_string(targets.size()) +
                        (targets.size() == 1 ? " number" : " numbers separated by commas") + ", not '" +
                        std::string(text) + "'");
        if (!last) rest.remove_prefix(comma + 1);
    }
}

/// The file that --preview means: the one that is named, or preview.png in the folder that is.
std::string PreviewFile(const std::string& place)
{
    std::error_code ignored;
    const std::filesystem::path path = place;
    if (path.extension() == ".png" && !std::filesystem::is_directory(path, ignored)) return place;
    if (path.has_extension() && path.filename() != "." && path.filename() != ".." &&
        !std::filesystem::is_directory(path, ignored))
        tool.Refuse("--preview takes a file whose name ends in .png, or a folder, not '" + place + "'");
    return (path / "preview.png").string();
}

Job ReadArguments(int argc, char** argv)
{
    tool.AnswerHelp(argc, argv, Help);
    Job job;
    WheelScene& scene = job.scene;
    bool hubGiven = false;
    for (int i = 1; i < argc; i += 2) {
        const std::string_view option = argv[i];
        const auto value = [&] { return ValueOf(tool, argc, argv, i); };
        const auto integer = [&](int& target, int lowest, int highest) {
            target = tool.Integer(option, value(), lowest, highest);
        };
        const auto numbers = [&](std::initializer_list<double*> targets) {
            ReadNumbers(option, value(), targets);
        };

        if (option == "--out") job.out = value();
        else if (option == "--count") integer(job.count, 1, telvane::maxFrames);
        else if (option == "--p1") integer(job.period1, 1, telvane::maxPeriod);
        else if (option == "--p2") integer(job.period2, 1, telvane::maxPeriod);
        else if (option == "--first") integer(job.first, 0, 1000000);
        else if (option == "--centre") numbers({&scene.centreX, &scene.centreY});
        else if (option == "--inner") numbers({&scene.innerR});
        else if (option == "--outer") numbers({&scene.outerR});
        else if (option == "--teeth") integer(scene.teeth, 1, 1000);
        else if (option == "--speed") numbers({&scene.degreesPerFrame});
        else if (option == "--start") numbers({&scene.startAngle});
        else if (option == "--spokes") integer(scene.spokes, 0, 100);
        else if (option == "--hub") {
            numbers({&scene.hubR});
            hubGiven = true;
        } else if (option == "--uneven") numbers({&scene.uneven});
        else if (option == "--noise") numbers({&scene.noise});
        else if (option == "--seed") {
            if (!ReadNumber(value(), scene.seed))
                tool.Refuse("--seed takes a whole number from 0 to 4294967295, not '" + std::string(value()) +
                            "'");
        } else if (option == "--disc")
            numbers({&scene.disc.x, &scene.disc.y, &scene.disc.radius, &scene.disc.dx, &scene.disc.dy});
        else if (option == "--preview") job.preview = PreviewFile(std::string(value()));
        else tool.Refuse("there is no option '" + std::string(option) + "'");
    }
    if (!hubGiven) scene.hubR = scene.innerR * 60 / 216;
    return job;
}

/// One axis of the output region: `before` pixels lie in front of the centre and `size` in all. The region is
/// cut so that it stays inside the picture with pixels to spare even if detection errs by a few.
void PlaceRegion(double centre, int pictureSize, int half, int& before, int& size)
{
    const int spare = 10, middle = static_cast<int>(std::floor(centre));
    const int room = pictureSize - 1 - spare - middle;
    before = middle - spare < half ? middle - spare : half;
    size = before + (room < half ? room : half);
}

/// The rectangle to blank so that nothing of the disc is seen. Telvane cuts its corners off by 2/7 of the
/// shorter side: just right for a disc that moves along one axis, while a slanting path needs room all round.
/// \return false if it does not fit into the picture
bool DiscMask(const WheelScene& scene, Box& mask)
{
    const WheelDisc& d = scene.disc;
    const double pathX = d.dx * d.travel, pathY = d.dy * d.travel;
    const double slant = std::fmin(std::fabs(pathX), std::fabs(pathY));
    const double margin = d.radius + 4 + 0.2 * slant;
    const double left = std::floor(std::fmin(d.x, d.x + pathX) - margin);
    const double top = std::floor(std::fmin(d.y, d.y + pathY) - margin);
    const double right = std::ceil(std::fmax(d.x, d.x + pathX) + margin);
    const double bottom = std::ceil(std::fmax(d.y, d.y + pathY) + margin);
    if (left < 0 || top < 0 || right > scene.width - 1 || bottom > scene.height - 1) return false;
    mask = {static_cast<int>(left), static_cast<int>(top), static_cast<int>(right - left) + 1,
            static_cast<int>(bottom - top) + 1};
    return true;
}

/// The shortest text that reads back as v, with a point in every locale.
std::string Text(double v)
{
    char buffer[40];
    const auto [end, failure] = std::to_chars(buffer, buffer + sizeof buffer, v);
    return failure == std::errc() ? std::string(buffer, end) : std::string("?");
}

void Append(std::string& command, std::initializer_list<int> numbers)
{
    for (int number : numbers) {
        command += ' ';
        command += std::to_string(number);
    }
}

/// Draws the preview, and makes the folder that it is to lie in. \return 0, or 1 after a message
int WritePreview(const Job& job, const Geometry& geometry)
{
    const std::filesystem::path folder = std::filesystem::path(job.preview).parent_path();
    std::error_code ignored; // a folder that cannot be made shows when the file does not open
    if (!folder.empty()) std::filesystem::create_directory(folder, ignored);

    const std::string png = Preview(job.scene, job.first, geometry).png();
    const std::string problem = png.empty() ? "not enough memory" : WriteWhole(job.preview, png);
    if (!problem.empty()) {
        std::fprintf(stderr, "wheelsim: cannot write %s: %s\n", job.preview.c_str(), problem.c_str());
        return 1;
    }
    std::printf("Wrote camera frame %d with its geometry marked to %s\n", job.first, job.preview.c_str());
    return 0;
}

/// \return 0, or 1 after a message if a frame could not be written
int WriteFrames(const Job& job)
{
    std::error_code ignored; // a folder that cannot be made shows when the first frame does not open
    std::filesystem::create_directory(job.out, ignored);

    MatByte grey(job.scene.width, job.scene.height);
    int frame = job.first;
    for (int i = 0; i < job.count; i++) {
        if (i > 0) frame += i % 2 ? job.period1 : job.period2;
        RenderWheel(job.scene, frame, &grey(0, 0));
        const std::string name = job.out + "/img" + std::to_string(i + 1) + ".bmp";
        if (grey.WriteBMP(name.c_str()) != 0) {
            std::fprintf(stderr, "wheelsim: cannot write %s\n", name.c_str());
            return 1;
        }
    }
    std::printf("Wrote %d frames (camera frames %d to %d) to %s\n", job.count, job.first, frame,
                job.out.c_str());
    return 0;
}

} // namespace

int main(int argc, char** argv)
{
    const Job job = ReadArguments(argc, argv);
    const WheelScene& scene = job.scene;

    if (const char* problem = WheelProblem(scene)) tool.Refuse(problem);
    const double border = 30;
    if (scene.centreX < border || scene.centreX > scene.width - 1 - border || scene.centreY < border ||
        scene.centreY > scene.height - 1 - border)
        tool.Refuse("the centre must lie at least 30 pixels within the picture of 1280 x 960");
    Geometry geometry{};
    Box& mask = geometry.mask;
    if (scene.disc.radius > 0 && !DiscMask(scene, mask))
        tool.Refuse("the disc must keep within the picture all the way, with some room to the edges");

    // Telvane takes whole numbers; of the speed only the sign counts, and there too clockwise is positive:
    // the second sweep of the flow turns its vectors round, and the votes go to the side that fits this.
    geometry.innerR = static_cast<int>(std::rint(scene.innerR));
    geometry.outerR = static_cast<int>(std::fmax(std::rint(scene.outerR), geometry.innerR + 1.0));
    geometry.sense = scene.degreesPerFrame > 0 ? 1 : scene.degreesPerFrame < 0 ? -1 : 0;
    Box& region = geometry.region;
    PlaceRegion(scene.centreX, scene.width, 150, geometry.cx, region.width);
    PlaceRegion(scene.centreY, scene.height, 130, geometry.cy, region.height);
    region.left = static_cast<int>(std::rint(scene.centreX - geometry.cx));
    region.top = static_cast<int>(std::rint(scene.centreY - geometry.cy));

    if ((job.preview.empty() ? WriteFrames(job) : WritePreview(job, geometry)) != 0) return 1;

    const int innerR = geometry.innerR, outerR = geometry.outerR, sense = geometry.sense;
    std::string command = "Telvane -l", rest;
    Append(command, {job.count});
    if (job.period1 != 1 || job.period2 != 1) {
        command += " -p1";
        Append(command, {job.period1});
        command += " -p2";
        Append(command, {job.period2});
    }
    if (scene.disc.radius > 0) {
        command += " -m";
        Append(command, {mask.left, mask.top, mask.width, mask.height});
    }
    Append(command, {region.width, region.height, geometry.cx, geometry.cy, innerR, outerR});
    Append(rest, {0, 360, 360, scene.teeth, sense, 0, 0, 0, 0});

    std::printf("Centre %s, %s; radii %s and %s; %d teeth; %s degrees per camera frame (%s)\n",
                Text(scene.centreX).c_str(), Text(scene.centreY).c_str(), Text(scene.innerR).c_str(),
                Text(scene.outerR).c_str(), scene.teeth, Text(scene.degreesPerFrame).c_str(),
                sense > 0   ? "clockwise"
                : sense < 0 ? "counter-clockwise"
                            : "at rest");
    std::printf("TRUE_CENTRE=%s,%s\n", Text(scene.centreX).c_str(), Text(scene.centreY).c_str());
    std::printf("TRUE_OROI=[%d,%d,%d,%d,1]\n", region.left, region.top, region.width, region.height);
    std::printf("VOTES=%s 0%s\n", command.c_str(), rest.c_str());
    const bool ringInside = scene.centreX - outerR >= 2 && scene.centreX + outerR <= scene.width - 3 &&
                            scene.centreY - outerR >= 2 && scene.centreY + outerR <= scene.height - 3;
    if (ringInside) std::printf("RING=%s -1%s\n", command.c_str(), rest.c_str());

    if (std::fflush(stdout) != 0 || std::ferror(stdout)) {
        std::fputs("wheelsim: cannot write to standard output\n", stderr);
        return 1;
    }
    return 0;
}

// wheelsim: writes the frames of a drawn wheel as img1.bmp, img2.bmp, ... and says where its centre lies.

#include <Kavrix/Kavrix.h>
#include <simulator/Arguments.h>
#include <simulator/Geometry.h>
#include <simulator/Preview.h>
#include <simulator/Wheel.h>
#include <tools/CommandLine.h>
#include <tools/Files.h>
#include <tools/Numbers.h>
#include <tools/Text.h>

#include <cmath>
#include <cstdio>
#include <filesystem>
#include <initializer_list>
#include <string>
#include <system_error>

namespace telvane {

namespace {

const char tool[] = "wheelsim";

void Append(std::string& text, std::initializer_list<int> numbers)
{
    for (int number : numbers) text.append(" ").append(std::to_string(number));
}

/// A place to a ten thousandth of a pixel; what the scene itself says keeps all its digits.
std::string PlaceText(const WheelPlace& place, const WheelScene& scene)
{
    const auto text = [](double v, double said) {
        return NumberText(v < said || v > said ? std::rint(v * 10000) / 10000 : said);
    };
    return text(place.x, scene.centreX) + "," + text(place.y, scene.centreY);
}

/// \return whether the whole file could be written; if not, that has been said
bool Written(const std::string& name, const std::string& bytes)
{
    const std::string problem = WriteWhole(name, bytes);
    if (!problem.empty()) Complain(tool, "cannot write " + name + ": " + problem);
    return problem.empty();
}

/// \return 0, or 1 after a message if the file could not be written
int WritePreview(const Job& job, const Geometry& geometry)
{
    const std::filesystem::path folder = std::filesystem::path(job.preview).parent_path();
    std::error_code ignored; // a folder that cannot be made shows when the file does not open
    if (!folder.empty()) std::filesystem::create_directory(folder, ignored);

    if (!Written(job.preview, Preview(job.scene, job.first, geometry))) return 1;
    std::printf("Wrote camera frame %d with its geometry marked to %s\n", job.first,
                Printable(job.preview).c_str());
    return 0;
}

/// Whether there is an img1.bmp or the like in the current folder.
bool HasFrames()
{
    std::error_code ignored;
    for (int i = 1; i <= maxFrames; i++)
        if (std::filesystem::exists("img" + std::to_string(i) + ".bmp", ignored)) return true;
    return false;
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
        if (!Written(name, BytesOf([&grey](std::FILE* stream) { return grey.WriteBMP(stream); }))) return 1;
    }
    const std::string place = Printable(job.out);
    if (job.count == 1) std::printf("Wrote 1 frame (camera frame %d) to %s\n", frame, place.c_str());
    else
        std::printf("Wrote %d frames (camera frames %d to %d) to %s\n", job.count, job.first, frame,
                    place.c_str());
    return 0;
}

/// Prints where the centre lies and the command lines that find it.
void Tell(const Job& job, const Geometry& geometry)
{
    const WheelScene& scene = job.scene;
    const Box &mask = geometry.mask, &region = geometry.region;
    std::string command = "Telvane -l", rest;
    Append(command, {job.count});
    if (job.period1 != 1 || job.period2 != 1) {
        command += " -p1";
        Append(command, {job.period1});
        command += " -p2";
        Append(command, {job.period2});
    }
    if (mask.width > 0) {
        command += " -m";
        Append(command, {mask.left, mask.top, mask.width, mask.height});
    }
    Append(command,
           {region.width, region.height, geometry.cx, geometry.cy, geometry.innerR, geometry.outerR});
    Append(rest, {0, 360, 360, scene.teeth, geometry.sense, 0, 0, 0, 0});

    const WheelTruth truth = TruthOf(scene, job.first);
    std::printf("Centre %s, %s; radii %s and %s; %d teeth; %s degrees per camera frame (%s)\n",
                NumberText(scene.centreX).c_str(), NumberText(scene.centreY).c_str(),
                NumberText(scene.innerR).c_str(), NumberText(scene.outerR).c_str(), scene.teeth,
                NumberText(scene.degreesPerFrame).c_str(),
                geometry.sense > 0   ? "clockwise"
                : geometry.sense < 0 ? "counter-clockwise"
                                     : "at rest");
    std::printf("TRUE_CENTRE=%s\n", PlaceText(truth.axis, scene).c_str());
    std::printf("TRUE_RING_CENTRE=%s\n", PlaceText(truth.ring, scene).c_str());
    std::printf("TRUE_ELLIPSE=%s\n", PlaceText(truth.ellipse, scene).c_str());
    std::printf("TRUE_OROI=[%d,%d,%d,%d,1]\n", region.left, region.top, region.width, region.height);
    std::printf("VOTES=%s 0%s\n", command.c_str(), rest.c_str());
    if (geometry.ringInside) std::printf("RING=%s -1%s\n", command.c_str(), rest.c_str());
}

int Run(int argc, char** argv)
{
    const Job job = ReadArguments(argc, argv);
    Geometry geometry{};
    std::string problem = WheelProblem(job.scene);
    if (problem.empty()) problem = Measure(job.scene, geometry);
    if (!problem.empty()) Refuse(problem);
    if (job.preview.empty() && !job.outNamed && HasFrames())
        Refuse("the current folder has frames already: name another by --out, or this one by --out . to "
               "replace them");

    if ((job.preview.empty() ? WriteFrames(job) : WritePreview(job, geometry)) != 0) return 1;
    Tell(job, geometry);
    return FlushOutput(tool) ? 0 : 1;
}

} // namespace

} // namespace telvane

[[gnu::init_priority(101)]] const telvane::Tool program(telvane::tool);

int main(int argc, char** argv) { return program.Run(telvane::Run, argc, argv); }

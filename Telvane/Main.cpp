// The program: command line, frames, masks, detection, and what is printed and written.
#include <Telvane/Frames.h>
#include <Telvane/Grab.h>
#include <Telvane/Heap.h>
#include <Telvane/Param.h>
#include <Telvane/Periods.h>
#include <Telvane/Telvane.h>

#include <Kavrix/Kavrix.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iostream>

using telvane::frameHeight, telvane::frameWidth, telvane::maxFrames, telvane::maxPeriod;
using telvane::Param;

namespace {

constexpr int jpegQuality = 85;

[[noreturn]] void Usage()
{
    std::cerr << "Usage:" << std::endl;
    std::cerr << "Telvane -n|-l <count> [-s] [-jpg] [-p1 <p1>] [-p2 <p2>]..." << std::endl;
    std::cerr << "    ... [-m <x> <y> <wid> <hgh> [-m ... [-m ...]]]..." << std::endl;
    std::cerr << "    ... <wid> <hgh> <cx> <cy> <innerR> <outerR> <R3> <ang1> <ang2> <fullAng>..."
              << std::endl;
    std::cerr << "    ... <teethCnt> <angSpd(-ccw/+cw)> <initSpd> <minMvmt> <maxFwdMvmt> <bkgCorr>"
              << std::endl;
    std::exit(1);
}

[[noreturn]] void Error(int errorCode, const char* message)
{
    std::cerr << "Error " << errorCode << ": " << message << std::endl;
    std::exit(errorCode);
}

// Decimal digits as in 64 bits, the low 32 bits kept, the same on every platform; other words give 0.
int ToInt(const char* word) { return static_cast<int>(std::strtoll(word, nullptr, 10)); }

// What the command line asks for.
struct Arguments {
    int imagesCount = 15;
    int period1 = 1, period2 = 1;
    bool loadImages = false;
    bool saveImages = false, saveJpg = false;
    struct {
        bool used = false;
        int x, y, wid, hgh;
    } mask1, mask2, mask3;
    VecFloat params{Param::length};
};

// The options, up to the first word that is none. \return the words that are left: the positional ones
char** ParseOptions(char** word, int& left, Arguments& args)
{
    const auto take = [&](int count) { // the option and its values; gives the first value
        left -= count;
        if (left < 0) Usage();
        char** const values = word + 1;
        word += count;
        return values;
    };
    const auto within = [](int value, int max) {
        if (value < 1 || value > max) Usage();
        return value;
    };
    while (left >= 1) {
        const auto is = [option = *word](const char* name) { return std::strcmp(option, name) == 0; };
        if (is("-n") || is("-l")) {
            args.loadImages = is("-l");
            args.imagesCount = within(ToInt(*take(2)), maxFrames);
        } else if (is("-p1")) {
            args.period1 = within(ToInt(*take(2)), maxPeriod);
        } else if (is("-p2")) {
            args.period2 = within(ToInt(*take(2)), maxPeriod);
        } else if (is("-s")) {
            take(1);
            args.saveImages = true;
        } else if (is("-jpg")) {
            take(1);
            args.saveJpg = true;
        } else if (is("-m")) {
            char** const values = take(5);
            auto& mask = !args.mask1.used ? args.mask1 : !args.mask2.used ? args.mask2 : args.mask3;
            if (mask.used) Usage();
            mask = {true, ToInt(values[0]), ToInt(values[1]), ToInt(values[2]), ToInt(values[3])};
        } else {
            break;
        }
    }
    return word;
}

Arguments ParseCommandLine(int argc, char* argv[])
{
    Arguments args;
    int left = argc - 1;
    char** word = ParseOptions(argv + 1, left, args);
    if (left < 16) Usage();
    const auto next = [&word] { return ToInt(*word++); };

    VecFloat& params = args.params;
    for (const auto i : {Param::wid, Param::hgh, Param::cx, Param::cy, Param::innerR, Param::outerR,
                         Param::R3, Param::ang1, Param::ang2})
        params(i) = static_cast<float>(next());
    const int fullAngle = next(), nrTeeth = next();
    params(Param::toothAngle) = std::rint(static_cast<float>(fullAngle) / static_cast<float>(nrTeeth));
    params(Param::angSpd) = static_cast<float>(next());
    // Part of the command line, and not used.
    [[maybe_unused]] const int initSpeed = next();
    [[maybe_unused]] const int minMvmt = next();
    [[maybe_unused]] const int maxFwdMvmt = next();
    params(Param::bkgCorr) = static_cast<float>(next());
    params(Param::count) = Param::length;
    params(Param::wmType) = 0;
    return args;
}

// "img1.bmp" to "img50.bmp", or ".jpg": entry i names frame i.
class FileNames {
public:
    explicit FileNames(const char* suffix)
    {
        for (int i = 0; i < maxFrames; i++)
            std::snprintf(names[i], sizeof names[i], "img%d%.4s", i + 1, suffix);
    }
    const char* operator[](int i) const { return names[i]; }

private:
    char names[maxFrames][24];
};

MatByte FrameOf(const CubByte& seq, int i) { return seq(RNG::All(), RNG::All(), i); }

bool HasPixels(const KX_Base& picture) { return picture.dim1 > 0 && picture.dim2 > 0; }

} // namespace

int main(int argc, char* argv[])
{
    const Arguments args = ParseCommandLine(argc, argv);
    const bool usePeriods = args.period1 != args.period2;
    const VecInt periods = telvane::FramePeriods(args.imagesCount, args.period1, args.period2);
    const VecInt iroi(0, 0, frameWidth, frameHeight, 1);
    const FileNames fname(".bmp"), fname2(".jpg");

    // The camera is opened in every run, also when the frames come from files.
    raspicam::RaspiCam camera;
    if (!camera.open(true)) {
        std::cerr << "Could not open the camera" << std::endl;
        return 1;
    }
    telvane::PrepareHeap(args.imagesCount);
    CubByte seq(frameWidth, frameHeight, args.imagesCount);

    // Frames.
    if (args.loadImages) {
        std::cout << "Loading images ..." << std::endl;
        for (int i = 0; i < seq.dim3; i++)
            if (FrameOf(seq, i).ReadBMP(fname[i]) != 0) Error(-1, " ... error loading images!");
        std::cout << " ... completed" << std::endl;
    } else {
        std::cout << "Grabbing images ..." << std::endl;
        seq.Fill(0); // frames for which the camera has no buffer are black, and not what the memory held
        Grab(&camera, seq, args.period1, args.period2);
        std::cout << " ... completed" << std::endl;
        for (int i = 0; args.saveImages && i < seq.dim3; i++) {
            if (args.saveJpg) FrameOf(seq, i).WriteJPG(fname2[i], jpegQuality);
            else FrameOf(seq, i).WriteBMP(fname[i]);
        }
    }

    // Masks. Their array is never released; a static pointer keeps it within sight of leak checkers.
    static VecInt* const masksArr = new VecInt[3];
    int masksCount = 0;
    for (const auto& mask : {args.mask1, args.mask2, args.mask3})
        if (mask.used) masksArr[masksCount++] = VecInt(mask.x, mask.y, mask.wid, mask.hgh, 1);
    if (masksCount > 0) Mask(seq, iroi, masksArr, masksCount);

    // Detection.
    VecInt oroi(5);
    MatByte detected;
    MatShort hough, u_sum_sh, v_sum_sh, mag_sh, bgShort;
    std::cout << "Detection ..." << std::endl;
    const int retv = Detect(1, seq, usePeriods, periods, iroi, args.params, oroi, detected, hough, u_sum_sh,
                            v_sum_sh, mag_sh, bgShort);
    std::cout << " ... completed" << std::endl;

    // Results.
    std::cout << "RESULT=" << retv << std::endl;
    if (retv == 0) {
        std::cout << "OROI=[" << oroi(0) << ',' << oroi(1) << ',' << oroi(2) << ',' << oroi(3) << ','
                  << oroi(4) << ']' << std::endl;
    }
    if (HasPixels(detected)) detected.WriteJPG("detected.jpg", jpegQuality);
    if (args.saveImages) {
        if (HasPixels(hough)) hough.WriteBMP("hough.bmp");
        if (HasPixels(u_sum_sh)) u_sum_sh.WriteBMP("u_sum_sh.bmp");
        if (HasPixels(v_sum_sh)) v_sum_sh.WriteBMP("v_sum_sh.bmp");
    }
    return 0;
}

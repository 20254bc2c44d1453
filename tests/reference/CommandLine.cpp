// What the program answers: the words, then the run that they ask for.
#include <tests/reference/CommandLine.h>

#include <tests/reference/Numbers.h>

#include <cmath>
#include <cstdlib>

namespace reference {

std::int32_t Number(const std::string& word) { return Low32(std::strtoll(word.c_str(), nullptr, 10)); }

CommandLine ParseCommandLine(const std::vector<std::string>& words)
{
    CommandLine line;
    CommandLine refused;
    refused.usage = true;

    std::size_t at = 0;
    int left = static_cast<int>(words.size());
    while (left >= 1) {
        const std::string& word = words[at];
        if (word == "-n" || word == "-l") {
            left -= 2;
            if (left < 0) return refused;
            line.loadImages = word == "-l";
            line.imagesCount = Number(words[at + 1]);
            if (line.imagesCount < 1 || line.imagesCount > 50) return refused;
            at += 2;
        } else if (word == "-p1" || word == "-p2") {
            left -= 2;
            if (left < 0) return refused;
            int& period = word == "-p1" ? line.period1 : line.period2;
            period = Number(words[at + 1]);
            if (period < 1 || period > 50) return refused;
            at += 2;
        } else if (word == "-s") {
            left -= 1;
            line.saveImages = true;
            at += 1;
        } else if (word == "-jpg") {
            left -= 1;
            line.saveJpg = true;
            at += 1;
        } else if (word == "-m") {
            left -= 5;
            if (left < 0) return refused;
            if (line.masks.size() == 3) return refused;
            line.masks.push_back({Number(words[at + 1]), Number(words[at + 2]), Number(words[at + 3]),
                                  Number(words[at + 4]), 1});
            at += 5;
        } else {
            break;
        }
    }
    if (left < 16) return refused;

    const auto positional = [&](std::size_t i) { return static_cast<float>(Number(words[at + i])); };
    const float fullAngle = positional(9);
    const float nrTeeth = positional(10);
    line.params = std::vector<float>(14);
    line.params[0] = 14;
    line.params[1] = 0;
    line.params[4] = positional(0);                   // wid
    line.params[5] = positional(1);                   // hgh
    line.params[2] = positional(2);                   // cx
    line.params[3] = positional(3);                   // cy
    line.params[6] = positional(4);                   // innerR
    line.params[7] = positional(5);                   // outerR
    line.params[8] = positional(6);                   // R3
    line.params[9] = positional(7);                   // ang1
    line.params[10] = positional(8);                  // ang2
    line.params[11] = std::rint(fullAngle / nrTeeth); // without teeth an infinity or not a number
    line.params[12] = positional(11);                 // angSpd; positional 12 to 14 are read and not used
    line.params[13] = positional(15);                 // bkgCorr

    if (line.period1 == line.period2) {
        line.usePeriods = false;
        line.periods = {line.period1};
    } else {
        line.usePeriods = true;
        for (int i = 0; i < line.imagesCount; ++i)
            line.periods.push_back(i % 2 == 0 ? line.period1 : line.period2);
    }
    return line;
}

std::string UsageText()
{
    return "Usage:\n"
           "Telvane -n|-l <count> [-s] [-jpg] [-p1 <p1>] [-p2 <p2>]...\n"
           "    ... [-m <x> <y> <wid> <hgh> [-m ... [-m ...]]]...\n"
           "    ... <wid> <hgh> <cx> <cy> <innerR> <outerR> <R3> <ang1> <ang2> <fullAng>...\n"
           "    ... <teethCnt> <angSpd(-ccw/+cw)> <initSpd> <minMvmt> <maxFwdMvmt> <bkgCorr>\n";
}

std::string FailStopLine(const std::string& message)
{
    return "01/01 00:00:00.000 > -999 Err1 in: " + message + "\n";
}

namespace {

void RunTo(Run& run, const std::vector<std::string>& words, const std::vector<Picture<std::uint8_t>>& frames,
           const Circumstances& circumstances)
{
    const int width = circumstances.width, height = circumstances.height;
    const CommandLine line = ParseCommandLine(words);
    if (line.usage) {
        run.err += UsageText();
        run.status = 1;
        return;
    }
    if (!circumstances.cameraOpens) {
        run.err += "Could not open the camera\n";
        run.status = 1;
        return;
    }

    Sequence seq(width, height, line.imagesCount);
    if (line.loadImages) {
        run.out += "Loading images ...\n";
        for (int i = 0; i < line.imagesCount; ++i) {
            if (i >= static_cast<int>(frames.size())) {
                run.err += "Error -1:  ... error loading images!\n";
                run.status = 255;
                return;
            }
            const Picture<std::uint8_t>& frame = frames[static_cast<std::size_t>(i)];
            if (frame.w != width || frame.h != height)
                throw FailStop(
                    "Resize_ubyte: Object cannot be resized, data are referenced by another object");
            seq.SetFrame(i, frame);
        }
    } else {
        run.out += "Grabbing images ...\n";
        for (int imgNr = -10; imgNr < line.imagesCount; ++imgNr) run.out += std::to_string(imgNr) + " ";
        run.out += "\n";
        for (int i = 0; i < line.imagesCount; ++i) seq.SetFrame(i, frames.at(static_cast<std::size_t>(i)));
    }
    run.out += " ... completed\n";

    const std::vector<std::int32_t> iroi = {0, 0, width, height, 1};
    Mask(seq, {0, 0, width, height, 1}, line.masks);

    run.out += "Detection ...\n";
    const std::vector<std::int32_t> oroi(5);
    run.detection =
        Detect(1, seq, line.usePeriods, line.periods, iroi, line.params, oroi, {}, circumstances.sum);
    const Detection& d = run.detection;
    run.err += d.err;
    run.out += " ... completed\n";
    run.out += "RESULT=" + std::to_string(d.result) + "\n";
    if (d.result == 0) {
        run.out += "OROI=[";
        for (std::size_t i = 0; i < 5; ++i) {
            if (i > 0) run.out += ",";
            run.out += std::to_string(d.oroi[i]);
        }
        run.out += "]\n";
    }
    run.detected = d.detected;
    if (line.saveImages) {
        run.hough = BmpShort(d.hough);
        run.uSum = BmpShort(d.uSumSh);
        run.vSum = BmpShort(d.vSumSh);
    }
    run.status = 0;
}

} // namespace

Run PredictRun(const std::vector<std::string>& words, const std::vector<Picture<std::uint8_t>>& frames,
               const Circumstances& circumstances)
{
    Run run;
    try {
        RunTo(run, words, frames, circumstances);
    } catch (const FailStop& stop) {
        run.err += FailStopLine(stop.what());
        run.status = -1;
        run.halts = true;
    }
    return run;
}

} // namespace reference

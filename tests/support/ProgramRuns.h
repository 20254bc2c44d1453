// Runs of the whole program: command lines, frame files, and the comparison with what the reference predicts.
#pragma once

#include <tests/support/ChildProcess.h>
#include <tests/support/Wheels.h>

#include <tests/reference/CommandLine.h>
#include <tests/reference/Files.h>
#include <tests/reference/Jpeg.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <filesystem>
#include <initializer_list>
#include <map>
#include <string>
#include <utility>
#include <vector>

using Words = std::vector<std::string>;

inline Words Join(std::initializer_list<Words> parts)
{
    Words all;
    for (const Words& part : parts) all.insert(all.end(), part.begin(), part.end());
    return all;
}

/// "-l 3 -s" as words.
inline Words Split(const std::string& text)
{
    Words words(1);
    for (const char c : text) {
        if (c != ' ') words.back() += c;
        else if (!words.back().empty()) words.emplace_back();
    }
    if (words.back().empty()) words.pop_back();
    return words;
}

/// The 16 positional arguments, here for the simulator's default wheel.
struct Geometry {
    std::string wid = "600", hgh = "560", cx = "300", cy = "280", innerR = "216", outerR = "250", R3 = "-1",
                ang1 = "0", ang2 = "360", fullAng = "360", teethCnt = "40", angSpd = "1", initSpd = "0",
                minMvmt = "0", maxFwdMvmt = "0", bkgCorr = "0";

    Words Arguments() const
    {
        return {wid,  hgh,     cx,       cy,     innerR,  outerR,  R3,         ang1,
                ang2, fullAng, teethCnt, angSpd, initSpd, minMvmt, maxFwdMvmt, bkgCorr};
    }
};

/// Refused by the detection at once: nothing is calculated, and no picture is written.
inline Geometry RefusedGeometry()
{
    Geometry g;
    g.cx = g.wid;
    return g;
}

/// The five lines, as people see them.
inline const std::string usageLines =
    "Usage:\n"
    "Telvane -n|-l <count> [-s] [-jpg] [-p1 <p1>] [-p2 <p2>]...\n"
    "    ... [-m <x> <y> <wid> <hgh> [-m ... [-m ...]]]...\n"
    "    ... <wid> <hgh> <cx> <cy> <innerR> <outerR> <R3> <ang1> <ang2> <fullAng>...\n"
    "    ... <teethCnt> <angSpd(-ccw/+cw)> <initSpd> <minMvmt> <maxFwdMvmt> <bkgCorr>\n";

inline std::string AsText(const reference::Bytes& bytes) { return std::string(bytes.begin(), bytes.end()); }

inline std::string FrameName(std::size_t i, const char* suffix = ".bmp")
{
    return "img" + std::to_string(i + 1) + suffix;
}

inline void WriteFrames(const TemporaryFolder& folder, const std::vector<BytePicture>& frames)
{
    for (std::size_t i = 0; i < frames.size(); i++)
        folder.Write(FrameName(i), AsText(reference::BmpByte(frames[i])));
}

inline Words FilesIn(const TemporaryFolder& folder)
{
    Words names;
    for (const auto& entry : std::filesystem::directory_iterator(folder.Path()))
        names.push_back(entry.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
}

/// What the files of a folder hold and when they were written; they are dated back before.
class Untouched {
public:
    explicit Untouched(const TemporaryFolder& where) : folder(where)
    {
        for (const std::string& name : FilesIn(folder)) {
            const auto old = std::filesystem::file_time_type::clock::now() - std::chrono::hours(5);
            std::filesystem::last_write_time(folder / name, old);
            before[name] = {folder.Read(name), std::filesystem::last_write_time(folder / name)};
        }
    }

    /// None of these files was written again.
    testing::AssertionResult Still() const
    {
        for (const auto& [name, file] : before) {
            if (!folder.Has(name)) return testing::AssertionFailure() << name << " is gone";
            if (folder.Read(name) != file.first) return testing::AssertionFailure() << name << " is another";
            if (std::filesystem::last_write_time(folder / name) != file.second)
                return testing::AssertionFailure() << name << " was written";
        }
        return testing::AssertionSuccess();
    }

private:
    const TemporaryFolder& folder;
    std::map<std::string, std::pair<std::string, std::filesystem::file_time_type>> before;
};

inline Finished RunIn(const TemporaryFolder& folder, const std::string& program, const Words& words)
{
    RunOptions options;
    options.timeout = std::chrono::seconds(200);
    return Run(Join({{program}, words}), folder.Path(), options);
}

/// A file's bytes, or that there is none where `expected` is empty.
inline testing::AssertionResult HasFile(const TemporaryFolder& folder, const std::string& name,
                                        const reference::Bytes& expected)
{
    if (expected.empty())
        return folder.Has(name) ? testing::AssertionFailure() << name << " was written"
                                : testing::AssertionSuccess();
    if (!folder.Has(name)) return testing::AssertionFailure() << name << " is missing";
    const std::string bytes = folder.Read(name), wanted = AsText(expected);
    if (bytes == wanted) return testing::AssertionSuccess();
    const auto at =
        std::mismatch(bytes.begin(), bytes.end(), wanted.begin(), wanted.end()).first - bytes.begin();
    return testing::AssertionFailure() << name << " has " << bytes.size() << " bytes, expected "
                                       << wanted.size() << ", and differs from byte " << at;
}

/// The pictures of a finished run are those of the prediction, and no others.
inline void ExpectPictures(const TemporaryFolder& folder, const reference::Run& predicted)
{
    const bool hasDetected = !predicted.detected.Empty();
    EXPECT_TRUE(HasFile(folder, "detected.jpg",
                        hasDetected ? reference::JpegGrey(predicted.detected, 85) : reference::Bytes()));
    EXPECT_TRUE(HasFile(folder, "hough.bmp", predicted.hough));
    EXPECT_TRUE(HasFile(folder, "u_sum_sh.bmp", predicted.uSum));
    EXPECT_TRUE(HasFile(folder, "v_sum_sh.bmp", predicted.vSum));
}

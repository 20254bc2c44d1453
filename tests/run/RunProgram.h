// telvane-run as a process: frames for it, stand-ins for the program that it starts, and what it leaves.
#pragma once

#include <tests/support/ProgramRuns.h>
#include <tests/support/Wheels.h>

#include <nlohmann/json.hpp>

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include <sys/stat.h>

namespace fs = std::filesystem;
using Json = nlohmann::json;

/// What a run must be given, for the simulator's default wheel.
inline const Words asked = {"--inner", "216", "--outer", "250", "--sense", "cw", "--region", "560,560"};

/// The line that the library's fail-stop writes where memory ends.
inline const std::string haltLine = "01/01 00:00:00.000 > -999 Err1 in: Datablock::create: Not enough memory";

/// The simulator's default wheel without noise: what a run makes of it is the same, and the pictures of its
/// report take half the time.
inline WheelScene QuietWheel()
{
    WheelScene scene;
    scene.noise = 0;
    return scene;
}

inline void WriteWheel(const std::string& folder, const WheelScene& scene = QuietWheel(), int count = 5)
{
    fs::create_directories(folder);
    for (int i = 0; i < count; i++) {
        std::ofstream file(fs::path(folder) / FrameName(static_cast<std::size_t>(i)), std::ios::binary);
        const std::string bytes = AsText(reference::BmpByte(WheelFrame(scene, i)));
        file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    }
}

/// Frames of that wheel, drawn once for all tests of a program.
inline const std::string& Recorded()
{
    static const TemporaryFolder folder;
    static const bool drawn = (WriteWheel(folder.Path()), true);
    (void)drawn;
    return folder.Path();
}

/// A program that does what a shell script says.
inline std::string StandIn(const TemporaryFolder& folder, const std::string& script)
{
    folder.Write("stand-in", "#!/bin/sh\n" + script + "\n");
    chmod((folder / "stand-in").c_str(), 0755);
    return folder / "stand-in";
}

inline Finished RunWheel(const TemporaryFolder& folder, const Words& words = {},
                         const RunOptions& options = {})
{
    return Run(Join({{TELVANE_RUN_PATH}, asked, words}), folder.Path(), options);
}

/// Names in the folder of runs, hidden ones too.
inline Words RunsIn(const TemporaryFolder& folder, const std::string& out = "runs")
{
    Words names;
    if (!folder.Has(out)) return names;
    for (const auto& entry : fs::directory_iterator(folder / out))
        names.push_back(entry.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
}

/// The run.json of the newest run.
inline Json Document(const TemporaryFolder& folder)
{
    return Json::parse(folder.Read("runs/latest/run.json"));
}

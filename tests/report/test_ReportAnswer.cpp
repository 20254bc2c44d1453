// The answer that the report computes is the program's own.
#include <tests/support/ProgramRuns.h>

#include <report/Answer.h>
#include <report/Pictures.h>

#include <gtest/gtest.h>

#include <string>

using namespace telvane;

namespace {

const int frameCount = 4;

/// Frames of the default wheel, in a folder and as an array.
struct Film {
    TemporaryFolder folder;
    CubByte frames;

    Film() : frames(1280, 960, frameCount)
    {
        std::vector<BytePicture> pictures;
        for (int i = 0; i < frameCount; i++) pictures.push_back(WheelFrame(WheelScene(), i));
        WriteFrames(folder, pictures);
        for (int i = 0; i < frameCount; i++) {
            MatByte place = frames(RNG::All(), RNG::All(), i);
            place = pictures::ArrayOf(pictures[static_cast<std::size_t>(i)]);
        }
    }
};

RunArguments Read(const Words& words)
{
    RunArguments arguments;
    EXPECT_EQ(ReadRunArguments(words, arguments), "");
    return arguments;
}

/// What the program prints for an outcome.
std::string Printed(const RunOutcome& o)
{
    std::string text = "RESULT=" + std::to_string(o.result.value_or(99)) + "\n";
    if (o.region)
        text += "OROI=[" + std::to_string(o.region->left) + "," + std::to_string(o.region->top) + "," +
                std::to_string(o.region->width) + "," + std::to_string(o.region->height) + ",1]\n";
    return text;
}

TEST(Answer, IsThatOfTheProgramBitForBit)
{
    const Film film;
    for (const char* line :
         {"-l 4 -s 600 560 300 280 216 250 -1 200 340 360 40 1 0 0 0 0",
          "-l 4 -s 300 260 150 130 216 250 0 0 360 360 40 1 0 0 0 -50",
          "-l 4 -s -m 500 300 200 90 -m 0 0 0 0 300 260 150 130 200 250 5 10 90 360 40 -1 0 0 0 0",
          "-l 4 -s -p1 1 -p2 3 300 260 150 130 216 250 0 0 360 360 40 1 0 0 0 0",
          "-l 4 -s -p1 2 -p2 2 300 260 150 130 216 250 -1 0 360 360 0 1 0 0 0 0",
          "-l 4 -s -p1 2 -p2 3 300 260 150 130 216 250 0 0 360 360 40 1 0 0 0 0",
          "-l 4 -s 1200 260 600 130 216 250 -1 0 360 360 40 1 0 0 0 0",
          "-l 4 -s 300 260 300 130 216 250 -1 0 360 360 40 1 0 0 0 0"}) {
        const Words words = Split(line);
        const Finished program = RunIn(film.folder, TELVANE_PATH, words);
        MatShort u, v;
        const RunOutcome outcome = Answer(film.frames, Read(words), u, v);
        EXPECT_EQ(outcome.failure, "");
        const std::size_t result = program.out.find("RESULT=");
        ASSERT_NE(result, program.out.npos) << program.out;
        EXPECT_EQ(Printed(outcome), program.out.substr(result)) << line;
        EXPECT_EQ(outcome.message.empty() ? "" : outcome.message + "\n", program.err) << line;
        if (!film.folder.Has("u_sum_sh.bmp")) {
            EXPECT_EQ(u.dim1, 0) << line;
            continue;
        }
        for (const auto& [name, flow] : {std::pair{"u_sum_sh.bmp", u}, {"v_sum_sh.bmp", v}}) {
            MatShort written;
            EXPECT_EQ(ReadShortPicture(film.folder.Read(name), 1281, 961, written), "");
            EXPECT_TRUE(Same(written, pictures::PictureOf(flow))) << line;
            std::filesystem::remove(film.folder / name);
        }
    }
}

TEST(Answer, WhereTheProgramHaltsThereIsNone)
{
    const Film film;
    // Each with whether it halts: what lies of the mask in the frame has no width or height, or the region
    // none.
    for (const auto& [options, halts] : {std::pair{"-m 10 10 0 5", true},
                                         {"-m 10 10 5 0", true},
                                         {"-m 0 0 0 0", false},
                                         {"-m 0 5 5 0", true},
                                         {"-m 1280 0 0 0", false},
                                         {"-m 1279 959 1 1", false},
                                         {"-m 9 -5 4 5", false},
                                         {"-m 9 -5 0 6", true}}) {
        const Words words =
            Split("-l 4 " + std::string(options) + " 300 260 150 130 216 250 -1 0 360 360 40 1 0 0 0 0");
        MatShort u, v;
        const RunOutcome outcome = Answer(film.frames, Read(words), u, v);
        EXPECT_EQ(outcome.failure, halts ? "halted" : "") << options;
        EXPECT_EQ(outcome.result.has_value(), !halts) << options;
        if (halts) {
            const FailStop program = RunProgramUntilHalt(Join({{TELVANE_PATH}, words}), film.folder.Path());
            EXPECT_TRUE(program.halted) << options << ": " << program.state;
            EXPECT_EQ(program.line, ErrorLine(outcome.message)) << options;
        } else {
            EXPECT_NE(RunIn(film.folder, TELVANE_PATH, words).out.find("RESULT=0"), std::string::npos);
        }
    }
    const Words background = Split("-l 4 0 260 -10 130 216 250 -1 0 360 360 40 1 0 0 0 -50");
    MatShort u, v;
    EXPECT_EQ(Answer(film.frames, Read(background), u, v).failure, "halted");
    const Words flat = Split("-l 4 300 0 150 -10 216 250 -1 0 360 360 40 1 0 0 0 -50");
    EXPECT_EQ(Answer(film.frames, Read(flat), u, v).failure, "halted") << "of no height";
    EXPECT_TRUE(RunProgramUntilHalt(Join({{TELVANE_PATH}, background}), film.folder.Path()).halted);
}

TEST(Answer, FramesStayAsTheyAre)
{
    const Film film;
    MatByte first = film.frames(RNG::All(), RNG::All(), 0);
    const std::string bytes(reinterpret_cast<const char*>(&first(0, 0)), 1280 * 960);
    MatShort u, v;
    Answer(film.frames, Read(Split("-l 4 -m 0 0 900 900 300 260 150 130 216 250 -1 0 360 360 40 1 0 0 0 0")),
           u, v);
    EXPECT_TRUE(bytes == std::string(reinterpret_cast<const char*>(&first(0, 0)), 1280 * 960));
}

TEST(MakeFlow, GivesWhatTheProgramWrites)
{
    const Film film;
    MatShort u, v, wantedU, wantedV;
    MakeFlow(film.frames, u, v);
    Answer(film.frames, Read(Split("-l 4 300 260 150 130 216 250 -1 0 360 360 40 1 0 0 0 0")), wantedU,
           wantedV);
    EXPECT_TRUE(Same(u, pictures::PictureOf(wantedU)));
    EXPECT_TRUE(Same(v, pictures::PictureOf(wantedV)));
}

} // namespace

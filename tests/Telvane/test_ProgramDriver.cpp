// What the program makes of its command line and of the detection's answers: the detection behind it only
// writes down what it gets, and answers as the test says.
#include <Telvane/Param.h>

#include <tests/support/ScriptedRuns.h>

#include <tests/reference/CommandLine.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

namespace {

const std::string program = TELVANE_TOLD_DETECTION;

class ProgramDriver : public testing::Test {
protected:
    /// \param answers  result, region, width and height of detected, hough, u_sum_sh, v_sum_sh, mag_sh,
    /// bgShort
    Finished Run(const Words& words,
                 const std::string& answers = "0 412 118 300 260 1 0 0 0 0 0 0 0 0 0 0 0 0")
    {
        std::filesystem::remove(folder / "detection.log");
        folder.Write("detection.txt", answers);
        const Finished run = RunIn(folder, program, words);
        EXPECT_EQ(run.status, 0);
        EXPECT_EQ(run.err, "");
        return run;
    }

    std::string Log() const { return folder.Read("detection.log"); }

    /// Its line that begins with that word.
    std::string Line(const std::string& word, const std::string& log) const
    {
        const std::size_t begin = ("\n" + log).find("\n" + word + " ");
        if (begin == std::string::npos) return "";
        return log.substr(begin, log.find('\n', begin) - begin);
    }

    std::string Params(const Words& words)
    {
        Run(words);
        return Line("params", Log());
    }

    TemporaryFolder folder;
};

/// A word for each argument that shows where it goes.
const Words numbered = Split("101 102 103 104 105 106 107 108 109 360 7 112 113 114 115 116");

TEST_F(ProgramDriver, ArgumentsGoToTheirPlaces)
{
    const Finished run = Run(Join({Split("-n 2"), numbered}));
    EXPECT_EQ(Log(), "Detect 1\n"
                     "seq 1280 960 2, grey " +
                         std::to_string((FilmByte(11, 0) + 4 * FilmByte(11, 1) + 3 * FilmByte(11, 2)) / 8) +
                         "\n"
                         "periods 1\n"
                         "iroi 0 0 1280 960 1\n"
                         "params 14 0 103 104 101 102 105 106 107 108 109 51 112 116\n"
                         "oroi 5\n"
                         "empty pictures\n");
    EXPECT_EQ(run.out, "Grabbing images ...\n-10 -9 -8 -7 -6 -5 -4 -3 -2 -1 0 1 \n ... completed\n"
                       "Detection ...\n ... completed\nRESULT=0\nOROI=[412,118,300,260,1]\n");
}

TEST_F(ProgramDriver, ToothAngleIsRoundedToEven)
{
    const auto toothAngle = [this](const std::string& fullAngle, const std::string& teeth) {
        Words words = Join({Split("-n 1"), numbered});
        words[2 + 9] = fullAngle;
        words[2 + 10] = teeth;
        const Words params = Split(Params(words));
        EXPECT_EQ(params.size(), 15u);
        return params[1 + telvane::Param::toothAngle];
    };
    EXPECT_EQ(toothAngle("360", "7"), "51");   // 51.43
    EXPECT_EQ(toothAngle("100", "8"), "12");   // 12.5
    EXPECT_EQ(toothAngle("108", "8"), "14");   // 13.5
    EXPECT_EQ(toothAngle("-100", "8"), "-12"); //
    EXPECT_EQ(toothAngle("360", "40"), "9");
    EXPECT_EQ(toothAngle("1", "3"), "0");
    EXPECT_EQ(toothAngle("360", "0"), "inf"); // not an error
    EXPECT_EQ(toothAngle("-1", "none"), "-inf");
    const std::string undefined = toothAngle("0", "0");
    EXPECT_NE(undefined.find("nan"), std::string::npos) << undefined;
}

TEST_F(ProgramDriver, PositionalNumbersAreThoseOfTheReference)
{
    const std::vector<Words> lines = {
        Split("-5 +6 007 8x x8 0x10 1e3 9.9 - -- 3 2147483647 a b c -2147483648"),
        Split("2147483648 4294967296 -2147483649 9999999999 9223372036854775807 9223372036854775808 -1 "
              "-9223372036854775809 16777217 33554433 3 99999999999999999999 1 1 1 -16777219"),
        {"", " 12", "\t-13 ", "\n14", "1 2", "+ 5", "-0", "--1", "+-1", "5", "2", "3", "x", "y", "z", "6"}};
    for (const Words& line : lines) {
        ASSERT_EQ(line.size(), 16u);
        const Words words = Join({Split("-n 1"), line});
        std::string expected = "params";
        for (const float value : reference::ParseCommandLine(words).params) {
            char text[40];
            std::snprintf(text, sizeof text, " %.9g", static_cast<double>(value));
            expected += text;
        }
        EXPECT_EQ(Params(words), expected);
    }
    // Some by hand: hexadecimal, exponents and fractions end at the first character that is no digit.
    EXPECT_EQ(Params(Join({Split("-n 1"), lines[0]})),
              "params 14 0 7 8 -5 6 0 0 1 9 0 0 2.14748365e+09 -2.14748365e+09");
}

TEST_F(ProgramDriver, NumbersCountByTheirLow32BitsUpTo64AndBeyondByTheNearest)
{
    const Words line = Split("4294967296 4294967301 -4294967301 9223372036854775807 -9223372036854775808 "
                             "9223372036854775808 99999999999999999999 -9223372036854775809 "
                             "-99999999999999999999 1 1 1 1 1 1 1");
    const Words params = Split(Params(Join({Split("-n 1"), line})));
    ASSERT_EQ(params.size(), 15u);
    const auto of = [&params](int name) { return params[1 + static_cast<std::size_t>(name)]; };
    using telvane::Param;
    EXPECT_EQ(of(Param::wid), "0");
    EXPECT_EQ(of(Param::hgh), "5");
    EXPECT_EQ(of(Param::cx), "-5");
    EXPECT_EQ(of(Param::cy), "-1");
    EXPECT_EQ(of(Param::innerR), "0"); // the lowest number of 64 bits
    EXPECT_EQ(of(Param::outerR), "-1");
    EXPECT_EQ(of(Param::R3), "-1");
    EXPECT_EQ(of(Param::ang1), "0");
    EXPECT_EQ(of(Param::ang2), "0");
}

TEST_F(ProgramDriver, EqualPeriodsAreOneEntry)
{
    for (const char* const options : {"-n 3 -p1 2 -p2 2", "-p2 2 -n 3 -p1 9 -p1 2"}) {
        Run(Join({Split(options), numbered}));
        EXPECT_EQ(Line("periods", Log()), "periods 2") << options;
    }
    Run(Join({Split("-n 1"), numbered}));
    EXPECT_EQ(Line("periods", Log()), "periods 1");
}

TEST_F(ProgramDriver, UnequalPeriodsTakeTurnsForEachFrame)
{
    struct Case {
        const char *options, *periods;
    };
    for (const Case& c : {Case{"-n 4 -p1 1 -p2 3", "1 3 1 3"}, Case{"-n 5 -p2 3", "1 3 1 3 1"},
                          Case{"-n 1 -p1 7", "7"}, Case{"-n 2 -p1 50 -p2 1", "50 1"}}) {
        Run(Join({Split(c.options), numbered}));
        EXPECT_EQ(Line("periods,", Log()), std::string("periods, used ") + c.periods) << c.options;
    }
}

TEST_F(ProgramDriver, MasksAreHandedOverInTheirOrder)
{
    const std::string beginning = "Mask\nseq 1280 960 1\niroi 0 0 1280 960 1\n";
    const auto masksOf = [this](const std::string& options) {
        Run(Join({Split(options), numbered}));
        const std::string log = Log();
        EXPECT_NE(log.find("Detect 1\nseq 1280 960 1, grey 1\n"), std::string::npos) << log; // blanked before
        return log.substr(0, log.find("Detect"));
    };
    EXPECT_EQ(masksOf("-n 1 -m 1 2 3 4"), beginning + "rectangle 1 2 3 4 1\n");
    EXPECT_EQ(masksOf("-m -5 6 7 8 -n 1 -m 9 10 11 12"),
              beginning + "rectangle -5 6 7 8 1\nrectangle 9 10 11 12 1\n");
    EXPECT_EQ(masksOf("-m 1 1 1 1 -m 0 0 0 0 -m x -n -s 4 -n 1"),
              beginning + "rectangle 1 1 1 1 1\nrectangle 0 0 0 0 1\nrectangle 0 0 0 4 1\n");
}

TEST_F(ProgramDriver, WithoutMasksNoneIsAskedFor)
{
    Run(Join({Split("-n 1"), numbered}));
    EXPECT_EQ(Log().find("Mask"), std::string::npos);
}

TEST_F(ProgramDriver, AnyResultIsPrintedAndOnlyZeroShowsTheRegion)
{
    for (const char* const result : {"-4", "-3", "-2", "-1", "1", "7", "-2147483648", "2147483647"}) {
        const Finished run =
            Run(Join({Split("-n 1"), numbered}), std::string(result) + " 1 2 3 4 5 0 0 0 0 0 0 0 0 0 0 0 0");
        EXPECT_EQ(run.out.substr(run.out.find("Detection")),
                  std::string("Detection ...\n ... completed\nRESULT=") + result + "\n");
    }
    const Finished run =
        Run(Join({Split("-n 1"), numbered}), "0 -5 2147483647 -2147483648 0 9 0 0 0 0 0 0 0 0 0 0 0 0");
    EXPECT_EQ(run.out.substr(run.out.find("RESULT")), "RESULT=0\nOROI=[-5,2147483647,-2147483648,0,9]\n");
}

TEST_F(ProgramDriver, PicturesAreWrittenWhateverTheResult)
{
    for (const char* const result : {"0", "-4", "3"}) {
        for (const bool save : {false, true}) {
            for (const char* const name :
                 {"detected.jpg", "hough.bmp", "img1.jpg", "u_sum_sh.bmp", "v_sum_sh.bmp"})
                std::filesystem::remove(folder / name);
            Run(Join({Split(save ? "-n 1 -s -jpg" : "-n 1 -jpg"), numbered}),
                std::string(result) + " 1 2 3 4 5  20 11  5 4  7 1  1 9  6 6  8 8");
            EXPECT_TRUE(
                HasFile(folder, "detected.jpg", reference::JpegGrey(Answer<std::uint8_t>(20, 11), 85)));
            const auto bmp = [save](int w, int h) {
                return save ? reference::BmpShort(Answer<std::int16_t>(w, h)) : reference::Bytes();
            };
            EXPECT_TRUE(HasFile(folder, "hough.bmp", bmp(5, 4)));
            EXPECT_TRUE(HasFile(folder, "u_sum_sh.bmp", bmp(7, 1)));
            EXPECT_TRUE(HasFile(folder, "v_sum_sh.bmp", bmp(1, 9)));
            // The magnitude and the background are never written.
            Words expected = {filmLog, "detected.jpg", "detection.log", "detection.txt"};
            if (save)
                expected.insert(expected.end(), {"hough.bmp", "img1.jpg", "u_sum_sh.bmp", "v_sum_sh.bmp"});
            EXPECT_EQ(FilesIn(folder), expected);
        }
    }
}

TEST_F(ProgramDriver, PicturesWithoutRowsOrColumnsAreNotWritten)
{
    for (const char* const name : {"detected.jpg", "hough.bmp", "u_sum_sh.bmp", "v_sum_sh.bmp"})
        folder.Write(name, "of an earlier run");
    const Untouched files(folder);
    for (const char* const sizes : {"0 0  0 0  0 0  0 0", "0 5  0 5  0 5  0 5", "5 0  5 0  5 0  5 0"}) {
        Run(Join({Split("-n 1 -s"), numbered}), std::string("0 1 2 3 4 5  ") + sizes + "  5 5  5 5");
        EXPECT_TRUE(files.Still()) << sizes;
    }
    // Each by itself.
    Run(Join({Split("-n 1 -s"), numbered}), "0 1 2 3 4 5  0 0  2 2  0 3  2 2  0 0  0 0");
    EXPECT_EQ(folder.Read("detected.jpg"), "of an earlier run");
    EXPECT_TRUE(HasFile(folder, "hough.bmp", reference::BmpShort(Answer<std::int16_t>(2, 2))));
    EXPECT_EQ(folder.Read("u_sum_sh.bmp"), "of an earlier run");
    EXPECT_TRUE(HasFile(folder, "v_sum_sh.bmp", reference::BmpShort(Answer<std::int16_t>(2, 2))));
}

} // namespace

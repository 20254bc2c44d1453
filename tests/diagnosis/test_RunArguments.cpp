// The command line of a run, in both directions.
#include <diagnosis/RunArguments.h>

#include <gtest/gtest.h>

#include <iterator>
#include <sstream>

using namespace telvane;

namespace {

std::vector<std::string> Words(const std::string& line)
{
    std::istringstream in(line);
    return {std::istream_iterator<std::string>(in), {}};
}

RunArguments Read(const std::string& line)
{
    RunArguments arguments;
    EXPECT_EQ(ReadRunArguments(Words(line), arguments), "") << line;
    return arguments;
}

std::string Problem(const std::string& line)
{
    RunArguments arguments;
    arguments.innerR = 77;
    const std::string problem = ReadRunArguments(Words(line), arguments);
    EXPECT_EQ(arguments.innerR, problem.empty() ? arguments.innerR : 77) << "changed by what cannot be read";
    return problem;
}

TEST(RunArguments, EveryWordHasItsPlace)
{
    const RunArguments read = Read("-l 12 -s -jpg -p1 2 -p2 1 -m 1 2 3 4 -m 5 6 7 8 "
                                   "560 550 281 282 216 250 -1 10 350 360 40 -1 0 0 0 -50");
    EXPECT_TRUE(read.files && read.save && read.jpeg);
    EXPECT_EQ(read.count, 12);
    EXPECT_EQ(read.period1, 2);
    EXPECT_EQ(read.period2, 1);
    ASSERT_EQ(read.masks.size(), 2U);
    EXPECT_EQ(read.masks[1].left, 5);
    EXPECT_EQ(read.masks[1].top, 6);
    EXPECT_EQ(read.masks[1].width, 7);
    EXPECT_EQ(read.masks[1].height, 8);
    EXPECT_EQ(read.width, 560);
    EXPECT_EQ(read.height, 550);
    EXPECT_EQ(read.centreX, 281);
    EXPECT_EQ(read.centreY, 282);
    EXPECT_EQ(read.innerR, 216);
    EXPECT_EQ(read.outerR, 250);
    EXPECT_EQ(read.HowSearched(), Method::ring);
    EXPECT_EQ(read.angle1, 10);
    EXPECT_EQ(read.angle2, 350);
    EXPECT_EQ(read.teeth, 40);
    EXPECT_EQ(read.Told(), Sense::counterClockwise);
    EXPECT_EQ(read.background, -50);
}

TEST(RunArguments, WhatIsWrittenReadsBack)
{
    for (const char* line :
         {"-l 12 -s -jpg -p1 2 -m 1 2 3 4 -m -5 6 7 8 560 550 281 282 216 250 0 10 350 360 40 -1 0 0 0 -50",
          "-l 50 -jpg -p2 50 1 2 3 4 5 6 7 8 9 10 11 -12 0 0 0 14",
          "-n 1 -s -p1 50 1 2 3 4 5 6 -7 -8 -9 -10 11 12 0 0 0 0",
          "-n 15 1 2 3 4 5 6 7 8 9 10 11 12 0 0 0 0"}) {
        EXPECT_EQ(Read(line).CommandLine(), std::string("Telvane ") + line);
    }
}

TEST(RunArguments, SenseAndMethodGoByTheSignOfTheirNumbers)
{
    RunArguments run;
    for (const auto& [turn, told] : {std::pair{0, std::optional<Sense>()},
                                     {1, Sense::clockwise},
                                     {7, Sense::clockwise},
                                     {-1, Sense::counterClockwise}}) {
        run.turn = turn;
        EXPECT_EQ(run.Told(), told) << turn;
    }
    for (const auto& [offset, method] :
         {std::pair{-1, Method::ring}, {0, Method::votes}, {1, Method::votes}}) {
        run.offset = offset;
        EXPECT_EQ(run.HowSearched(), method) << offset;
    }
    EXPECT_STREQ(Name(Method::ring), "ring");
    EXPECT_STREQ(Name(Method::votes), "votes");
}

TEST(RunArguments, LaterOptionsReplaceAndFurtherWordsAreIgnored)
{
    const RunArguments read = Read("-l 3 -n 4 1 2 3 4 5 6 -1 0 360 360 40 0 0 0 0 0 -m more");
    EXPECT_FALSE(read.files);
    EXPECT_EQ(read.count, 4);
    EXPECT_FALSE(read.Told());
}

TEST(RunArguments, WhatCannotBeReadIsNamed)
{
    const std::string rest = " 2 3 4 5 6 -1 0 360 360 40 0 0 0 0";
    EXPECT_EQ(Problem("3OO" + rest + " 0"), "<wid>: '3OO' is not a whole number");
    EXPECT_EQ(Problem("1" + rest), "<bkgCorr> is missing");
    EXPECT_EQ(Problem("-l"), "-l is missing");
    EXPECT_EQ(Problem("-l 51 1" + rest + " 0"), "-l: 51 is not from 1 to 50");
    EXPECT_EQ(Problem("-l 0 1" + rest + " 0"), "-l: 0 is not from 1 to 50");
    EXPECT_EQ(Problem("-p2 51 1" + rest + " 0"), "-p2: 51 is not from 1 to 50");
    EXPECT_EQ(Problem("-l 50 -p1 50 -p2 1 1" + rest + " 0"), "");
    EXPECT_EQ(Problem("-m 1 2 3 x 1" + rest + " 0"), "-m: 'x' is not a whole number");
    EXPECT_EQ(Problem("-m 1 1 1 1 -m 1 1 1 1 -m 1 1 1 1 -m 1 1 1 1 1" + rest + " 0"),
              "-m is given more than three times");
    EXPECT_EQ(Problem("99999999999" + rest + " 0"), "<wid>: '99999999999' is not a whole number");
}

TEST(RunArguments, TimesCountComparedSteps)
{
    RunArguments run;
    run.count = 4;
    run.period1 = run.period2 = 3;
    EXPECT_EQ(run.Times(), (std::vector{0, 1, 2, 3}));
    run.period2 = 1;
    EXPECT_EQ(run.Times(), (std::vector{0, 3, 4, 7}));
    run.period1 = 1;
    run.period2 = 5;
    EXPECT_EQ(run.Times(), (std::vector{0, 1, 6, 7}));
}

TEST(ShellWord, QuotesWhatAShellWouldChange)
{
    EXPECT_EQ(ShellWord("img/1.bmp"), "img/1.bmp");
    EXPECT_EQ(ShellWord(""), "''");
    EXPECT_EQ(ShellWord("a b"), "'a b'");
    for (const char c : {'*', '?', '$', '~', '#', '&', ';', '<', '>', '|', '(', '"', '`', '!', '\\', '\n'})
        EXPECT_EQ(ShellWord(std::string("a") + c), std::string("'a") + c + "'");
    EXPECT_EQ(ShellWord("aZ09-_=+,./:@%"), "aZ09-_=+,./:@%");
    EXPECT_EQ(ShellWord("it's $HOME"), "'it'\\''s $HOME'");
}

} // namespace

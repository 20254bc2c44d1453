// The program's output, as it is read.
#include <run/Output.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace telvane;

namespace {

RunArguments Arguments()
{
    RunArguments a;
    a.width = 560;
    a.height = 540;
    return a;
}

std::string Problem(const std::string& text)
{
    Output output;
    return ReadOutput(text, Arguments(), output);
}

const std::string before = "Loading images ...\n ... completed\nDetection ...\n ... completed\n";

TEST(RunOutput, TheRegionIsRead)
{
    Output output;
    EXPECT_EQ(ReadOutput(before + "RESULT=0\nOROI=[373,192,560,540,1]\n", Arguments(), output), "");
    EXPECT_EQ(output.result, 0);
    ASSERT_TRUE(output.region);
    EXPECT_EQ(output.region->left, 373);
    EXPECT_EQ(output.region->top, 192);
    EXPECT_EQ(output.region->width, 560);
    EXPECT_EQ(output.region->height, 540);
}

TEST(RunOutput, AResultWithoutRegionIsRead)
{
    for (int result = -4; result < 0; result++) {
        Output output;
        EXPECT_EQ(ReadOutput(before + "RESULT=" + std::to_string(result) + "\n", Arguments(), output), "");
        EXPECT_EQ(output.result, result);
        EXPECT_FALSE(output.region);
    }
}

TEST(RunOutput, RegionsEndAPixelInsideTheFrame)
{
    for (const char* inside : {"0,0", "719,419"})
        EXPECT_EQ(Problem(before + "RESULT=0\nOROI=[" + inside + ",560,540,1]\n"), "");
    for (const char* outside : {"720,0", "0,420", "-1,0", "0,-1", "2147483647,0", "0,-2147483648"})
        EXPECT_NE(Problem(before + "RESULT=0\nOROI=[" + outside + ",560,540,1]\n"), "") << outside;
}

TEST(RunOutput, AnythingElseIsRefused)
{
    const std::string region = "OROI=[373,192,560,540,1]\n", zero = "RESULT=0\n";
    for (const std::string& text : std::vector<std::string>{"",
                                                            "\n",
                                                            before,
                                                            "RESULT=0",
                                                            zero,
                                                            zero + region.substr(0, region.size() - 1),
                                                            zero + region + "\n",
                                                            zero + region + region,
                                                            zero + zero + region,
                                                            "RESULT=1\n" + region,
                                                            "RESULT=-5\n",
                                                            "RESULT=-4\n" + region,
                                                            "RESULT=-4\nmore\n",
                                                            "RESULT=-4",
                                                            "RESULT=00\n" + region,
                                                            "RESULT=+0\n" + region,
                                                            "RESULT=-0\n" + region,
                                                            "RESULT= 0\n" + region,
                                                            "RESULT=\n" + region,
                                                            "RESULT=0 \n" + region,
                                                            "RESULT=0x0\n" + region,
                                                            "result=0\n" + region,
                                                            " RESULT=0\n" + region,
                                                            "RESULT=0\r\n" + region,
                                                            region + zero,
                                                            zero + "more\n" + region,
                                                            zero + "OROI=[]\n",
                                                            zero + "OROI=[373,192,560,540]\n",
                                                            zero + "OROI=[373,192,560,540,0]\n",
                                                            zero + "OROI=[373,192,560,540,1,1]\n",
                                                            zero + "OROI=[373,192,560,541,1]\n",
                                                            zero + "OROI=[373,192,561,540,1]\n",
                                                            zero + "OROI=[0373,192,560,540,1]\n",
                                                            zero + "OROI=[373, 192,560,540,1]\n",
                                                            zero + "OROI=[+373,192,560,540,1]\n",
                                                            zero + "OROI=[373,192,560,540,1] \n",
                                                            zero + "OROI=[373,192,560,540,1\n",
                                                            zero + "OROI=[9999999999,1,560,540,1]\n",
                                                            zero + region + std::string(1, '\0')})
        EXPECT_NE(Problem(text), "") << text;
}

TEST(RunOutput, ARefusalLeavesWhatWasThere)
{
    Output output;
    output.result = 7;
    EXPECT_NE(ReadOutput("RESULT=0\n", Arguments(), output), "");
    EXPECT_EQ(output.result, 7);
}

} // namespace

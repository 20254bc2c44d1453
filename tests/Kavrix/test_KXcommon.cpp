// The fail-stop line and its halt, the trace stack, pixel formats, index ranges.
#include <Kavrix/HaltHook.h>
#include <Kavrix/KXcommon.h>
#include <Kavrix/KXubyte.h>

#include <tests/support/ChildProcess.h>

#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <memory>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <vector>

namespace {

/// The composed line, or "(unformatted)".
std::string Composed(int errorCode, const std::string& message)
{
    char line[kavrix::errorLineSize];
    std::memset(line, 'x', sizeof line);
    return kavrix::ComposeErrorLine(line, errorCode, message.c_str()) ? std::string(line) : "(unformatted)";
}

const std::string stamp = "01/01 00:00:00.000 > -999 Err1 in";

/// So many nested traces that end in the reverse order of their beginning.
class Traces {
public:
    ~Traces()
    {
        while (!traces.empty()) Pop();
    }
    void Push(const char* name) { traces.push_back(std::make_unique<Trace>(name)); }
    void Pop() { traces.pop_back(); }

private:
    std::vector<std::unique_ptr<Trace>> traces;
};

// ---------------------------------------------------------------------------------- the line

TEST(ErrorLine, WithoutTraceNamesNoRoutine)
{
    EXPECT_EQ(Composed(1, "RNG: Invalid range selection"),
              "01/01 00:00:00.000 > -999 Err1 in: RNG: Invalid range selection");
}

TEST(ErrorLine, NamesTheTracedRoutineWithItsDepth)
{
    Trace trace("OF_Norm");
    EXPECT_EQ(Composed(1, "RNG: Invalid range selection"),
              "01/01 00:00:00.000 > -999 Err1 in 0:OF_Norm: RNG: Invalid range selection");
}

TEST(ErrorLine, NamesOneToThreeRoutinesInOrder)
{
    Trace a("a");
    EXPECT_EQ(Composed(1, "m"), stamp + " 0:a: m");
    Trace b("b");
    EXPECT_EQ(Composed(1, "m"), stamp + " 0:a 1:b: m");
    Trace c("c");
    EXPECT_EQ(Composed(1, "m"), stamp + " 0:a 1:b 2:c: m");
}

TEST(ErrorLine, FourTracesLeaveOutTheOutermost)
{
    Trace a("a"), b("b"), c("c"), d("d");
    EXPECT_EQ(Composed(1, "m"), stamp + " 1:b 2:c 3:d: m");
}

TEST(ErrorLine, DepthsOfTwoDigits)
{
    Traces traces;
    for (int i = 0; i < 100; i++) traces.Push("r");
    EXPECT_EQ(Composed(1, "m"), stamp + " 97:r 98:r 99:r: m");
}

TEST(ErrorLine, CodesOfAnySize)
{
    EXPECT_EQ(Composed(0, "m"), "01/01 00:00:00.000 > -999 Err0 in: m");
    EXPECT_EQ(Composed(-7, "m"), "01/01 00:00:00.000 > -999 Err-7 in: m");
    EXPECT_EQ(Composed(INT_MAX, "m"), "01/01 00:00:00.000 > -999 Err2147483647 in: m");
}

TEST(ErrorLine, EmptyMessage) { EXPECT_EQ(Composed(1, ""), stamp + ": "); }

TEST(ErrorLine, MessageOf139CharactersIsFormattedInFull)
{
    const std::string message(139, 'm');
    EXPECT_EQ(Composed(1, message), stamp + ": " + message);
}

TEST(ErrorLine, MessageOf140CharactersIsTooLong)
{
    EXPECT_EQ(Composed(1, std::string(140, 'm')), stamp + ": [message too long]");
    EXPECT_EQ(Composed(1, std::string(5000, 'm')), stamp + ": [message too long]");
}

TEST(ErrorLine, MessageAndContextShareThe139Characters)
{
    Trace trace("OF_Norm"); // " 0:OF_Norm" has 10 characters
    EXPECT_EQ(Composed(1, std::string(129, 'm')), stamp + " 0:OF_Norm: " + std::string(129, 'm'));
    EXPECT_EQ(Composed(1, std::string(130, 'm')), stamp + " 0:OF_Norm: [message too long]");
}

TEST(ErrorLine, MessageWithPercentSignsIsText)
{
    EXPECT_EQ(Composed(1, "100%d %s%n"), stamp + ": 100%d %s%n");
}

TEST(ErrorLine, ContextIsCutToItsBuffer)
{
    const std::string name(40, 'n');
    Trace a(name.c_str()), b(name.c_str()), c(name.c_str());
    const std::string context = (" 0:" + name + " 1:" + name + " 2:" + name).substr(0, 99);
    EXPECT_EQ(Composed(1, std::string(40, 'm')), stamp + context + ": " + std::string(40, 'm'));
    EXPECT_EQ(Composed(1, std::string(41, 'm')), stamp + context + ": [message too long]");
}

TEST(ErrorLine, ContextThatJustFitsIsWhole)
{
    const std::string name(96, 'n'); // " 0:" and 96 characters and the closing 0
    Trace a(name.c_str());
    EXPECT_EQ(Composed(1, "m"), stamp + " 0:" + name + ": m");
    Trace b("b");
    EXPECT_EQ(Composed(1, "m"), stamp + " 0:" + name + ": m"); // no room for the second
}

TEST(ErrorLine, NameLongerThanTheBufferIsCut)
{
    const std::string name(1000, 'n');
    Trace a(name.c_str());
    EXPECT_EQ(Composed(1, "m"), stamp + " 0:" + std::string(96, 'n') + ": m");
}

TEST(ErrorLine, RestOfTheBufferKeepsItsFilling)
{
    char line[kavrix::errorLineSize];
    std::memset(line, 'x', sizeof line);
    ASSERT_TRUE(kavrix::ComposeErrorLine(line, 1, "m"));
    const std::string text = stamp + ": m";
    ASSERT_EQ(std::string(line), text);
    for (std::size_t i = text.size() + 1; i < sizeof line; i++)
        ASSERT_EQ(static_cast<unsigned char>(line[i]), 0xFF) << i;
}

TEST(ErrorLine, LongestPossibleLineStaysInItsBuffer)
{
    struct {
        char before[16];
        char line[kavrix::errorLineSize];
        char after[16];
    } guarded;
    std::memset(&guarded, 'g', sizeof guarded);
    // 33 characters of stamp with the code's 11 for its 1, ": ", 139 of the message: more than the line has.
    ASSERT_TRUE(kavrix::ComposeErrorLine(guarded.line, INT_MIN, std::string(139, 'm').c_str()));
    EXPECT_EQ(std::string(guarded.line).size(), std::size_t{kavrix::errorLineSize} - 1);
    EXPECT_EQ(std::string(guarded.line).substr(0, 47), "01/01 00:00:00.000 > -999 Err-2147483648 in: mm");
    EXPECT_EQ(std::string(guarded.before, 16), std::string(16, 'g'));
    EXPECT_EQ(std::string(guarded.after, 16), std::string(16, 'g'));
}

// ---------------------------------------------------------------------------------- the halt

TEST(error, WritesItsLineAndHalts)
{
    const FailStop stop = RunUntilHalt([] { error(1, "RNG: Invalid range selection"); });
    EXPECT_TRUE(stop.halted) << stop.state;
    EXPECT_EQ(stop.err, "01/01 00:00:00.000 > -999 Err1 in: RNG: Invalid range selection\n");
    EXPECT_EQ(stop.out, "");
}

TEST(error, WritesTheTraceOfTheMoment)
{
    const FailStop stop = RunUntilHalt([] {
        Trace a("a"), b("b"), c("c"), d("d");
        {
            Trace gone("gone");
        }
        error(7, "m");
    });
    EXPECT_TRUE(stop.halted) << stop.state;
    EXPECT_EQ(stop.err, "01/01 00:00:00.000 > -999 Err7 in 1:b 2:c 3:d: m\n");
}

TEST(error, WritesTheTooLongForm)
{
    const FailStop stop = RunUntilHalt([] { error(1, std::string(140, 'm').c_str()); });
    EXPECT_TRUE(stop.halted) << stop.state;
    EXPECT_EQ(stop.err, stamp + ": [message too long]\n");
}

TEST(error, HaltsThoughASignalHandlerReturns)
{
    const FailStop stop = RunUntilHalt([] {
        std::signal(SIGALRM, [](int) {});
        ualarm(30000, 0);
        error(1, "m");
    });
    EXPECT_TRUE(stop.halted) << stop.state;
    EXPECT_EQ(stop.err, stamp + ": m\n");
}

TEST(gassert, HaltsSilently)
{
    const FailStop stop = RunUntilHalt([] { gassert(4000000000u, "KXcommon.cpp"); });
    EXPECT_TRUE(stop.halted) << stop.state;
    EXPECT_EQ(stop.err, "");
    EXPECT_EQ(stop.out, "");
}

TEST(gassert, FileNameLongerThanItsBufferHaltsAsWell)
{
    const FailStop stop = RunUntilHalt([] { gassert(1, std::string(1000, 'f').c_str()); });
    EXPECT_TRUE(stop.halted) << stop.state;
    EXPECT_EQ(stop.err, "");
}

// ---------------------------------------------------------------------------------- the trace stack

TEST(Trace, StartsEmptyAndFollowsTheScopes)
{
    EXPECT_EQ(Trace::getLevel(), 0);
    {
        const char* const outer = "outer";
        Trace a(outer);
        EXPECT_EQ(Trace::getLevel(), 1);
        EXPECT_EQ(Trace::getMsg(0), outer); // the pointer itself, not a copy of the name
        {
            Trace b("inner");
            EXPECT_EQ(Trace::getLevel(), 2);
            EXPECT_STREQ(Trace::getMsg(1), "inner");
        }
        EXPECT_EQ(Trace::getLevel(), 1);
        EXPECT_EQ(Trace::getMsg(0), outer);
    }
    EXPECT_EQ(Trace::getLevel(), 0);
}

TEST(Trace, ItsStackIsOpenToAll)
{
    Trace a("a");
    EXPECT_EQ(Trace::level, 1);
    EXPECT_STREQ(Trace::msgarr[0], "a");
    EXPECT_EQ(std::size(Trace::msgarr), 100u);
    EXPECT_TRUE(std::is_empty_v<Trace>);
}

TEST(Trace, The101stIsNotStored)
{
    Traces traces;
    for (int i = 0; i < 100; i++) traces.Push("stored");
    EXPECT_EQ(Trace::getLevel(), 100);
    traces.Push("surplus");
    EXPECT_EQ(Trace::getLevel(), 100);
    for (int i = 0; i < 100; i++) EXPECT_STREQ(Trace::getMsg(i), "stored");
}

TEST(Trace, SurplusDestructorsPopStoredNames)
{
    Traces traces;
    for (int i = 0; i < 103; i++) traces.Push(i < 100 ? "stored" : "surplus");
    traces.Pop();
    traces.Pop();
    traces.Pop();
    EXPECT_EQ(Trace::getLevel(), 97); // out of step: a hundred are alive
    traces.Push("late");
    EXPECT_EQ(Trace::getLevel(), 98);
    EXPECT_STREQ(Trace::getMsg(97), "late");
    EXPECT_EQ(Composed(1, "m"), stamp + " 95:stored 96:stored 97:late: m");
}

TEST(Trace, NeverFallsBelowZero)
{
    {
        Traces traces;
        for (int i = 0; i < 120; i++) traces.Push("r");
    } // 120 pops of 100 names
    EXPECT_EQ(Trace::getLevel(), 0);
    Trace a("a");
    EXPECT_EQ(Trace::getLevel(), 1);
    EXPECT_STREQ(Trace::getMsg(0), "a");
}

// ---------------------------------------------------------------------------------- pixel formats

TEST(BytesPerPixel, OfEveryFormat)
{
    EXPECT_EQ(BytesPerPixel(PIX_FMT_Y8), 1);
    EXPECT_EQ(BytesPerPixel(PIX_FMT_Y16), 2);
    EXPECT_EQ(BytesPerPixel(PIX_FMT_FLOAT), 4);
    EXPECT_EQ(BytesPerPixel(PIX_FMT_RGB24), 3);
    EXPECT_EQ(BytesPerPixel(PIX_FMT_BGR24), 3);
    EXPECT_EQ(BytesPerPixel(PIX_FMT_HSV24), 3);
    EXPECT_EQ(BytesPerPixel(PIX_FMT_BAYER), 2);
    EXPECT_EQ(BytesPerPixel(PIX_FMT_Y32), 4);
}

TEST(BytesPerPixel, FormatsHaveTheirNumbers)
{
    const int expected[] = {-1, 1, 2, 4, 3, 3, 3, 2, 4};
    for (int format = 0; format <= 8; format++) EXPECT_EQ(BytesPerPixel(format), expected[format]) << format;
    EXPECT_EQ(PIX_FMT_NONE, 0);
    EXPECT_EQ(PIX_FMT_Y8, 1);
    EXPECT_EQ(PIX_FMT_Y16, 2);
    EXPECT_EQ(PIX_FMT_FLOAT, 3);
    EXPECT_EQ(PIX_FMT_RGB24, 4);
    EXPECT_EQ(PIX_FMT_BGR24, 5);
    EXPECT_EQ(PIX_FMT_HSV24, 6);
    EXPECT_EQ(PIX_FMT_BAYER, 7);
    EXPECT_EQ(PIX_FMT_Y32, 8);
}

TEST(BytesPerPixel, UnknownFormatsGiveMinusOne)
{
    for (int format : {PIX_FMT_NONE + 0, 9, 10, 255, 257, -1, INT_MIN, INT_MAX})
        EXPECT_EQ(BytesPerPixel(format), -1) << format;
}

// ---------------------------------------------------------------------------------- ranges

const std::string invalidRange = ErrorLine("RNG: Invalid range selection");

void ExpectInvalidRange(const std::function<void()>& routine, const std::string& what)
{
    const FailStop stop = RunUntilHalt(routine);
    EXPECT_TRUE(stop.halted) << what << ": " << stop.state;
    EXPECT_EQ(stop.line, invalidRange) << what;
}

void ExpectRange(const RNG& r, int from, int to, int step)
{
    EXPECT_EQ(r.from, from);
    EXPECT_EQ(r.to, to);
    EXPECT_EQ(r.step, step);
}

TEST(RNG, TwoNumbersStepByOne)
{
    ExpectRange(RNG(2, 7), 2, 7, 1);
    ExpectRange(RNG(0, 0), 0, 0, 1);
    ExpectRange(RNG(0, INT_MAX), 0, INT_MAX, 1);
    ExpectRange(RNG(INT_MAX, INT_MAX), INT_MAX, INT_MAX, 1);
    ExpectRange(RNG::All(), 0, 2147483647, 1);
}

TEST(RNG, WrongEndsHalt)
{
    ExpectInvalidRange([] { RNG(2, 1); }, "RNG(2, 1)");
    ExpectInvalidRange([] { RNG(-1, 4); }, "RNG(-1, 4)");
    ExpectInvalidRange([] { RNG(0, -1); }, "RNG(0, -1)");
    ExpectInvalidRange([] { RNG(INT_MIN, INT_MAX); }, "RNG(lowest, highest)");
}

TEST(RNG, StepsUpAndDown)
{
    ExpectRange(RNG(0, 5, 2), 0, 5, 2);
    ExpectRange(RNG(5, 0, -1), 5, 0, -1);
    ExpectRange(RNG(4, 4, -3), 4, 4, -3);
    ExpectRange(RNG(4, 4, 3), 4, 4, 3);
}

TEST(RNG, SteppedRangesThatLeadNowhereHalt)
{
    ExpectInvalidRange([] { RNG(0, 5, 0); }, "step 0");
    ExpectInvalidRange([] { RNG(0, 5, -1); }, "upwards by a negative step");
    ExpectInvalidRange([] { RNG(5, 0, 1); }, "downwards by a positive step");
    ExpectInvalidRange([] { RNG(5, -1, -1); }, "down past 0");
    ExpectInvalidRange([] { RNG(-2, 4, 2); }, "from below 0");
    RNG still(0, 5);
    still.step = 0;
    ExpectInvalidRange([&] { still.Size(); }, "step 0, counted");
    const MatByte m(8, 8);
    ExpectInvalidRange([&] { m(still, RNG::All()); }, "step 0, of columns");
}

TEST(RNG, SizeCountsIndices)
{
    EXPECT_EQ(RNG(3, 3).Size(), 1);
    EXPECT_EQ(RNG(2, 7).Size(), 6);
    EXPECT_EQ(RNG(0, INT_MAX - 1).Size(), INT_MAX);
    EXPECT_EQ(RNG(0, 5, 2).Size(), 3);
    EXPECT_EQ(RNG(0, 6, 2).Size(), 4);
    EXPECT_EQ(RNG(5, 0, -1).Size(), 6);
    EXPECT_EQ(RNG(5, 0, -2).Size(), 3);
    EXPECT_EQ(RNG(0, 5, 100).Size(), 1);
    EXPECT_EQ(RNG(INT_MAX - 1, 0, INT_MIN).Size(), 1);
}

TEST(RNG, CopiesAreIndependent)
{
    RNG a(1, 9, 3);
    RNG b = a;
    a.from = 7;
    ExpectRange(b, 1, 9, 3);
    b = a;
    ExpectRange(b, 7, 9, 3);
}

TEST(RNG, InsideComparesIntervals)
{
    EXPECT_TRUE(RNG(2, 5).inside(RNG(2, 5)));
    EXPECT_TRUE(RNG(3, 4).inside(RNG(2, 5)));
    EXPECT_FALSE(RNG(1, 4).inside(RNG(2, 5)));
    EXPECT_FALSE(RNG(3, 6).inside(RNG(2, 5)));
    EXPECT_FALSE(RNG(2, 5).inside(RNG(3, 4)));
    EXPECT_FALSE(RNG(7, 9).inside(RNG(2, 5)));
    EXPECT_TRUE(RNG(5, 2, -1).inside(RNG(2, 5))); // direction and step do not matter
    EXPECT_TRUE(RNG(3, 4).inside(RNG(5, 2, -1)));
    EXPECT_FALSE(RNG(6, 2, -1).inside(RNG(2, 5)));
    EXPECT_TRUE(RNG(0, 1000).inside(RNG::All()));
    EXPECT_TRUE(RNG::All().inside(RNG::All()));
    EXPECT_FALSE(RNG::All().inside(RNG(0, 1000)));
}

TEST(RNG, GetRngReadsRanges)
{
    ExpectRange(RNG::GetRng("7"), 7, 7, 1);
    ExpectRange(RNG::GetRng("2:9"), 2, 9, 1);
    ExpectRange(RNG::GetRng("2:9:3"), 2, 9, 3);
    ExpectRange(RNG::GetRng("9:2:-1"), 9, 2, -1);
    ExpectRange(RNG::GetRng(":"), 0, INT_MAX, 1);
    ExpectRange(RNG::GetRng("4:"), 4, INT_MAX, 1);
    ExpectRange(RNG::GetRng(":4"), 0, 4, 1);
    ExpectRange(RNG::GetRng("4::2"), 4, INT_MAX, 2);
    ExpectRange(RNG::GetRng("  2 : 9 : 3  "), 2, 9, 3);
    ExpectRange(RNG::GetRng("0:2147483647"), 0, INT_MAX, 1);
    ExpectRange(RNG::GetRng("9:2:-2147483648"), 9, 2, INT_MIN);
}

TEST(RNG, GetRngHaltsOnAnythingElse)
{
    const char* const wrong[] = {"",
                                 " ",
                                 "x",
                                 "1x",
                                 "1:2:3:4",
                                 "9:2",
                                 "-1:4",
                                 "2:9:0",
                                 "2:9:-1",
                                 "2:9:",
                                 "1 2",
                                 "2147483648",
                                 "1;2",
                                 "\n2",
                                 "2:\t9",
                                 "-4294967295:5",
                                 "-2147483648:5",
                                 "5:-2147483648"};
    for (const char* text : wrong)
        ExpectInvalidRange([=] { RNG::GetRng(text); }, std::string("\"") + text + "\"");
    ExpectInvalidRange([] { RNG::GetRng(nullptr); }, "no text");
}

TEST(AOI, HoldsColumnsAndRows)
{
    const AOI a(1, 4, 2, 9);
    ExpectRange(a.rng1, 1, 4, 1);
    ExpectRange(a.rng2, 2, 9, 1);
    const AOI b(RNG(0, 8, 2), RNG(5, 0, -1));
    ExpectRange(b.rng1, 0, 8, 2);
    ExpectRange(b.rng2, 5, 0, -1);
    const AOI c = b;
    ExpectRange(c.rng1, 0, 8, 2);
    ExpectRange(c.rng2, 5, 0, -1);
}

TEST(AOI, WrongEndsHalt)
{
    ExpectInvalidRange([] { AOI(2, 1, 0, 4); }, "columns");
    ExpectInvalidRange([] { AOI(0, 4, 2, 1); }, "rows");
}

TEST(AOI, InsideNeedsBothDirections)
{
    const AOI outer(2, 8, 3, 9);
    EXPECT_TRUE(outer.inside(outer));
    EXPECT_TRUE(AOI(3, 7, 4, 8).inside(outer));
    EXPECT_FALSE(AOI(1, 7, 4, 8).inside(outer));
    EXPECT_FALSE(AOI(3, 7, 4, 10).inside(outer));
}

TEST(VOI, HoldsColumnsRowsAndFrames)
{
    const VOI v(1, 4, 2, 9, 3, 3);
    ExpectRange(v.rng1, 1, 4, 1);
    ExpectRange(v.rng2, 2, 9, 1);
    ExpectRange(v.rng3, 3, 3, 1);
    const VOI w(RNG(0, 8, 2), RNG(5, 0, -1), RNG(1, 2));
    const VOI u = w;
    ExpectRange(u.rng1, 0, 8, 2);
    ExpectRange(u.rng2, 5, 0, -1);
    ExpectRange(u.rng3, 1, 2, 1);
}

TEST(VOI, WrongEndsHalt)
{
    ExpectInvalidRange([] { VOI(0, 1, 0, 1, 3, 2); }, "frames");
}

TEST(VOI, InsideNeedsAllDirections)
{
    const VOI outer(2, 8, 3, 9, 0, 4);
    EXPECT_TRUE(outer.inside(outer));
    EXPECT_TRUE(VOI(3, 7, 4, 8, 1, 2).inside(outer));
    EXPECT_FALSE(VOI(1, 7, 4, 8, 1, 2).inside(outer));
    EXPECT_FALSE(VOI(3, 7, 2, 8, 1, 2).inside(outer));
    EXPECT_FALSE(VOI(3, 7, 4, 8, 1, 5).inside(outer));
}

// ---------------------------------------------------------------------------------- instead of halting

/// No hook outlives its test.
class Hooked {
public:
    explicit Hooked(kavrix::HaltHook hook) { kavrix::SetHaltHook(hook); }
    ~Hooked() { kavrix::SetHaltHook(nullptr); }
};

TEST(HaltHook, IsCalledInPlaceOfTheLineAndMayLeaveByAnException)
{
    const Hooked hooked([](int code, const char* message) {
        throw std::runtime_error(std::to_string(code) + " " + message);
    });
    testing::internal::CaptureStderr();
    std::string said;
    try {
        RNG(2, 1);
    } catch (const std::runtime_error& left) {
        said = left.what();
    }
    EXPECT_EQ(said, "1 RNG: Invalid range selection");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST(HaltHook, IsThereFromWhenItIsSet)
{
    EXPECT_FALSE(kavrix::HasHaltHook());
    {
        const Hooked hooked([](int, const char*) {});
        EXPECT_TRUE(kavrix::HasHaltHook());
    }
    EXPECT_FALSE(kavrix::HasHaltHook());
}

TEST(HaltHook, WhereItReturnsTheHaltFollows)
{
    const FailStop stop = RunUntilHalt([] {
        kavrix::SetHaltHook([](int, const char*) { std::fputs("hook\n", stderr); });
        RNG(2, 1);
    });
    EXPECT_TRUE(stop.halted) << stop.state;
    EXPECT_EQ(stop.err, "hook\n" + ErrorLine("RNG: Invalid range selection") + "\n");
}

TEST(HaltHook, WithoutItTheHaltIsAsBefore)
{
    const FailStop stop = RunUntilHalt([] {
        kavrix::SetHaltHook([](int, const char*) { _exit(3); });
        kavrix::SetHaltHook(nullptr);
        RNG(2, 1);
    });
    EXPECT_TRUE(stop.halted) << stop.state;
    EXPECT_EQ(stop.err, ErrorLine("RNG: Invalid range selection") + "\n");
}

} // namespace

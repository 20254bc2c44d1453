// Command lines of the tools, and how tools end. Each is read in a child, which is what ends.
#include <tools/CommandLine.h>

#include <Kavrix/inner/NotEnoughMemory.h>

#include <tests/support/ChildProcess.h>

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <functional>
#include <new>
#include <optional>
#include <string>
#include <thread>
#include <vector>

using namespace telvane;

namespace {

using Words = std::vector<std::string>;
using Body = int (*)(int argc, char** argv);

/// What a tool with this body does with these words.
Finished Ran(Body body, const Words& words, const std::function<void()>& before = {})
{
    child_process::Child child(
        [&] {
            if (before) before();
            Words all = {"tool"};
            all.insert(all.end(), words.begin(), words.end());
            std::vector<char*> argv;
            for (std::string& word : all) argv.push_back(word.data());
            std::exit(Tool("tool", 9).Run(body, static_cast<int>(argv.size()), argv.data()));
        },
        "");
    while (!child.Ended()) child.Read(std::chrono::milliseconds(5));
    while (child.Read(std::chrono::milliseconds(0))) {
    }
    Finished finished;
    finished.status = WIFEXITED(child.Status()) ? WEXITSTATUS(child.Status()) : -1;
    finished.out = child.out;
    finished.err = child.err;
    return finished;
}

/// Prints what it read.
template <bool takesRest> int Print(int argc, char** argv)
{
    CommandLine line("tool", "Does nothing.", "\nThe end.");
    std::optional<std::string> word, number;
    Words words;
    bool flag = false;
    std::optional<Words> rest;
    line.Word("--word", "W", "a word", word, "Words");
    line.Word("--number", "N", "a number", number);
    line.Words("--words", "W", "words", words);
    line.Flag("--flag", "a flag", flag, "Words");
    if (takesRest) line.Rest(rest);
    line.Read(argc, argv);
    std::printf("%s %d %d", word ? word->c_str() : "none", flag,
                number ? line.Integer("--number", *number, 2, 5) : 0);
    for (const std::string& w : words) std::printf(" %s", w.c_str());
    if (rest) std::printf(" |");
    for (const std::string& w : rest.value_or(Words())) std::printf(" %s", w.c_str());
    return FlushOutput("tool") ? 0 : 1;
}

std::string Printed(const Words& words)
{
    const Finished run = Ran(Print<true>, words);
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.err, "");
    return run.out;
}

void ExpectRefused(const Finished& run, const std::string& problem)
{
    EXPECT_EQ(run.status, 2) << problem;
    EXPECT_EQ(run.out, "") << problem;
    EXPECT_EQ(run.err, "tool: " + problem + "\n");
}

void ToFull() { SendOutputTo("/dev/full"); }

TEST(CommandLine, TheLastWordCountsAndOfSeveralAllInTheirOrder)
{
    EXPECT_EQ(Printed({}), "none 0 0");
    EXPECT_EQ(Printed({"--word", "a", "--flag", "--word=b"}), "b 1 0");
    EXPECT_EQ(Printed({"--words", "a", "--word", "x", "--words=b", "--words", "a"}), "x 0 0 a b a");
    EXPECT_EQ(Printed({"--word", "-5", "--words", "-"}), "-5 0 0 -") << "one dash is no option";
    EXPECT_EQ(Printed({"--word==", "--flag", "--flag"}), "= 1 0");
}

TEST(CommandLine, BehindTwoDashesEverythingIsTakenAsItIs)
{
    EXPECT_EQ(Printed({"--flag", "--", "--word", "", "--", "x"}), "none 1 0 | --word  -- x");
    EXPECT_EQ(Printed({"--", "--flag=1"}), "none 0 0 | --flag=1");
    EXPECT_EQ(Printed({"--"}), "none 0 0 |");
    ExpectRefused(Ran(Print<false>, {"--flag", "--", "x"}), "there is no option '--'");
}

TEST(CommandLine, WhatCannotBeReadIsOneLineAndStatusTwo)
{
    for (const auto& [words, problem] : std::vector<std::pair<Words, std::string>>{
             {{"--word"}, "--word needs a value"},
             {{"--word", ""}, "--word needs a value"},
             {{"--word="}, "--word needs a value"},
             {{"--word", "--flag"}, "--word needs a value"},
             {{"--words", "a", "--words"}, "--words needs a value"},
             {{"--flag=1"}, "--flag takes no value"},
             {{"--flag="}, "--flag takes no value"},
             {{"--none"}, "there is no option '--none'"},
             {{"bare"}, "there is no option 'bare'"},
             {{"--first", "--second"}, "there is no option '--first'"},
             {{"--wor", "a"}, "there is no option '--wor'"},
             {{"--none\x1B[2J"}, "there is no option '--none\\x1B[2J'"}})
        ExpectRefused(Ran(Print<true>, words), problem);
}

TEST(CommandLine, NumbersAreTakenAtTheirLimitsAndNotBeyond)
{
    EXPECT_EQ(Printed({"--number", "2"}), "none 0 2");
    EXPECT_EQ(Printed({"--number", "+5"}), "none 0 5");
    for (const char* word : {"1", "6", "-2", "+-2", "2.0", "2x", "9999999999"})
        ExpectRefused(Ran(Print<true>, {"--number", word}),
                      std::string("--number takes a whole number from 2 to 5, not '") + word + "'");
}

TEST(CommandLine, HelpAndVersionGoToStandardOutput)
{
    const Finished help = Ran(Print<true>, {"--help"}), version = Ran(Print<true>, {"--version"});
    EXPECT_EQ(help.status, 0);
    EXPECT_EQ(help.err, "");
    for (const char* part : {"Does nothing.", "--word W", "a number", "Words:", "The end.", "this text"})
        EXPECT_NE(help.out.find(part), help.out.npos) << part << " in " << help.out;
    // Options stand under their headings, what they mean beside them.
    const std::size_t words = help.out.find("\nWords:\n"), end = help.out.find("\n\n", words + 1);
    const std::string group = help.out.substr(words, end - words);
    EXPECT_NE(group.find("\n  --word W" + std::string(32 - 10, ' ') + "a word"), group.npos) << group;
    EXPECT_NE(group.find("\n  --flag" + std::string(32 - 8, ' ') + "a flag"), group.npos) << group;
    EXPECT_NE(help.out.find("print the version"), help.out.npos);
    EXPECT_EQ(version.status, 0);
    EXPECT_EQ(version.err, "");
    EXPECT_EQ(version.out.rfind("tool ", 0), 0u) << version.out;
    EXPECT_EQ(std::count(version.out.begin(), version.out.end(), '\n'), 1);
    for (const char* word : {"--help", "--version"}) {
        const Finished run = Ran(Print<true>, {word}, ToFull);
        EXPECT_EQ(run.status, 1) << word;
        EXPECT_EQ(run.err, "tool: cannot write to standard output\n") << word;
    }
}

TEST(CommandLine, TextBesideOptionsBreaksAtItsWidth)
{
    const std::string eighty(80, 'x');
    EXPECT_EQ(Wrapped(eighty + " abc"), eighty + " abc");
    EXPECT_EQ(Wrapped(eighty + " abcd e"), eighty + "\nabcd e");
    EXPECT_EQ(Wrapped("  a \n b  "), "a b");
    EXPECT_EQ(Wrapped(std::string(100, 'y') + " z"), std::string(100, 'y') + "\nz") << "no word is cut";
}

TEST(Tools, WhatDoesNotGoOutIsSaid)
{
    const auto little = [](int, char**) { return std::printf("x") == 1 && FlushOutput("tool") ? 0 : 1; };
    // More than the stream holds: it fails before the end, and the end itself goes well.
    const auto much = [](int, char**) {
        const std::string text(100000, 'x');
        std::fwrite(text.data(), 1, text.size(), stdout);
        SendOutputTo("/dev/null");
        return FlushOutput("tool") ? 0 : 1;
    };
    for (const Body body : {Body(little), Body(much)}) {
        const Finished run = Ran(body, {}, ToFull);
        EXPECT_EQ(run.status, 1);
        EXPECT_EQ(run.err, "tool: cannot write to standard output\n");
    }
    EXPECT_EQ(Ran(little, {}).status, 0);
    EXPECT_EQ(Ran(little, {}).err, "");
}

TEST(Tools, NoFileTakesThePlaceOfAStreamThatIsClosed)
{
    for (int closed = 1; closed < 8; closed++) {
        const Finished run = Ran(
            [](int, char**) {
                const int file = open("/dev/null", O_RDONLY);
                for (const int stream : {STDOUT_FILENO, STDERR_FILENO})
                    [[maybe_unused]] const ssize_t ignored = write(stream, "x", 1);
                return file; // the status tells
            },
            {},
            [closed] {
                for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
                    if ((closed >> stream & 1) != 0) close(stream);
            });
        EXPECT_GT(run.status, STDERR_FILENO) << closed;
        EXPECT_EQ(run.out, (closed >> STDOUT_FILENO & 1) != 0 ? "" : "x") << closed;
        EXPECT_EQ(run.err, (closed >> STDERR_FILENO & 1) != 0 ? "" : "x") << closed;
    }
}

TEST(Tools, WithoutMemoryTheySaySoWithTheirStatus)
{
    static const Body lacks = [](int, char**) -> int { throw std::bad_alloc(); };
    const Body whereNothingIsThrown = [](int argc, char** argv) noexcept { return lacks(argc, argv); };
    const Body whileAnotherIsHandled = [](int, char**) {
        try {
            throw 1;
        } catch (int) {
            EndWithoutMemory();
        }
        return 0;
    };
    const Body onAnotherThread = [](int, char**) {
        std::thread(EndWithoutMemory).join();
        return 0;
    };
    const Body ofTheLibrary = [](int, char**) -> int { kavrix::inner::NotEnoughMemory(); };
    for (const Body body :
         {lacks, whereNothingIsThrown, whileAnotherIsHandled, onAnotherThread, ofTheLibrary}) {
        const Finished run = Ran(body, {});
        EXPECT_EQ(run.status, 9);
        EXPECT_EQ(run.err, "tool: not enough memory\n");
    }
    // Another exception is a fault, and no want of memory.
    static const Body throwsOther = [](int, char**) -> int { throw 5; };
    const Finished other = Ran([](int argc, char** argv) noexcept { return throwsOther(argc, argv); }, {});
    EXPECT_EQ(other.status, -1);
    EXPECT_EQ(other.err, "");
    const Finished done = Ran([](int, char**) { return 3; }, {});
    EXPECT_EQ(done.status, 3);
    EXPECT_EQ(done.err, "");
}

} // namespace

// Command lines of the tools: options that start with "--", each with a value, and --help.
#ifndef TOOLS_ARGUMENTS_H
#define TOOLS_ARGUMENTS_H

#include <tools/Numbers.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

/// A tool's name, for its messages, and its usage: the lines that name every option.
struct Tool {
    const char* name;
    const char* usage;

    /// Says what is wrong in one line, shows the usage, and ends the program with status 2.
    [[noreturn]] void Refuse(const std::string& problem) const
    {
        std::fprintf(stderr, "%s: %s\n%s", name, problem.c_str(), usage);
        std::exit(2);
    }

    /// Where --help is among the words: shows the usage and what it means, and ends the program.
    void AnswerHelp(int argc, char** argv, const char* meaning) const
    {
        for (int i = 1; i < argc; i++) {
            if (std::string_view(argv[i]) != "--help") continue;
            std::printf("%s%s", usage, meaning);
            std::exit(std::fflush(stdout) == 0 ? 0 : 1);
        }
    }

    /// Reads a whole number within limits, or refuses.
    int Integer(std::string_view option, std::string_view text, int lowest, int highest) const;
};

inline int Tool::Integer(std::string_view option, std::string_view text, int lowest, int highest) const
{
    int number = 0;
    if (!telvane::ReadNumber(text, number) || number < lowest || number > highest)
        Refuse(std::string(option) + " takes a whole number from " + std::to_string(lowest) + " to " +
               std::to_string(highest) + ", not '" + std::string(text) + "'");
    return number;
}

/// The word behind option i; none, or one that is an option itself, is refused.
inline std::string_view ValueOf(const Tool& tool, int argc, char** argv, int i)
{
    const std::string_view value = i + 1 < argc ? argv[i + 1] : "";
    if (value.empty() || value.substr(0, 2) == "--") tool.Refuse(std::string(argv[i]) + " needs a value");
    return value;
}

#endif

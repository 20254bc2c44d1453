// The file of options of telvane-run.
#include <fuzz/Harness.h>

#include <run/ConfigFile.h>
#include <setup/Wheel.h>

#include <tests/reference/CommandLine.h>

#include <algorithm>

using namespace telvane;

namespace {

/// What the table says of every option, held against what came of it.
void RequireLimits(const Request& request)
{
    for (const RunOption& option : OptionTable()) {
        if (request.given.count(option.name) == 0) continue;
        Require(option.inFile, "options that a file cannot hold are not taken from one");
        const auto value = option.get(request);
        if (!value) continue;
        Require(value->entries.size() <= option.most, "an option is given as often as it may be");
        for (const auto& entry : value->entries) {
            Require(entry.size() == option.numbers.size(), "an option has all of its numbers");
            for (std::size_t i = 0; i < entry.size(); i++)
                Require(entry[i] >= option.numbers[i].lowest && entry[i] <= option.numbers[i].highest,
                        "numbers are within the option's limits");
        }
        if (!option.choices.empty())
            Require(std::count(option.choices.begin(), option.choices.end(), value->text) == 1,
                    "words are of the option's choice");
    }
}

/// What the program would be started with, as the program reads it.
void RequireThatItIsTaken(const Request& request)
{
    const RunArguments& a = request.arguments;
    const reference::CommandLine line = reference::ParseCommandLine(a.Words());
    Require(!line.usage && line.imagesCount == a.count && line.masks.size() == a.masks.size(),
            "the program takes the command line");
    const auto is = [&line](std::size_t i, int value) { return line.params[i] == static_cast<float>(value); };
    Require(is(4, a.width) && is(5, a.height) && is(2, a.centreX) && is(3, a.centreY) && is(6, a.innerR) &&
                is(7, a.outerR),
            "as it was meant");
    Require(a.innerR < a.outerR && a.centreX < a.width && a.centreY <= a.height,
            "the program does not refuse what is complete");
}

} // namespace

void Fuzz(FuzzedDataProvider& input)
{
    const std::string text = input.ConsumeRemainingBytesAsString();
    Wheel wheel;
    const std::string problem = ReadConfigText("wheel.toml", text, wheel.run);
    if (!problem.empty()) {
        Require(problem.starts_with("wheel.toml:"), "a problem says where it is");
        const int line = std::atoi(problem.c_str() + 11);
        Require(line >= 1 && line <= 1 + std::count(text.begin(), text.end(), '\n'),
                "a problem lies in the file");
        return;
    }
    RequireLimits(wheel.run);
    Wheel again;
    const std::string told = TomlText(wheel);
    Require(ReadConfigText("told.toml", told, again.run).empty() && TomlText(again) == told,
            "a file that is made of the options reads the same");

    Request complete = wheel.run;
    if (Complete(complete).empty()) RequireThatItIsTaken(complete);
}

// CLI11 behind the tools' own words.
#include <tools/CommandLine.h>

#include <Kavrix/HaltHook.h>
#include <tools/Numbers.h>
#include <tools/Text.h>

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <new>
#include <sstream>
#include <string_view>
#include <utility>

#include <fcntl.h>
#include <unistd.h>

namespace telvane {

CommandLine::CommandLine(const std::string& name, const std::string& description, const std::string& footer)
    : tool(name), app(std::make_unique<CLI::App>(description, name))
{
    app->set_help_flag("--help", "this text");
    app->set_version_flag("--version", tool + " " + TELVANE_VERSION, "print the version");
    app->get_formatter()->column_width(32);
    app->footer(footer);
    app->allow_extras(); // they are refused here
}

CommandLine::~CommandLine() = default;

void CommandLine::Word(const std::string& name, const std::string& unit, const std::string& meaning,
                       std::optional<std::string>& word, const std::string& group)
{
    Add({name, {}, &word, nullptr}, unit, meaning, group);
}

void CommandLine::Words(const std::string& name, const std::string& unit, const std::string& meaning,
                        std::vector<std::string>& words, const std::string& group)
{
    Add({name, {}, nullptr, &words}, unit, meaning, group);
}

void CommandLine::Add(Option option, const std::string& unit, const std::string& meaning,
                      const std::string& group)
{
    options.push_back(std::make_unique<Option>(std::move(option)));
    app->add_option(options.back()->name, options.back()->words, Wrapped(meaning))
        ->type_name(unit)
        ->group(group)
        ->expected(1)
        ->allow_extra_args(false)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
}

void CommandLine::Flag(const std::string& name, const std::string& meaning, bool& given,
                       const std::string& group)
{
    switches.push_back({name, &given});
    const std::string lines = Wrapped(meaning);
    app->add_flag(name, lines)->group(group);
}

void CommandLine::Rest(std::optional<std::vector<std::string>>& words) { rest = &words; }

void CommandLine::Read(int argc, char** argv)
{
    char** const end = argv + argc;
    char** const stop = std::find(argv, end, std::string_view("--"));
    for (char** word = argv; word != stop; word++)
        for (const Switch& s : switches)
            if (std::string_view(*word).rfind(s.name + "=", 0) == 0) Refuse(s.name + " takes no value");
    try {
        app->parse(static_cast<int>(stop - argv), argv);
    } catch (const CLI::CallForHelp&) {
        std::fputs(app->help().c_str(), stdout);
        std::exit(FlushOutput(tool) ? 0 : 1);
    } catch (const CLI::CallForVersion& version) {
        std::printf("%s\n", version.what());
        std::exit(FlushOutput(tool) ? 0 : 1);
    } catch (const CLI::ArgumentMismatch& error) {
        const std::string said = error.what(); // "--count: 1 required N missing"
        Refuse(said.substr(0, said.find(':')) + " needs a value");
    } catch (const CLI::ParseError& error) {
        Refuse(error.what());
    }
    if (const auto unknown = app->remaining(); !unknown.empty())
        Refuse("there is no option '" + unknown.front() + "'");
    if (stop != end) {
        if (rest == nullptr) Refuse("there is no option '--'");
        rest->emplace(stop + 1, end);
    }
    for (const auto& option : options) {
        if (app->count(option->name) == 0) continue;
        for (const std::string& word : option->words)
            if (word.empty() || word.rfind("--", 0) == 0) Refuse(option->name + " needs a value");
        if (option->all != nullptr) *option->all = option->words;
        else *option->last = option->words.back();
    }
    for (const Switch& s : switches) *s.place = app->count(s.name) > 0;
}

int CommandLine::Integer(const std::string& option, const std::string& word, int lowest, int highest) const
{
    int number = 0;
    if (!ReadNumber(std::string_view(word), number) || number < lowest || number > highest)
        Refuse(option + " takes a whole number from " + std::to_string(lowest) + " to " +
               std::to_string(highest) + ", not '" + word + "'");
    return number;
}

void CommandLine::Refuse(const std::string& problem) const
{
    Complain(tool, problem);
    std::exit(2);
}

std::string Wrapped(const std::string& text)
{
    const std::size_t width = 84;
    std::string all, word;
    std::size_t column = 0;
    for (std::istringstream words(text); words >> word;) {
        const bool breaks = column + 1 + word.size() > width;
        if (column > 0) all += breaks ? '\n' : ' ';
        column = breaks || column == 0 ? word.size() : column + 1 + word.size();
        all += word;
    }
    return all;
}

void Complain(const std::string& tool, const std::string& problem)
{
    std::fprintf(stderr, "%s: %s\n", tool.c_str(), Printable(problem).c_str());
}

bool FlushOutput(const std::string& tool)
{
    if (std::fflush(stdout) == 0 && !std::ferror(stdout)) return true;
    Complain(tool, "cannot write to standard output");
    return false;
}

namespace {

// For those who have no memory for anything else.
const char* toolName = "";
int statusWithoutMemory = 1;

int TellWithoutMemory()
{
    std::fprintf(stderr, "%s: not enough memory\n", toolName);
    return statusWithoutMemory;
}

/// A file that is opened must not become a stream of the program because that one is closed.
void HoldStandardStreams()
{
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
        if (fcntl(stream, F_GETFD) < 0) open("/dev/null", O_RDONLY); // writing there still fails
}

/// An exception for which there is no memory, or which may not leave where it was thrown, ends here.
[[noreturn]] void EndUncaught()
{
    try {
        if (const std::exception_ptr thrown = std::current_exception()) std::rethrow_exception(thrown);
    } catch (const std::bad_alloc&) { // as where there is none
    } catch (...) {
        std::abort();
    }
    EndWithoutMemory();
}

} // namespace

void EndWithoutMemory() { std::_Exit(TellWithoutMemory()); }

Tool::Tool(const char* name, int withoutMemory)
{
    HoldStandardStreams();
    toolName = name;
    statusWithoutMemory = withoutMemory;
    std::set_new_handler(EndWithoutMemory);
    std::set_terminate(EndUncaught);
}

int Tool::Run(int (*run)(int argc, char** argv), int argc, char** argv) const
{
    std::set_new_handler(nullptr);
    // The library's fail-stop would sleep for ever. It meets a tool where an array gets no memory.
    kavrix::SetHaltHook([](int, const char*) { throw std::bad_alloc(); });
    try {
        return run(argc, argv);
    } catch (const std::bad_alloc&) {
        return TellWithoutMemory();
    }
}

} // namespace telvane

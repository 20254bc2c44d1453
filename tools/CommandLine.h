// Command lines of the tools: options that start with "--", by CLI11, which hands over words; numbers are
// read from them by ReadNumber, exactly and in every locale. What is wrong is said in one line.
#ifndef TOOLS_COMMANDLINE_H
#define TOOLS_COMMANDLINE_H

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace CLI { // NOLINT(readability-identifier-naming): CLI11's name
class App;
}

namespace telvane {

/// Options are told to it, with the places that they are read into; then it reads a command line.
class CommandLine {
public:
    /// \param name         the tool's, for messages
    /// \param description  stands above the options in what --help prints
    /// \param footer       stands below them
    CommandLine(const std::string& name, const std::string& description, const std::string& footer);
    ~CommandLine();
    CommandLine(const CommandLine&) = delete;
    CommandLine& operator=(const CommandLine&) = delete;

    /// An option with one word behind it, or after "=": not an empty one, and after a blank none that looks
    /// like an option. A repeated option replaces the earlier one.
    /// \param name     "--out"
    /// \param unit     what --help calls the word, "FILE"
    /// \param meaning  what it says about it
    /// \param word     empty where the option is not given
    /// \param group    heading that --help puts above it
    void Word(const std::string& name, const std::string& unit, const std::string& meaning,
              std::optional<std::string>& word, const std::string& group = "Options");

    /// The same for an option that is given several times: every word counts, in their order.
    void Words(const std::string& name, const std::string& unit, const std::string& meaning,
               std::vector<std::string>& words, const std::string& group = "Options");

    /// An option without a word.
    void Flag(const std::string& name, const std::string& meaning, bool& given,
              const std::string& group = "Options");

    /// Takes the words behind the first "--" as they are. Without this call there must be none.
    /// \param words  empty where "--" is not there
    void Rest(std::optional<std::vector<std::string>>& words);

    /// Reads the command line. Answers --help, --version and what cannot be read by itself, and then does not
    /// return.
    void Read(int argc, char** argv);

    /// A word as a whole number within limits, or it is refused.
    int Integer(const std::string& option, const std::string& word, int lowest, int highest) const;

    /// Says in one line what is wrong with the command line and ends the program with status 2.
    [[noreturn]] void Refuse(const std::string& problem) const;

private:
    struct Option {
        std::string name;
        std::vector<std::string> words;
        std::optional<std::string>* last; ///< either of these two is there
        std::vector<std::string>* all;
    };
    struct Switch {
        std::string name;
        bool* place;
    };
    void Add(Option option, const std::string& unit, const std::string& meaning, const std::string& group);

    const std::string tool;
    std::unique_ptr<CLI::App> app;
    std::vector<std::unique_ptr<Option>> options;
    std::vector<Switch> switches;
    std::optional<std::vector<std::string>>* rest = nullptr;
};

/// Breaks a text into lines that stand beside the options.
std::string Wrapped(const std::string& text);

/// One line on standard error behind the tool's name, whatever the bytes of the text.
void Complain(const std::string& tool, const std::string& problem);

/// Writes what standard output still holds.
/// \return whether all of it went out; if not, that has been said
bool FlushOutput(const std::string& tool);

/// A tool as a whole: where it has no memory, it says so in one line and ends, from before main on, and a
/// standard stream that is closed takes nothing, whatever files are opened. What libraries make before main
/// needs memory and files, too; so a program has one of these, made before all of it:
///
///     [[gnu::init_priority(101)]] const telvane::Tool program("telvane-report");
class Tool {
public:
    /// \param name           lives as long as the program
    /// \param withoutMemory  exit status
    explicit Tool(const char* name, int withoutMemory = 1);
    /// The body of main. From here on want of memory is an exception, which ends here.
    int Run(int (*run)(int argc, char** argv), int argc, char** argv) const;
};

/// The end of a Tool that has no memory, on any of its threads: at once, without a destructor.
[[noreturn]] void EndWithoutMemory();

} // namespace telvane

#endif

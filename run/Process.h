// A program that is started, watched and, where it must be, ended.
#ifndef RUN_PROCESS_H
#define RUN_PROCESS_H

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace telvane {

/// The first and the last of what a program writes; what lies between is counted.
class Capture {
public:
    static constexpr std::size_t share = 32768; ///< bytes of either end

    void Add(std::string_view bytes);
    /// All of it, or both ends with a line between them that tells how much is left out.
    std::string Text() const;
    bool Whole() const { return total <= 2 * share; }
    /// The last line that is complete, without its newline.
    std::string LastLine() const;

private:
    std::string first, last;
    std::size_t total = 0;
};

struct Command {
    std::string program;
    std::vector<std::string> words; ///< behind its name
    std::string folder;             ///< that it runs in
    double seconds = 60;            ///< that it may run

    /// One line for a shell.
    std::string Line() const;
};

enum class Ending {
    notStarted,  ///< `code` is the system's error
    exited,      ///< `code` is the status
    killed,      ///< by a signal that did not come from here; `code` is its number
    tooLong,     ///< ended after its time
    halted,      ///< ended after its last line said that it would not go on
    interrupted, ///< ended because this program is to end
};

struct Ended {
    Ending ending = Ending::notStarted;
    int code = 0;
    double seconds = 0;
    Capture out, err;
};

/// Runs a program to its end, in a group of processes of its own that is ended with it. It does not outlive
/// this program, however that ends.
Ended RunProcess(const Command& command);

/// Whether it is the line that the library's fail-stop writes before it halts.
bool IsHaltLine(std::string_view line);

/// From now on SIGHUP, SIGINT and SIGTERM are remembered instead of ending this program, and writing into a
/// closed pipe or beyond a limit is an error like others.
void CatchSignals();

/// The signal that asked this program to end, or 0.
int Caught();

} // namespace telvane

#endif

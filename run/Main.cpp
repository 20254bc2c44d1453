// telvane-run: a run of Telvane by named arguments, in a folder of its own, with a judgement.
#include <run/Arguments.h>
#include <run/Process.h>
#include <run/Run.h>
#include <tools/CommandLine.h>

#include <fcntl.h>
#include <unistd.h>

namespace {

/// A file that is opened must not become a stream of the program because that one is closed.
void HoldStandardStreams()
{
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
        if (fcntl(stream, F_GETFD) < 0) open("/dev/null", O_RDONLY); // writing there still fails
}

int Main(int argc, char** argv)
{
    HoldStandardStreams();
    const telvane::Request request = telvane::ReadRequest(argc, argv);
    telvane::CatchSignals();
    return telvane::Run(request);
}

} // namespace

[[gnu::init_priority(101)]] const telvane::Tool program("telvane-run", telvane::failedRun);

int main(int argc, char** argv) { return program.Run(Main, argc, argv); }

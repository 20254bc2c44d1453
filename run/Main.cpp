// telvane-run: a run of Telvane by named arguments, in a folder of its own, with a judgement.
#include <run/Arguments.h>
#include <run/Process.h>
#include <run/Run.h>
#include <tools/CommandLine.h>

namespace {

int Main(int argc, char** argv)
{
    const telvane::Request request = telvane::ReadRequest(argc, argv);
    telvane::CatchSignals();
    return telvane::Run(request);
}

} // namespace

[[gnu::init_priority(101)]] const telvane::Tool program("telvane-run", telvane::failedRun);

int main(int argc, char** argv) { return program.Run(Main, argc, argv); }

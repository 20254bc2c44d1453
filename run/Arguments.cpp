// Options by the table, first those of the command line, then those of the file that they name.
#include <run/Arguments.h>

#include <run/ConfigFile.h>
#include <tools/CommandLine.h>

#include <cstddef>
#include <string>
#include <vector>

namespace telvane {

namespace {

const char description[] = "Starts Telvane in a new folder, with frames of the camera or recorded ones, "
                           "judges what it answers, and writes\n"
                           "report.html and run.json beside the files of the run. It prints what came out, "
                           "in four lines or as JSON.";

const char footer[] = "\nA run's folder is DIR/<UTC time>-<running number>, DIR/latest leads to the newest. "
                      "It appears when it is whole.\n"
                      "\n"
                      "Exit status: 0 the answer is good; 1 there is a region that is not to be trusted; 2 "
                      "an argument is wrong; 3 the\n"
                      "program found no region; 4 the run failed.";

} // namespace

Request ReadRequest(int argc, char** argv)
{
    Request request;
    CommandLine line("telvane-run", description, footer);
    const std::vector<RunOption>& options = OptionTable();
    std::vector<std::vector<std::string>> words(options.size());
    for (std::size_t i = 0; i < options.size(); i++)
        line.Words(options[i].Dashed(), options[i].words, options[i].Help(), words[i], options[i].group);
    line.Flag("--json", "print run.json instead of four lines for people", request.json);
    line.Flag("--dry-run", "print the command line that would be run, and make nothing", request.dryRun);
    line.Read(argc, argv);

    for (std::size_t i = 0; i < options.size(); i++) {
        const RunOption& option = options[i];
        if (words[i].empty()) continue;
        if (option.most == 1) words[i].erase(words[i].begin(), words[i].end() - 1); // the last one counts
        Value value;
        if (const std::string problem = ReadWords(option, words[i], value); !problem.empty())
            line.Refuse(option.Dashed() + ": " + problem);
        request.given[option.name] = option.Dashed();
        option.store(request, value);
    }
    if (!request.config.empty())
        if (const std::string problem = ReadConfig(request.config, request); !problem.empty())
            line.Refuse(problem);
    if (const std::string problem = Complete(request); !problem.empty()) line.Refuse(problem);
    if (request.json && request.dryRun) line.Refuse("--json: with --dry-run there is no run to tell of");
    return request;
}

} // namespace telvane

// Options of the page's server, and the wheel of the file that they name.
#include <setup/Arguments.h>

#include <Telvane/Frames.h>
#include <run/ConfigFile.h>
#include <tools/CommandLine.h>
#include <tools/Numbers.h>

#include <filesystem>
#include <optional>
#include <string_view>
#include <system_error>

namespace telvane {

namespace {

const char description[] =
    "Films with the camera and serves a page for setting it up: aim, read off the wheel's numbers, try\n"
    "them, keep them. The page opens by the link that is printed, and by no other. Ctrl-C ends it.";

const char footer[] = "\nExit status: 0 it was ended, or nobody was there any more; 1 the address cannot be "
                      "listened at, or there is\n"
                      "not enough memory; 2 an argument or the file is wrong.";

} // namespace

SetupRequest ReadSetupRequest(int argc, char** argv)
{
    SetupRequest request;
    CommandLine line("telvane-setup", description, footer);
    std::optional<std::string> listen, config, idle;
    line.Word("--listen", "ADDRESS[:PORT]",
              "where to serve: an address of this machine, IPv6 in brackets, 0.0.0.0 or [::] for all of "
              "them; port 0 "
              "for any that is free (127.0.0.1:8080, for this machine alone)",
              listen);
    line.Word("--config", "FILE",
              "options of telvane-run as TOML: read at the start if it is there, written by Keep (none)",
              config);
    line.Word("--idle", "MINUTES",
              "ends after so long without a viewer, 0.01 to 10000 (" + NumberText(request.idle.count()) + ")",
              idle);
    line.Read(argc, argv);

    if (listen)
        if (const std::string problem = ReadListening(*listen, request.listening); !problem.empty())
            line.Refuse("--listen: " + problem);
    if (idle) {
        double minutes = 0;
        if (!ReadNumber(std::string_view(*idle), minutes) || !(minutes >= 0.01 && minutes <= 10000))
            line.Refuse("--idle takes minutes from 0.01 to 10000, not '" + *idle + "'");
        request.idle = Minutes(minutes);
    }
    if (config) {
        request.config = *config;
        std::error_code ignored;
        if (std::filesystem::exists(*config, ignored))
            if (const std::string problem = ReadConfig(*config, request.wheel.run); !problem.empty())
                line.Refuse(problem);
        // Options alone say how large the wheel is, and not where: the picture's middle is as good as any
        // place.
        if (request.wheel.run.given.count("outer") > 0)
            request.wheel.centre = Place{frameWidth / 2.0, frameHeight / 2.0};
    }
    return request;
}

} // namespace telvane

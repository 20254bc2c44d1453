// telvane-setup: serves the page until it is told to end or nobody looks on any more.
#include <Kavrix/HaltHook.h>
#include <run/Process.h>
#include <setup/Arguments.h>
#include <setup/Reply.h>
#include <setup/Server.h>
#include <tools/CommandLine.h>

#include <array>
#include <atomic>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <new>
#include <string>
#include <system_error>
#include <thread>

#include <arpa/inet.h>
#include <ifaddrs.h>
#include <net/if.h>
#include <netinet/in.h>
#include <unistd.h>

namespace telvane {

namespace {

using Clock = std::chrono::steady_clock;

const char tool[] = "telvane-setup";

std::string MachineName()
{
    std::array<char, 256> name{};
    return gethostname(name.data(), name.size() - 1) == 0 ? name.data() : "";
}

/// The addresses under which this machine is reached from others, of IPv4 or of IPv6.
std::vector<std::string> OwnAddresses(bool version6)
{
    std::vector<std::string> addresses;
    ifaddrs* all = nullptr;
    if (getifaddrs(&all) != 0) return addresses;
    for (const ifaddrs* one = all; one; one = one->ifa_next) {
        if (!one->ifa_addr || (one->ifa_flags & IFF_LOOPBACK) != 0) continue;
        if (one->ifa_addr->sa_family != (version6 ? AF_INET6 : AF_INET)) continue;
        const auto* const v6 = reinterpret_cast<const sockaddr_in6*>(one->ifa_addr);
        const auto* const v4 = reinterpret_cast<const sockaddr_in*>(one->ifa_addr);
        if (version6 && IN6_IS_ADDR_LINKLOCAL(&v6->sin6_addr)) continue; // browsers do not take them
        std::array<char, INET6_ADDRSTRLEN> text{};
        const void* const from = version6 ? static_cast<const void*>(&v6->sin6_addr) : &v4->sin_addr;
        if (inet_ntop(one->ifa_addr->sa_family, from, text.data(), text.size()))
            addresses.emplace_back(text.data());
    }
    freeifaddrs(all);
    return addresses;
}

void PrintLinks(const Listening& listening, const std::string& machine, const std::string& token)
{
    std::vector<Listening> places;
    if (listening.address == "0.0.0.0" || listening.address == "::") {
        if (KnownHost(machine, machine)) places.push_back({machine + ".local", listening.port});
        for (const std::string& address : OwnAddresses(listening.Is6()))
            places.push_back({address, listening.port});
        places.push_back({"localhost", listening.port});
    } else {
        places.push_back(listening);
    }
    std::printf("Open this link in a browser; Ctrl-C ends the setup.\n");
    for (const Listening& place : places)
        std::printf("  http://%s/?token=%s\n", place.Text().c_str(), token.c_str());
}

/// telvane-run: beside this program where they are installed, in a folder beside this one's where they are
/// built.
std::string RunProgram()
{
    namespace fs = std::filesystem;
    std::error_code ignored;
    const fs::path own = fs::read_symlink("/proc/self/exe", ignored).parent_path();
    const fs::path beside = own / "telvane-run", built = own / "../run/telvane-run";
    return fs::is_regular_file(beside, ignored) || !fs::is_regular_file(built, ignored)
               ? beside.string()
               : built.lexically_normal().string();
}

int Main(int argc, char** argv)
{
    // Memory may be short in any thread, and an exception would end up nowhere in most of them.
    std::set_new_handler(EndWithoutMemory);
    kavrix::SetHaltHook([](int, const char*) { EndWithoutMemory(); });
    SetupRequest job = ReadSetupRequest(argc, argv);
    CatchSignals();
    Rights rights{RandomSecret(), "", RandomSecret(), MachineName()};
    if (rights.token.empty() || rights.cookie.empty()) {
        Complain(tool, "the system has no random numbers");
        return 1;
    }

    Film film;
    Session session(film, job.wheel, job.config, RunProgram());
    std::atomic<Clock::rep> seen = Clock::now().time_since_epoch().count();
    Site site;
    site.film = &film;
    site.refuse = [&rights](const HttpRequest& request, std::size_t length) {
        return Refusal(request, length, rights);
    };
    site.answer = [&](const HttpRequest& request) {
        seen = Clock::now().time_since_epoch().count();
        return Reply(request, session);
    };
    Server server(site);
    // The port is known when it listens, and nothing is asked for before the link is there.
    const std::string problem = server.Start(
        job.listening, [&] { rights.cookieName = "telvane-" + std::to_string(job.listening.port); });
    if (!problem.empty()) {
        Complain(tool, "cannot listen at " + job.listening.Text() + ": " + problem);
        return 1;
    }
    if (!film.Start()) EndWithoutMemory();
    PrintLinks(job.listening, rights.machineName, rights.token);
    const bool told = FlushOutput(tool); // without the link nobody gets in

    bool alone = false;
    while (told && Caught() == 0 && !alone) {
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        server.Tick();
        if (film.State().viewers > 0 || session.Busy()) seen = Clock::now().time_since_epoch().count();
        alone = Clock::now() - Clock::time_point(Clock::duration(seen.load())) > job.idle;
    }
    if (alone) std::printf("Nobody has looked on for a while: this is the end.\n");
    std::fflush(stdout);
    if (!film.Stop())
        _exit(told ? 0 : 1); // the camera's own code does not come back; the system takes the camera from it
    server.Stop();
    return told ? 0 : 1;
}

} // namespace

} // namespace telvane

[[gnu::init_priority(101)]] const telvane::Tool program(telvane::tool);

int main(int argc, char** argv) { return program.Run(telvane::Main, argc, argv); }

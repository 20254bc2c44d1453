// Requests to the setup page. The input is a request as it looks on the wire, with plain line ends: the
// method and the path, "?" and arguments, headers, an empty line, the body. Secrets are known ones, so that
// seeds have them.
#include <fuzz/Harness.h>

#include <run/ConfigFile.h>
#include <setup/Reply.h>

#include <algorithm>
#include <cctype>
#include <string>

using namespace telvane;

namespace {

const Rights rights{"0123456789abcdef0123456789abcdef", "telvane-8080", "fedcba9876543210fedcba9876543210",
                    "board"};

HttpRequest RequestOf(const std::string& text)
{
    HttpRequest request;
    const std::size_t end = std::min(text.find("\n\n"), text.size());
    request.body = text.substr(std::min(end + 2, text.size()));
    for (std::size_t at = 0; at < end;) {
        const std::size_t stop = std::min(text.find('\n', at), end);
        const std::string line = text.substr(at, stop - at);
        if (at == 0) {
            const std::size_t blank = std::min(line.find(' '), line.size());
            const std::size_t question = std::min(line.find('?', blank), line.size());
            request.method = line.substr(0, blank);
            request.path =
                line.substr(std::min(blank + 1, line.size()), question - std::min(blank + 1, question));
            for (std::size_t from = question + 1; from < line.size();) {
                const std::size_t to = std::min(line.find('&', from), line.size());
                const std::string pair = line.substr(from, to - from);
                const std::size_t sign = std::min(pair.find('='), pair.size());
                request.arguments.emplace_back(pair.substr(0, sign),
                                               pair.substr(std::min(sign + 1, pair.size())));
                from = to + 1;
            }
        } else {
            const std::size_t colon = std::min(line.find(": "), line.size());
            request.headers.emplace_back(line.substr(0, colon),
                                         line.substr(std::min(colon + 2, line.size())));
        }
        at = stop + 1;
    }
    return request;
}

bool Same(const std::string& a, const std::string& b)
{
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](unsigned char p, unsigned char q) {
        return (p < 128 && q < 128) ? std::tolower(p) == std::tolower(q) : p == q;
    });
}

/// The value of a header that is there once, or "none" and "several".
std::string Only(const HttpRequest& request, const std::string& name)
{
    std::string value = "none";
    for (const auto& [key, text] : request.headers)
        if (Same(key, name)) value = value == "none" ? text : "several";
    return value;
}

/// What must hold before anything is granted, told in another way than by the rules themselves.
void RequireRights(const HttpRequest& request)
{
    bool cookie = false;
    for (const auto& [key, text] : request.headers)
        if (Same(key, "Cookie") && text.find("telvane-8080=" + rights.cookie) != text.npos) cookie = true;
    Require(cookie, "nothing is granted without the cookie");
    if (request.method != "GET" && request.method != "HEAD")
        Require(Same(Only(request, "Origin"), "http://" + Only(request, "Host")),
                "nothing is changed for a page of another origin");
    Require(request.body.size() <= mostBody, "long bodies are not looked at");
}

void RequireHost(const HttpRequest& request)
{
    std::string host = Only(request, "Host");
    const std::string known = "0123456789.:[]abcdefABCDEF";
    const std::size_t colon = host.find(':');
    const bool named = Same(host.substr(0, colon), "localhost") || Same(host.substr(0, colon), "board") ||
                       Same(host.substr(0, colon), "board.local");
    Require(named || (!host.empty() && host.find_first_not_of(known) == host.npos),
            "hosts are addresses and this machine's names");
    Require(!host.empty() && (host[0] == '[' || std::isdigit(static_cast<unsigned char>(host[0])) || named),
            "hosts are addresses and this machine's names");
}

/// What the page is told can be told back, and the file that is made of it read.
void RequireRoundTrip(Session& session)
{
    const auto state = session.WheelState();
    Require(session.SetWheel(state["wheel"]).empty() && session.WheelState()["wheel"] == state["wheel"],
            "a wheel is the same when it is told back");
    std::string toml;
    if (!session.Toml(toml).empty()) return;
    Wheel wheel;
    Require(ReadConfigText("wheel.toml", toml, wheel.run).empty(), "what is kept can be read");
    auto read = WheelJson(wheel);
    read["centre"] = state["wheel"]["centre"];
    Require(read == state["wheel"], "and says the same");
}

} // namespace

void Fuzz(FuzzedDataProvider& input)
{
    const HttpRequest request = RequestOf(input.ConsumeRemainingBytesAsString());
    Film film; // it is not started: what is asked of the camera waits
    Session session(film, Wheel(), "", "/nowhere");

    const std::optional<Answer> refused = Refusal(request, request.body.size(), rights);
    const Answer answer = refused ? *refused : Reply(request, session);
    const bool handsOut = std::any_of(answer.headers.begin(), answer.headers.end(),
                                      [](const auto& header) { return header.first == "Set-Cookie"; });
    if (handsOut || !refused) RequireHost(request);
    if (handsOut) {
        Require(answer.status == 303 && request.path == "/", "only the link is traded");
        Require(request.arguments.size() == 1 && request.arguments[0].second == rights.token,
                "for the token alone");
    }
    if (!refused) RequireRights(request);
    if (refused && !handsOut)
        Require(answer.status == 400 || answer.status == 403 || answer.status == 413,
                "who may not ask is told so");
    if (refused) {
        Require(answer.body.find(rights.token) == answer.body.npos &&
                    answer.body.find(rights.cookie) == answer.body.npos,
                "no refusal holds a secret");
    } else {
        // Problems quote what was sent, so an answer may hold a secret that the body says. What browsers send
        // by themselves changes nothing, but that the page has another nonce each time.
        HttpRequest bare = request;
        bare.headers.clear();
        const Answer again = Reply(bare, session);
        const bool same =
            request.path == "/" ? again.body.size() == answer.body.size() : again.body == answer.body;
        Require(same && again.status == answer.status && again.headers == answer.headers,
                "nothing of a header gets into an answer");
    }
    Require(!answer.stream || answer.body.empty(), "a stream has no body");
    Require(answer.policy.rfind("default-src 'none'", 0) == 0, "every answer has a policy");
    for (const auto& [name, value] : HeadersOf(answer))
        Require(name.find_first_of("\r\n") == name.npos && value.find_first_of("\r\n") == value.npos,
                "headers are single lines");
    if (!refused && request.path == "/wheel") RequireRoundTrip(session);
}

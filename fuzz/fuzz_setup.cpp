// Requests to the setup page. The input is a request as it looks on the wire, with plain line ends: the
// method and the path, "?" and arguments, headers, an empty line, the body. Secrets are known ones, so that
// seeds have them.
#include <fuzz/PlainOptions.h>

#include <fuzz/Harness.h>

#include <report/Document.h>
#include <run/ConfigFile.h>
#include <setup/Reply.h>

#include <algorithm>
#include <cctype>
#include <cmath>
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

/// The body's length, or the one that is announced.
std::size_t LengthOf(const HttpRequest& request)
{
    const std::string announced = Only(request, "Content-Length");
    const bool plain = !announced.empty() && announced.size() < 9 &&
                       announced.find_first_not_of("0123456789") == announced.npos;
    return std::max<std::size_t>(request.body.size(), plain ? std::stoul(announced) : 0);
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
    Require(Only(request, "Origin") != "several", "a request comes from one origin");
    Require(LengthOf(request) <= 65536, "long bodies are not looked at");
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
    host.erase(0, std::min(host.find(':', host[0] == '[' ? host.find(']') : 0), host.size()));
    const std::string port = host.substr(std::min<std::size_t>(1, host.size()));
    Require(host.empty() ||
                (!port.empty() && port.size() <= 5 && port.find_first_not_of("0123456789") == port.npos &&
                 std::stoi(port) >= 1 && std::stoi(port) <= 65535),
            "a port is a number of 16 bits");
    Require(Only(request, "Host")[0] != '[' || host.empty() ||
                Only(request, "Host")[Only(request, "Host").find(']') + 1] == ':',
            "behind an address there is a port");
}

/// Whether the page can say this of a wheel.
bool IsWheel(const plain_options::Json& json)
{
    static const char* const names[] = {
        "inner",  "outer",  "teeth", "sense", "region", "centre-in-region", "method",
        "offset", "angles", "count", "p1",    "p2",     "background",       "mask"};
    const auto isPlace = [](const plain_options::Json& value) {
        return value.is_array() && value.size() == 2 &&
               std::all_of(value.begin(), value.end(), [](const plain_options::Json& number) {
                   return number.is_number() && std::fabs(number.get<double>()) <= 10000;
               });
    };
    if (!json.is_object()) return false;
    for (const auto& [name, value] : json.items()) {
        const bool known = std::count(std::begin(names), std::end(names), name) > 0;
        if (!value.is_null() &&
            !(name == "centre" ? isPlace(value) : known && plain_options::Takes(name, value)))
            return false;
    }
    return true;
}

/// Whatever is asked for, a refusal reads the same: it holds nothing of the path and of what stands behind
/// it.
void RequireSameElsewhere(const HttpRequest& request, const Answer& refusal)
{
    HttpRequest elsewhere = request;
    if (request.path != "/") elsewhere.path = "/elsewhere"; // who may ask for the page is told how
    for (auto& argument : elsewhere.arguments) argument = {"some", "thing"};
    const std::optional<Answer> there = Refusal(elsewhere, LengthOf(request), rights);
    Require(there && there->status == refusal.status && there->body == refusal.body &&
                there->type == refusal.type && there->policy == refusal.policy &&
                there->headers == refusal.headers,
            "no refusal holds what was asked for");
}

/// What is served, by method and path.
void RequireServed(const HttpRequest& request, const Answer& answer)
{
    const bool reads = request.method == "GET" || request.method == "HEAD";
    const bool changes = request.path == "/measure" || request.path == "/try" || request.path == "/keep" ||
                         request.path == "/best";
    if ((!reads && request.method != "POST") || (reads && changes))
        Require(answer.status == 404 || answer.status == 405,
                "other methods are answered with those there are");
    Require(request.method != "HEAD" || !answer.stream, "a head has no stream");
    if (request.path != "/wheel" || request.method != "POST") return;
    const auto json = plain_options::Json::parse(request.body, nullptr, false);
    const bool isJson = !json.is_discarded() && plain_options::IsPlain(request.body, 8);
    Require(isJson != (answer.body == DocumentText({{"problem", "this is no JSON of a wheel"}})),
            "JSON of up to eight levels is read");
    Require(answer.status == (isJson && IsWheel(json) ? 200 : 400), "just what is a wheel is taken");
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

    const std::optional<Answer> refused = Refusal(request, LengthOf(request), rights);
    const Answer answer = refused ? *refused : Reply(request, session);
    const bool handsOut = std::any_of(answer.headers.begin(), answer.headers.end(),
                                      [](const auto& header) { return header.first == "Set-Cookie"; });
    if (handsOut || !refused) RequireHost(request);
    if (handsOut) {
        Require(answer.status == 303 && request.path == "/", "only the link is traded");
        Require(request.arguments.size() == 1 && request.arguments[0].first == "token" &&
                    request.arguments[0].second == rights.token,
                "for the token alone");
        Require(answer.headers.back().second ==
                    "telvane-8080=" + rights.cookie + "; Path=/; HttpOnly; SameSite=Strict",
                "the cookie is handed out");
    }
    if (!refused) {
        RequireRights(request);
        RequireServed(request, answer);
    }
    Require(answer.status != 413 || LengthOf(request) > 65536, "bodies of up to 64 KB are looked at");
    if (refused && !handsOut) {
        Require(answer.status == 400 || answer.status == 403 || answer.status == 413,
                "who may not ask is told so");
        RequireSameElsewhere(request, answer);
    }
    if (refused) {
        Require(answer.body.find(rights.token) == answer.body.npos &&
                    answer.body.find(rights.cookie) == answer.body.npos,
                "no refusal holds a secret");
    } else {
        // Problems quote what was sent, so an answer may hold a secret that the body says. What browsers send
        // by themselves changes nothing, but that the page has another nonce each time.
        HttpRequest bare = request;
        bare.headers.clear();
        bare.arguments.clear();
        if (answer.status == 404 && request.path != "/report") bare.path += "-elsewhere";
        const Answer again = Reply(bare, session);
        const bool same =
            request.path == "/" ? again.body.size() == answer.body.size() : again.body == answer.body;
        Require(same && again.status == answer.status && again.headers == answer.headers,
                "nothing of a header gets into an answer, nor of a path that is not there");
    }
    Require(!answer.stream || answer.body.empty(), "a stream has no body");
    Require(answer.policy.rfind("default-src 'none'", 0) == 0, "every answer has a policy");
    for (const auto& [name, value] : HeadersOf(answer))
        Require(name.find_first_of("\r\n") == name.npos && value.find_first_of("\r\n") == value.npos,
                "headers are single lines");
    if (!refused && request.path == "/wheel") RequireRoundTrip(session);
}

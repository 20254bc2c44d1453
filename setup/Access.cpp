// The rules of access. Browsers send `Host`, `Origin` and cookies by themselves, also for pages of other
// sites; the three together keep those out: the cookie is SameSite, what changes something comes from this
// program's own page, and no name that others can point here is answered.
#include <setup/Access.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>

#include <arpa/inet.h>
#include <sys/random.h>

namespace telvane {

namespace {

char Lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

bool SameName(std::string_view a, std::string_view b)
{
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](char p, char q) { return Lower(p) == Lower(q); });
}

/// The values of a header, as often as it comes.
std::vector<std::string_view> Values(const HttpRequest& request, std::string_view name)
{
    std::vector<std::string_view> values;
    for (const auto& [key, value] : request.headers)
        if (SameName(key, name)) values.push_back(value);
    return values;
}

bool IsPort(std::string_view text)
{
    unsigned port = 0;
    const auto [end, failure] = std::from_chars(text.data(), text.data() + text.size(), port);
    return failure == std::errc() && end == text.data() + text.size() && text.size() <= 5 && port >= 1 &&
           port <= 65535;
}

bool IsAddress(int family, std::string_view text)
{
    std::array<unsigned char, sizeof(in6_addr)> address{};
    // The system's reader ends at the first zero byte.
    return text.find('\0') == text.npos && inet_pton(family, std::string(text).c_str(), address.data()) == 1;
}

/// Whether one of the cookies is the one that was handed out. Its name may come several times, by other
/// paths.
bool HasCookie(const HttpRequest& request, const Rights& rights)
{
    bool has = false;
    for (std::string_view rest : Values(request, "Cookie")) {
        while (!rest.empty()) {
            std::string_view one = rest.substr(0, rest.find(';'));
            rest.remove_prefix(std::min(one.size() + 1, rest.size()));
            one.remove_prefix(std::min(one.find_first_not_of(' '), one.size()));
            const std::size_t sign = one.find('=');
            if (sign == one.npos || one.substr(0, sign) != rights.cookieName) continue;
            has = SameSecret(one.substr(sign + 1), rights.cookie) || has;
        }
    }
    return has;
}

} // namespace

std::string RandomSecret()
{
    std::array<unsigned char, 16> bytes{};
    ssize_t got = 0;
    do got = getrandom(bytes.data(), bytes.size(), 0);
    while (got < 0 && errno == EINTR);
    std::string text;
    if (got != static_cast<ssize_t>(bytes.size())) return text;
    for (const unsigned char byte : bytes) {
        text += "0123456789abcdef"[byte >> 4];
        text += "0123456789abcdef"[byte & 15];
    }
    return text;
}

bool SameSecret(std::string_view a, std::string_view b)
{
    if (a.size() != b.size() || b.empty()) return false;
    volatile unsigned char differs = 0;
    for (std::size_t i = 0; i < a.size(); i++)
        differs = static_cast<unsigned char>(
            differs | (static_cast<unsigned char>(a[i]) ^ static_cast<unsigned char>(b[i])));
    return differs == 0;
}

bool KnownHost(std::string_view host, std::string_view machineName)
{
    std::string_view name = host, port;
    if (!host.empty() && host.front() == '[') {
        const std::size_t end = host.find(']');
        if (end == host.npos || !IsAddress(AF_INET6, host.substr(1, end - 1))) return false;
        port = host.substr(end + 1);
        return port.empty() || (port.front() == ':' && IsPort(port.substr(1)));
    }
    if (const std::size_t colon = host.find(':'); colon != host.npos) {
        name = host.substr(0, colon);
        if (!IsPort(host.substr(colon + 1))) return false;
    }
    if (IsAddress(AF_INET, name) || SameName(name, "localhost")) return true;
    return !machineName.empty() &&
           (SameName(name, machineName) || SameName(name, std::string(machineName) + ".local"));
}

Access Decide(const HttpRequest& request, std::size_t length, const Rights& rights)
{
    const auto hosts = Values(request, "Host"), origins = Values(request, "Origin");
    if (hosts.size() != 1 || origins.size() > 1) return Access::ambiguous;
    if (!KnownHost(hosts[0], rights.machineName)) return Access::refused;

    const bool reads = request.method == "GET" || request.method == "HEAD";
    if (reads && request.path == "/" && !request.arguments.empty()) {
        const bool single = request.arguments.size() == 1 && request.arguments[0].first == "token";
        return single && SameSecret(request.arguments[0].second, rights.token) ? Access::trade
                                                                               : Access::refused;
    }
    if (!HasCookie(request, rights)) return Access::refused;
    if (!reads && (origins.size() != 1 || !SameName(origins[0], "http://" + std::string(hosts[0]))))
        return Access::refused;
    return length > mostBody ? Access::tooLarge : Access::granted;
}

} // namespace telvane

// Who may ask for what: decided from a request alone, before anything is done with it.
#ifndef SETUP_ACCESS_H
#define SETUP_ACCESS_H

#include <cstddef>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace telvane {

/// A request as it came: nothing in it is to be trusted.
struct HttpRequest {
    std::string method, path; ///< "GET", "/"; the path without what follows "?"
    std::vector<std::pair<std::string, std::string>> arguments; ///< what follows "?", decoded
    std::vector<std::pair<std::string, std::string>> headers;   ///< names in any case, in their order
    std::string body;
};

inline constexpr std::size_t mostBody = std::size_t{64} << 10; ///< bytes
inline constexpr std::size_t mostHeaders = std::size_t{32}
                                           << 10; ///< bytes, the request's first line included

/// The secrets of one start of the program, and the names that it is reached under.
struct Rights {
    std::string token;       ///< in the link
    std::string cookieName;  ///< of the cookie that the link is traded for
    std::string cookie;      ///< and its value
    std::string machineName; ///< of this machine; may be empty
};

/// 128 random bits of the system as 32 hexadecimal digits; empty if it has none.
std::string RandomSecret();

/// Whether both are the same text; how long it takes tells nothing about where they differ.
bool SameSecret(std::string_view a, std::string_view b);

/// Whether a page that was asked for under this `Host` can be nobody's but this program's: an IP address,
/// which no other site's name can be made to stand for, `localhost`, the machine's name or that with
/// `.local`; with any port.
bool KnownHost(std::string_view host, std::string_view machineName);

enum class Access {
    granted,
    trade,     ///< the link: hand out the cookie and lead to "/"
    refused,   ///< 403
    ambiguous, ///< 400: no `Host`, or several of what there is one of
    tooLarge,  ///< 413
};

/// \param length  of the body as far as it is known: what the request announces, or what has come of it
Access Decide(const HttpRequest& request, std::size_t length, const Rights& rights);

} // namespace telvane

#endif

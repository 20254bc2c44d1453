// What is answered to a request.
#ifndef SETUP_ANSWER_H
#define SETUP_ANSWER_H

#include <setup/Film.h>

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace telvane {

struct Answer {
    unsigned status = 200;
    std::string type = "text/plain; charset=utf-8";
    std::string body;
    std::string policy = "default-src 'none'"; ///< what the page may load, for Content-Security-Policy
    std::vector<std::pair<std::string, std::string>> headers = {};
    std::optional<View> stream = {}; ///< instead of the body: pictures until the viewer goes
};

/// The headers of an answer, those that every answer has and its own.
inline std::vector<std::pair<std::string, std::string>> HeadersOf(const Answer& answer)
{
    std::vector<std::pair<std::string, std::string>> headers = {
        {"Content-Security-Policy",
         answer.policy + "; base-uri 'none'; form-action 'none'; frame-ancestors 'none'"},
        {"Referrer-Policy", "no-referrer"},
        {"Cache-Control", "no-store"},
        {"X-Frame-Options", "DENY"},
        {"X-Content-Type-Options", "nosniff"},
        {"Cross-Origin-Resource-Policy", "same-origin"},
        {"Cross-Origin-Opener-Policy", "same-origin"},
        {"Connection", "close"},
        {"Content-Type", answer.type},
    };
    headers.insert(headers.end(), answer.headers.begin(), answer.headers.end());
    return headers;
}

} // namespace telvane

#endif

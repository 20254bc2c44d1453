// The table of paths. No part of a request becomes the name of a file.
#include <setup/Reply.h>

#include <report/Document.h>
#include <setup/Page.h>

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

namespace telvane {

namespace {

using Json = nlohmann::ordered_json;

Answer Plain(unsigned status, const std::string& text)
{
    Answer answer;
    answer.status = status;
    answer.body = text + "\n";
    return answer;
}

Answer Document(const Json& json, unsigned status = 200)
{
    Answer answer;
    answer.status = status;
    answer.type = "application/json";
    answer.body = DocumentText(json);
    return answer;
}

/// Of what changes something: done, or why not.
Answer Done(const std::string& problem)
{
    return Document({{"problem", problem.empty() ? Json() : Json(problem)}}, problem.empty() ? 200 : 409);
}

Answer ShowPage(Session&, const HttpRequest&)
{
    const std::string nonce = RandomSecret(), place = "NONCE";
    Answer answer;
    answer.type = "text/html; charset=utf-8";
    answer.policy = "default-src 'none'; script-src 'nonce-" + nonce + "'; style-src 'nonce-" + nonce +
                    "'; img-src 'self'; connect-src 'self'";
    answer.body = pageHtml;
    for (std::size_t at = 0; (at = answer.body.find(place, at)) != std::string::npos; at += nonce.size())
        answer.body.replace(at, place.size(), nonce);
    return answer;
}

Answer Pictures(View view)
{
    Answer answer;
    answer.type = "multipart/x-mixed-replace; boundary=picture";
    answer.stream = view;
    return answer;
}

Answer ShowReport(Session& session, const HttpRequest&)
{
    Answer answer;
    answer.body = session.Report();
    if (answer.body.empty()) return Plain(404, "There is no report yet.");
    answer.type = "text/html; charset=utf-8";
    // One file with its pictures in it; it needs no script and gets none.
    answer.policy = "default-src 'none'; style-src 'unsafe-inline'; img-src data:; sandbox";
    return answer;
}

Answer Download(Session& session, const HttpRequest&)
{
    Answer answer;
    if (const std::string missing = session.Toml(answer.body); !missing.empty()) return Plain(409, missing);
    answer.type = "application/toml";
    answer.headers = {{"Content-Disposition", "attachment; filename=\"wheel.toml\""}};
    return answer;
}

Answer SetWheel(Session& session, const HttpRequest& request)
{
    const Json json = ParseJson(request.body, 8); // a wheel has four levels at most
    if (json.is_discarded()) return Document({{"problem", "this is no JSON of a wheel"}}, 400);
    if (const std::string problem = session.SetWheel(json); !problem.empty())
        return Document({{"problem", problem}}, 400);
    return Document(session.WheelState());
}

struct Route {
    std::string_view method, path;
    Answer (*answer)(Session&, const HttpRequest&);
};
constexpr std::array routes = {
    Route{"GET", "/", ShowPage},
    Route{"GET", "/favicon.ico",
          [](Session&, const HttpRequest&) { return Plain(204, ""); }}, // browsers ask for it
    Route{"GET", "/live", [](Session&, const HttpRequest&) { return Pictures(View::plain); }},
    Route{"GET", "/motion", [](Session&, const HttpRequest&) { return Pictures(View::motion); }},
    Route{"GET", "/state", [](Session& s, const HttpRequest&) { return Document(s.State()); }},
    Route{"GET", "/wheel", [](Session& s, const HttpRequest&) { return Document(s.WheelState()); }},
    Route{"POST", "/wheel", SetWheel},
    Route{"GET", "/measured", [](Session& s, const HttpRequest&) { return Document(s.Measured()); }},
    Route{"POST", "/measure", [](Session& s, const HttpRequest&) { return Done(s.Measure()); }},
    Route{"GET", "/tried", [](Session& s, const HttpRequest&) { return Document(s.Tried()); }},
    Route{"POST", "/try", [](Session& s, const HttpRequest&) { return Done(s.Try()); }},
    Route{"GET", "/report", ShowReport},
    Route{"GET", "/wheel.toml", Download},
    Route{"POST", "/keep", [](Session& s, const HttpRequest&) { return Done(s.Keep()); }},
    Route{"POST", "/best",
          [](Session& s, const HttpRequest&) {
              s.ForgetBest();
              return Done("");
          }},
};

} // namespace

std::optional<Answer> Refusal(const HttpRequest& request, std::size_t length, const Rights& rights)
{
    switch (Decide(request, length, rights)) {
    case Access::granted: return {};
    case Access::trade: {
        Answer answer = Plain(303, "Go on at /");
        answer.headers = {
            {"Location", "/"},
            {"Set-Cookie", rights.cookieName + "=" + rights.cookie + "; Path=/; HttpOnly; SameSite=Strict"}};
        return answer;
    }
    case Access::ambiguous: return Plain(400, "A request names one host.");
    case Access::tooLarge: return Plain(413, "A request's body has at most 65536 bytes.");
    case Access::refused: break;
    }
    Answer answer =
        Plain(403, "Open the link that telvane-setup has printed: this address alone opens nothing.");
    if (request.path != "/") return answer;
    // Who follows the link from a page of another site has the cookie now, and browsers send it from here on
    // only.
    answer.type = "text/html; charset=utf-8";
    answer.body = "<!DOCTYPE html><html lang=\"en\"><meta charset=\"utf-8\"><meta name=\"viewport\" "
                  "content=\"width=device-width\"><title>Telvane</title><p>This page opens by the link that "
                  "telvane-setup has printed.</p><p>If you have just followed it: <a href=\"/\">go "
                  "on</a>.</p></html>\n";
    return answer;
}

Answer Reply(const HttpRequest& request, Session& session)
{
    const std::string_view method = request.method == "HEAD" ? "GET" : std::string_view(request.method);
    std::string allowed;
    for (const Route& route : routes) {
        if (route.path != request.path) continue;
        if (route.method == method) {
            Answer answer = route.answer(session, request);
            if (request.method == "HEAD") answer.stream.reset();
            return answer;
        }
        allowed += (allowed.empty() ? "" : ", ") + std::string(route.method);
        if (route.method == "GET") allowed += ", HEAD";
    }
    if (allowed.empty()) return Plain(404, "There is nothing here.");
    Answer answer = Plain(405, "This takes " + allowed + ".");
    answer.headers = {{"Allow", allowed}};
    return answer;
}

} // namespace telvane

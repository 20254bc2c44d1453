// The page's server: HTTP by libmicrohttpd, with limits on what a client can take.
#ifndef SETUP_SERVER_H
#define SETUP_SERVER_H

#include <setup/Access.h>
#include <setup/Answer.h>

#include <chrono>
#include <functional>
#include <memory>
#include <string>

namespace telvane {

/// A numeric address and a port; port 0: any that is free.
struct Listening {
    std::string address = "127.0.0.1"; ///< "::1" without brackets
    int port = 8080;

    bool Is6() const { return address.find(':') != std::string::npos; }
    /// "127.0.0.1:8080", "[::1]:8080"
    std::string Text() const;
};

/// Reads "ADDRESS", "ADDRESS:PORT", "[ADDRESS]:PORT" or "[ADDRESS]".
/// \return nothing, or what is wrong
std::string ReadListening(const std::string& text, Listening& listening);

/// Who is answered and by whom. Both functions are called from several threads at once.
struct Site {
    /// Whether the request is worth its body, of which nothing is there yet; it announces that length.
    /// \return what is answered at once, or nothing
    std::function<std::optional<Answer>(const HttpRequest&, std::size_t length)> refuse;
    std::function<Answer(const HttpRequest&)> answer;
    Film* film = nullptr; ///< for streams
};

class Server {
public:
    static constexpr unsigned mostConnections = 32;
    static constexpr auto requestTime = std::chrono::seconds(10); ///< until the whole of a request is there
    static constexpr auto answerTime = std::chrono::seconds(60);  ///< until all of an answer is taken

    explicit Server(Site site);
    ~Server();
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;

    /// \param listening  its port becomes the one that was taken
    /// \param listens    called when that is known, before the first request is answered
    /// \return nothing, or why it could not listen
    std::string Start(Listening& listening, const std::function<void()>& listens);
    void Stop();
    /// Ends connections that have taken too long by that time. To be called several times a second.
    void Tick(std::chrono::steady_clock::time_point now = std::chrono::steady_clock::now());

private:
    struct Parts;
    std::unique_ptr<Parts> parts;
};

} // namespace telvane

#endif

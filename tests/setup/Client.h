// telvane-setup as a process, and clients of it that say just what a test says.
#pragma once

#include <tests/support/ChildProcess.h>

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

/// How much longer than in an ordinary build on the real machine things may take.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define SANITIZED 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define SANITIZED 1
#endif
#endif
#ifdef SANITIZED
inline constexpr int slowness = 30;
#else
inline constexpr int slowness = emulationFactor;
#endif

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

/// A TCP connection to this machine.
class Connection {
public:
    explicit Connection(int port, bool smallBuffer = false)
        : fd(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0))
    {
        const int bytes = 4096;
        if (smallBuffer) setsockopt(fd, SOL_SOCKET, SO_RCVBUF, &bytes, sizeof bytes);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(static_cast<std::uint16_t>(port));
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        open = connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
    }
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;
    Connection(Connection&& other) noexcept
        : received(std::move(other.received)), fd(std::exchange(other.fd, -1)), open(other.open)
    {
    }
    ~Connection()
    {
        if (fd >= 0) close(fd);
    }

    /// \return whether all of it could be sent
    bool Send(const std::string& text) const
    {
        std::size_t done = 0;
        while (done < text.size()) {
            const ssize_t n = send(fd, text.data() + done, text.size() - done, MSG_NOSIGNAL);
            if (n <= 0) return false;
            done += static_cast<std::size_t>(n);
        }
        return true;
    }
    /// Adds what comes within that time to `received`. \return false once the other side has closed
    bool Receive(milliseconds patience)
    {
        pollfd one{fd, POLLIN, 0};
        if (!open || poll(&one, 1, static_cast<int>(patience.count())) <= 0) return open;
        char bytes[65536];
        const ssize_t n = recv(fd, bytes, sizeof bytes, 0);
        if (n > 0) received.append(bytes, static_cast<std::size_t>(n));
        else open = false;
        return open;
    }
    /// All until the other side closes.
    void ReceiveAll(std::chrono::seconds limit = std::chrono::seconds(20 * slowness))
    {
        const auto end = Clock::now() + limit;
        while (Receive(milliseconds(100)) && Clock::now() < end) {
        }
    }
    bool IsOpen() const { return open; }

    std::string received;

private:
    int fd = -1;
    bool open = false;
};

struct HttpReply {
    int status = 0; ///< 0: there was none
    std::vector<std::pair<std::string, std::string>> headers;
    std::string body;

    explicit HttpReply(const std::string& text)
    {
        const std::size_t end = text.find("\r\n\r\n");
        if (end == text.npos || text.rfind("HTTP/1.1 ", 0) != 0) return;
        status = std::atoi(text.c_str() + 9);
        for (std::size_t at = text.find("\r\n") + 2; at < end;) {
            const std::size_t stop = text.find("\r\n", at), colon = text.find(": ", at);
            headers.emplace_back(text.substr(at, colon - at), text.substr(colon + 2, stop - colon - 2));
            at = stop + 2;
        }
        body = text.substr(end + 4);
    }
    /// Empty where there is none, or it comes twice.
    std::string Header(const std::string& name) const
    {
        std::string value;
        int times = 0;
        for (const auto& [key, text] : headers)
            if (key == name) value = text, times++;
        return times == 1 ? value : "";
    }
    nlohmann::json Json() const { return nlohmann::json::parse(body, nullptr, false); }
};

/// A running telvane-setup.
class SetupProgram {
public:
    explicit SetupProgram(const std::string& program, const std::vector<std::string>& words = {})
    {
        std::vector<std::string> argv = {program, "--listen", "127.0.0.1:0"};
        argv.insert(argv.end(), words.begin(), words.end());
        child = std::make_unique<child_process::Child>(child_process::Becoming(argv, folder.Path(), {}), "");
        WaitFor(
            [this] { return child->out.find("/?token=") != std::string::npos && child->out.back() == '\n'; });
        const std::string start = "http://127.0.0.1:";
        const std::size_t at = child->out.find(start);
        if (at == std::string::npos) throw std::runtime_error("no link: " + child->out + child->err);
        link = child->out.substr(at, child->out.find('\n', at) - at);
        port = std::atoi(link.c_str() + start.size());
        const std::string traded = Ask("GET", link.substr(link.find("/?")), "").Header("Set-Cookie");
        cookie = traded.substr(0, traded.find(';'));
    }

    std::string Host() const { return "127.0.0.1:" + std::to_string(port); }
    std::string Head(const std::string& method, const std::string& path, const std::string& cookieOr) const
    {
        return method + " " + path + " HTTP/1.1\r\nHost: " + Host() + "\r\n" +
               (cookieOr.empty() ? "" : "Cookie: " + cookieOr + "\r\n");
    }
    /// Sends this text and takes all that is answered.
    HttpReply Say(const std::string& text) const
    {
        Connection connection(port);
        connection.Send(text);
        connection.ReceiveAll();
        return HttpReply(connection.received);
    }
    HttpReply Ask(const std::string& method, const std::string& path, const std::string& cookieOr) const
    {
        return Say(Head(method, path, cookieOr) + "\r\n");
    }
    HttpReply Get(const std::string& path) const { return Ask("GET", path, cookie); }
    HttpReply Post(const std::string& path, const std::string& body) const
    {
        return Say(Head("POST", path, cookie) + "Origin: http://" + Host() +
                   "\r\nContent-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body);
    }
    Connection Watch(const std::string& path = "/live", bool smallBuffer = false) const
    {
        Connection connection(port, smallBuffer);
        connection.Send(Head("GET", path, cookie) + "\r\n");
        return connection;
    }
    nlohmann::json State() const { return Get("/state").Json(); }

    /// Reads what the program says until something holds. \return whether it did in time
    template <class Condition>
    bool WaitFor(Condition holds, std::chrono::seconds limit = std::chrono::seconds(20)) const
    {
        const auto end = Clock::now() + limit * slowness;
        while (!holds()) {
            if (Clock::now() > end) return false;
            if (!child->Read(milliseconds(20))) usleep(2000);
        }
        return true;
    }
    bool WaitForCamera(const std::string& state) const
    {
        return WaitFor([&] { return State()["camera"]["state"] == state; });
    }
    /// Sends a signal. \return the exit status; -1 where it did not end by itself in time
    int End(int signal, std::chrono::seconds limit = std::chrono::seconds(10))
    {
        kill(child->Pid(), signal);
        return Status(limit);
    }
    int Status(std::chrono::seconds limit)
    {
        if (!WaitFor([this] { return child->Ended(); }, limit)) return -1;
        while (child->Read(milliseconds(0))) {
        }
        return WIFEXITED(child->Status()) ? WEXITSTATUS(child->Status()) : -1;
    }

    const TemporaryFolder folder;
    std::unique_ptr<child_process::Child> child;
    std::string link, cookie;
    int port = 0;
};

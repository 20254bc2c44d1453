// libmicrohttpd with a thread for each connection: whoever is slow waits in a thread of his own.
#include <setup/Server.h>

#include <Kavrix/inner/NotEnoughMemory.h>
#include <tools/Numbers.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <list>
#include <mutex>
#include <new>
#include <system_error>
#include <utility>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include <microhttpd.h>

namespace telvane {

namespace {

using Clock = std::chrono::steady_clock;

const char boundary[] = "--picture\r\n";

/// A connection, which is for one request.
struct Visit {
    int socket = -1;
    Clock::time_point begin = Clock::now();
    enum class Stage { asking, answered, watching, over } stage = Stage::asking;
};

/// What has come of a request so far.
struct Coming {
    HttpRequest request;
    std::size_t length = 0;
};

/// A stream of pictures on its way to one viewer: the newest one whenever the last is through.
class Stream {
public:
    Stream(const Film& f, std::unique_ptr<Film::Viewer> v) : film(f), viewer(std::move(v)) {}

    ssize_t Read(char* to, std::size_t room)
    {
        if (at == part.size()) {
            const std::shared_ptr<const Shown> shown = viewer->Next(std::chrono::seconds(1));
            failing = shown || film.State().camera == CameraState::films ? 0 : failing + 1;
            // The page has seen by now that the camera fails, and asks again when it films.
            if (failing == 3) return MHD_CONTENT_READER_END_OF_STREAM;
            part = part.empty() ? boundary : "";
            // While a sequence is taken and measured there is no picture for long: a line of the next one's
            // head finds out who has gone, and keeps the others.
            // Browsers show a picture when the next one begins: it begins at once.
            if (!shown) part += "X-Wait: 1\r\n";
            else
                part += "Content-Type: image/jpeg\r\nX-Picture: " + std::to_string(shown->number) +
                        "\r\nContent-Length: " + std::to_string(shown->jpeg.size()) + "\r\n\r\n" +
                        shown->jpeg + "\r\n" + boundary;
            at = 0;
        }
        const std::size_t n = std::min(room, part.size() - at);
        std::memcpy(to, part.data() + at, n);
        at += n;
        return static_cast<ssize_t>(n);
    }

private:
    const Film& film;
    const std::unique_ptr<Film::Viewer> viewer;
    int failing = 0;    // seconds since the camera is known to fail
    std::string part;   // of the stream: a picture with what goes around it
    std::size_t at = 0; // what of it is gone
};

ssize_t ReadStream(void* stream, std::uint64_t, char* to, std::size_t room)
{
    return static_cast<Stream*>(stream)->Read(to, room);
}

void EndStream(void* stream) { delete static_cast<Stream*>(stream); }

using Pairs = std::vector<std::pair<std::string, std::string>>;

MHD_Result AddPair(void* pairs, MHD_ValueKind, const char* key, std::size_t keySize, const char* value,
                   std::size_t valueSize)
{
    static_cast<Pairs*>(pairs)->emplace_back(std::string(key ? key : "", key ? keySize : 0),
                                             std::string(value ? value : "", value ? valueSize : 0));
    return MHD_YES;
}

/// What the request says of its body's length; 0 where it says nothing.
std::size_t Announced(MHD_Connection* connection)
{
    const char* const text = MHD_lookup_connection_value(connection, MHD_HEADER_KIND, "Content-Length");
    std::size_t length = 0;
    return text && !ReadNumber(std::string_view(text), length) ? mostBody + 1 : length;
}

Answer Plain(unsigned status, const std::string& text)
{
    Answer answer;
    answer.status = status;
    answer.body = text + "\n";
    return answer;
}

union Address {
    sockaddr any;
    sockaddr_in v4;
    sockaddr_in6 v6;
};

} // namespace

struct Server::Parts {
    explicit Parts(Site s) : site(std::move(s)) {}

    MHD_Result Send(MHD_Connection* connection, const Answer& answer)
    {
        MHD_Response* response = nullptr;
        if (answer.stream) {
            std::unique_ptr<Film::Viewer> viewer = site.film->Watch(*answer.stream);
            if (!viewer)
                return Send(connection, Plain(503, "There are " + std::to_string(Film::mostViewers) +
                                                       " viewers already, and that is all that are served."));
            auto stream = std::make_unique<Stream>(*site.film, std::move(viewer));
            response = MHD_create_response_from_callback(MHD_SIZE_UNKNOWN, std::size_t{64} << 10, ReadStream,
                                                         stream.get(), EndStream);
            if (response) static_cast<void>(stream.release()); // EndStream takes care of it
        } else {
            response = MHD_create_response_from_buffer(
                answer.body.size(), const_cast<char*>(answer.body.data()), MHD_RESPMEM_MUST_COPY);
        }
        if (!response) return MHD_NO;
        for (const auto& [name, value] : HeadersOf(answer))
            MHD_add_response_header(response, name.c_str(), value.c_str());
        const MHD_Result queued = MHD_queue_response(connection, answer.status, response);
        MHD_destroy_response(response);
        Reached(connection, answer.stream ? Visit::Stage::watching : Visit::Stage::answered);
        return queued;
    }

    void Reached(MHD_Connection* connection, Visit::Stage stage)
    {
        const MHD_ConnectionInfo* const info =
            MHD_get_connection_info(connection, MHD_CONNECTION_INFO_SOCKET_CONTEXT);
        const std::lock_guard lock(mutex);
        if (!info || !info->socket_context) return;
        Visit& visit = *static_cast<Visit*>(info->socket_context);
        visit.stage = stage;
        visit.begin = Clock::now();
    }

    MHD_Result Begin(MHD_Connection* connection, const char* url, const char* method, void** context)
    {
        auto coming = std::make_unique<Coming>();
        HttpRequest& request = coming->request;
        request.method = method;
        request.path = url;
        MHD_get_connection_values_n(connection, MHD_HEADER_KIND, AddPair, &request.headers);
        MHD_get_connection_values_n(connection, MHD_GET_ARGUMENT_KIND, AddPair, &request.arguments);
        std::size_t size = request.method.size() + request.path.size();
        for (const Pairs* pairs : {&request.headers, &request.arguments})
            for (const auto& [key, value] : *pairs) size += key.size() + value.size() + 4;
        if (size > mostHeaders) return Send(connection, Plain(431, "The request's headers are too long."));
        if (const auto refused = site.refuse(request, Announced(connection)))
            return Send(connection, *refused);
        *context = coming.release(); // until Done
        return MHD_YES;
    }

    static MHD_Result Handle(void* self, MHD_Connection* connection, const char* url, const char* method,
                             const char*, const char* data, std::size_t* size, void** context)
    {
        Parts& parts = *static_cast<Parts*>(self);
        if (!*context) return parts.Begin(connection, url, method, context);
        Coming& coming = *static_cast<Coming*>(*context);
        if (*size > 0) {
            // What is too long has a length, and no more.
            coming.length += *size;
            if (coming.length <= mostBody) coming.request.body.append(data, *size);
            *size = 0;
            return MHD_YES;
        }
        if (const auto refused = parts.site.refuse(coming.request, coming.length))
            return parts.Send(connection, *refused);
        return parts.Send(connection, parts.site.answer(coming.request));
    }

    static void Done(void*, MHD_Connection*, void** context, MHD_RequestTerminationCode)
    {
        delete static_cast<Coming*>(*context);
        *context = nullptr;
    }

    static void Notify(void* self, MHD_Connection* connection, void** context,
                       MHD_ConnectionNotificationCode code)
    {
        Parts& parts = *static_cast<Parts*>(self);
        const std::lock_guard lock(parts.mutex);
        if (code == MHD_CONNECTION_NOTIFY_STARTED) {
            Visit visit;
            if (const auto* info = MHD_get_connection_info(connection, MHD_CONNECTION_INFO_CONNECTION_FD))
                visit.socket = info->connect_fd;
            // What waits in the system's own queue is old when it arrives: a picture or so may wait there.
            const int unsent = 96 << 10;
            setsockopt(visit.socket, IPPROTO_TCP, TCP_NOTSENT_LOWAT, &unsent, sizeof unsent);
            parts.visits.push_back(visit);
            *context = &parts.visits.back();
        } else if (*context) {
            parts.visits.remove_if([context](const Visit& visit) { return &visit == *context; });
            *context = nullptr;
        }
    }

    static void Quiet(void*, const char*, va_list) {} // what clients do wrong is no news

    const Site site;
    MHD_Daemon* daemon = nullptr;
    int socket = -1;
    std::mutex mutex;
    std::list<Visit> visits; // belongs to the mutex
};

std::string Listening::Text() const
{
    return (Is6() ? "[" + address + "]" : address) + ":" + std::to_string(port);
}

std::string ReadListening(const std::string& text, Listening& listening)
{
    Listening read = listening;
    const bool brackets = !text.empty() && text.front() == '[';
    const std::size_t end = brackets ? text.find(']') : std::min(text.find(':'), text.size());
    const std::string rest = end < text.size() ? text.substr(end + (brackets ? 1 : 0)) : "";
    read.address = end == text.npos ? "" : text.substr(brackets ? 1 : 0, end - (brackets ? 1 : 0));
    std::array<unsigned char, sizeof(in6_addr)> bytes{};
    if (inet_pton(brackets ? AF_INET6 : AF_INET, read.address.c_str(), bytes.data()) != 1)
        return "'" + text + "' does not begin with a numeric address, such as 0.0.0.0 or [::]";
    if (!rest.empty() && (rest[0] != ':' || !ReadNumber(std::string_view(rest).substr(1), read.port) ||
                          rest[1] == '+' || read.port < 0 || read.port > 65535))
        return "'" + text + "' does not end with a port from 0 to 65535";
    listening = read;
    return {};
}

Server::Server(Site site) : parts(std::make_unique<Parts>(std::move(site))) {}

Server::~Server() { Stop(); }

std::string Server::Start(Listening& listening, const std::function<void()>& listens)
{
    const auto failed = [this] {
        std::string reason = std::generic_category().message(errno);
        if (parts->socket >= 0) close(parts->socket);
        parts->socket = -1;
        return reason;
    };
    Address address{};
    socklen_t size = 0;
    if (listening.Is6()) {
        address.v6.sin6_family = AF_INET6;
        address.v6.sin6_port = htons(static_cast<std::uint16_t>(listening.port));
        inet_pton(AF_INET6, listening.address.c_str(), &address.v6.sin6_addr);
        size = sizeof address.v6;
    } else {
        address.v4.sin_family = AF_INET;
        address.v4.sin_port = htons(static_cast<std::uint16_t>(listening.port));
        inet_pton(AF_INET, listening.address.c_str(), &address.v4.sin_addr);
        size = sizeof address.v4;
    }
    parts->socket = socket(address.any.sa_family, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    const int yes = 1;
    if (parts->socket < 0 || setsockopt(parts->socket, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes) != 0 ||
        bind(parts->socket, &address.any, size) != 0 || listen(parts->socket, 128) != 0 ||
        getsockname(parts->socket, &address.any, &size) != 0)
        return failed();
    listening.port = ntohs(listening.Is6() ? address.v6.sin6_port : address.v4.sin_port);
    listens();

    const unsigned flags = MHD_USE_INTERNAL_POLLING_THREAD | MHD_USE_THREAD_PER_CONNECTION | MHD_USE_POLL |
                           MHD_USE_ERROR_LOG | (listening.Is6() ? MHD_USE_IPv6 : 0);
    errno = 0;
    // A connection's memory holds its headers and what is read and written at once.
    parts->daemon =
        MHD_start_daemon(flags, 0, nullptr, nullptr, Parts::Handle, parts.get(), MHD_OPTION_EXTERNAL_LOGGER,
                         Parts::Quiet, nullptr, MHD_OPTION_LISTEN_SOCKET, parts->socket,
                         MHD_OPTION_CONNECTION_LIMIT, mostConnections, MHD_OPTION_CONNECTION_TIMEOUT,
                         static_cast<unsigned>(requestTime.count()), MHD_OPTION_CONNECTION_MEMORY_LIMIT,
                         mostHeaders + (std::size_t{64} << 10), MHD_OPTION_NOTIFY_COMPLETED, Parts::Done,
                         nullptr, MHD_OPTION_NOTIFY_CONNECTION, Parts::Notify, parts.get(), MHD_OPTION_END);
    // Threads that find no room for their stacks are told of as resources that are unavailable.
    if (!parts->daemon && (errno == EAGAIN || errno == ENOMEM)) kavrix::inner::NotEnoughMemory();
    return parts->daemon ? "" : failed();
}

void Server::Stop()
{
    if (!parts->daemon) return;
    MHD_stop_daemon(parts->daemon); // closes the socket as well
    parts->daemon = nullptr;
    parts->socket = -1;
}

void Server::Tick(Clock::time_point now)
{
    const std::lock_guard lock(parts->mutex);
    for (Visit& visit : parts->visits) {
        const auto limit = visit.stage == Visit::Stage::asking ? requestTime : answerTime;
        if (visit.stage == Visit::Stage::watching || visit.stage == Visit::Stage::over ||
            now - visit.begin < limit)
            continue;
        shutdown(visit.socket, SHUT_RDWR); // its thread wakes and closes it
        visit.stage = Visit::Stage::over;
    }
}

} // namespace telvane

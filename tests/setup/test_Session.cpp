// What the page is told, without the program: a session with a camera that the test plays, the answer to
// every path, what the command line asks for, and how long the server waits for its clients.
#include <camera/GrabLoss.h>
#include <setup/Arguments.h>
#include <setup/Reply.h>
#include <setup/Server.h>

#include <raspicam/raspicam.h>

#include <tests/setup/Client.h>
#include <tests/support/ChildProcess.h>
#include <tests/support/Wheels.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <memory>
#include <string>
#include <thread>
#include <vector>

using namespace telvane;
using namespace std::chrono_literals;
using Json = nlohmann::ordered_json;

namespace {

// What the camera shows.
enum class Shows {
    counts,   ///< even pictures, one brighter than the last
    shares,   ///< of ten columns one is white and three are black
    halfTooth ///< a wheel that turns by half a tooth
};
std::atomic<Shows> shows;
std::atomic<bool> opens, loses; ///< loses: one picture before each that comes
std::atomic<int> goodGrabs;
std::atomic<bool> stuck, waiting; // the grab that is under way is to wait, and does so

const WheelScene& FastWheel()
{
    static const WheelScene scene = [] {
        WheelScene s;
        s.degreesPerFrame = 4.5;
        s.noise = 0;
        return s;
    }();
    return scene;
}

/// A picture of the camera's, three bytes a pixel.
template <class Greys> std::vector<unsigned char> Pictured(Greys grey)
{
    std::vector<unsigned char> bytes(std::size_t{1280} * 960 * 3);
    for (std::size_t i = 0; i < bytes.size(); i++) bytes[i] = grey(i / 3);
    return bytes;
}

void Show(Shows what, int grabs, std::vector<unsigned char>& buffer)
{
    static const auto shares = Pictured([](std::size_t i) -> unsigned char {
        return i % 10 == 0 ? 255 : i % 10 < 4 ? 0 : 100;
    });
    static const auto wheel = [](int frame) {
        const BytePicture drawn = WheelFrame(FastWheel(), frame);
        return Pictured([&](std::size_t i) { return drawn.a[i]; });
    };
    static const std::vector<unsigned char> wheels[] = {wheel(0), wheel(1)};
    switch (what) {
    case Shows::counts: std::fill(buffer.begin(), buffer.end(), static_cast<unsigned char>(grabs)); break;
    case Shows::shares: buffer = shares; break;
    case Shows::halfTooth: buffer = wheels[grabs % 2]; break;
    }
}

} // namespace

namespace raspicam {

RaspiCam::RaspiCam() = default;
RaspiCam::~RaspiCam() = default;

bool RaspiCam::open(bool)
{
    buffer.resize(std::size_t{1280} * 960 * 3);
    return opens;
}

bool RaspiCam::grab()
{
    for (; stuck; std::this_thread::sleep_for(1ms)) waiting = true;
    waiting = false;
    if (goodGrabs-- <= 0) return false;
    if (loses) camera::lossesSoFar++;
    grabs++;
    Show(shows, grabs, buffer);
    return true;
}

unsigned char* RaspiCam::getImageBufferData() const { return buffer.data(); }

std::size_t RaspiCam::getImageBufferSize() const { return buffer.size(); }

} // namespace raspicam

namespace {

const Json wheelJson = {{"centre", {652.4, 471.7}}, {"inner", 216}, {"outer", 250}, {"teeth", 40},
                        {"region", {560, 540}},     {"count", 4},   {"p1", 3}};

/// The camera as each test finds it.
void PlayFromTheStart()
{
    shows = Shows::counts;
    opens = true;
    stuck = waiting = loses = false;
    goodGrabs = 1 << 30;
}

class SessionOfTest : public testing::Test {
protected:
    void SetUp() override { PlayFromTheStart(); }
    void TearDown() override
    {
        stuck = false;
        film.Stop();
    }

    template <class Condition> static bool Wait(Condition holds)
    {
        for (int i = 0; i < 6000; i++) {
            if (holds()) return true;
            std::this_thread::sleep_for(5ms);
        }
        return false;
    }
    bool WaitForCamera(const std::string& state)
    {
        return Wait([&] { return session.State()["camera"]["state"] == state; });
    }
    Answer Ask(const std::string& method, const std::string& path, const std::string& body = "")
    {
        return Reply({method, path, {}, {}, body}, session);
    }
    /// A telvane-run of these lines of a shell.
    void StandIn(const std::string& lines) const
    {
        folder.Write("run", "#!/bin/sh\n" + lines + "\n");
        std::filesystem::permissions(folder / "run", std::filesystem::perms::owner_all);
    }
    /// Posts /try and waits for its result.
    Json Tried()
    {
        const int before = session.State()["tried"];
        EXPECT_EQ(Ask("POST", "/try").status, 200u);
        EXPECT_TRUE(Wait([&] { return session.State()["tried"] == before + 1; }));
        return Json::parse(Ask("GET", "/tried").body);
    }

    TemporaryFolder folder;
    Film film;
    Session session{film, {}, folder / "wheel.toml", folder / "run"};
};

TEST_F(SessionOfTest, TheCamerasStateIsToldInWords)
{
    EXPECT_EQ(session.State()["camera"],
              Json({{"state", "opening"}, {"text", "The camera is being opened."}}));
    EXPECT_EQ(session.Measure(), "The camera is being opened.");
    opens = false;
    film.Start();
    ASSERT_TRUE(WaitForCamera("away"));
    const std::string away =
        "The camera does not open: it is not there, or another program has it. Trying again.";
    EXPECT_EQ(session.State()["camera"]["text"], away);
    EXPECT_EQ(Ask("POST", "/measure").body, Json({{"problem", away}}).dump(2) + "\n");
    opens = true;
    ASSERT_TRUE(WaitForCamera("films"));
    EXPECT_EQ(session.State()["camera"]["text"], "The camera films.");
    goodGrabs = 0;
    ASSERT_TRUE(WaitForCamera("silent"));
    EXPECT_EQ(session.State()["camera"]["text"], "The camera sends no pictures. Opening it again.");
}

TEST_F(SessionOfTest, ACameraThatLosesPicturesIsNotCalledSilent)
{
    EXPECT_EQ(session.SetWheel(wheelJson), "");
    film.Start();
    ASSERT_TRUE(WaitForCamera("films"));
    loses = true;
    EXPECT_EQ(session.Measure(), "");
    ASSERT_TRUE(WaitForCamera("loses"));
    EXPECT_EQ(session.State()["camera"]["text"],
              "The camera sends pictures, but some are missing. Opening it again.");
    const std::string cure = "Pictures were missing each time that the frames were taken: see to this "
                             "computer's load, and to the camera's cable and power supply.";
    ASSERT_TRUE(Wait([&] { return session.State()["measured"] == 1; }));
    EXPECT_EQ(session.Measured()["problem"], cure);
    ASSERT_TRUE(WaitForCamera("films"));
    EXPECT_EQ(Tried()["problem"], cure);
    loses = false;
    ASSERT_TRUE(WaitForCamera("films"));
    goodGrabs = 10;
    EXPECT_EQ(Tried()["problem"], "The camera failed while the frames were taken.");
}

TEST_F(SessionOfTest, FiguresAreToldByTheirNames)
{
    shows = Shows::shares;
    film.Start();
    ASSERT_TRUE(Wait([&] { return session.State()["figures"]["best"] > 0; }));
    const Json first = session.State();
    EXPECT_DOUBLE_EQ(first["figures"]["clipped"], 0.1);
    EXPECT_DOUBLE_EQ(first["figures"]["dark"], 0.3);
    EXPECT_TRUE(first["figures"]["speed"].is_null());
    EXPECT_EQ(first["figures"]["nearHalf"], false);
    EXPECT_EQ(first["viewers"], 0);
    EXPECT_GT(first["pictures"], 0);
    EXPECT_TRUE(first["job"].is_null());
    EXPECT_EQ(first["measured"], 0);
    EXPECT_EQ(first["tried"], 0);

    const double best = first["figures"]["best"];
    shows = Shows::counts;
    ASSERT_TRUE(Wait([&] { return session.State()["figures"]["sharpness"] < best / 3; }));
    EXPECT_EQ(session.State()["figures"]["best"], best);
    EXPECT_EQ(Ask("POST", "/best").body, Json({{"problem", nullptr}}).dump(2) + "\n");
    EXPECT_LT(session.State()["figures"]["best"], best);
}

TEST_F(SessionOfTest, NearHalfAToothASpeedIsNotTold)
{
    shows = Shows::halfTooth;
    EXPECT_EQ(session.SetWheel(wheelJson), "");
    film.Start();
    ASSERT_TRUE(Wait([&] { return session.State()["figures"]["nearHalf"] == true; }));
    EXPECT_TRUE(session.State()["figures"]["speed"].is_null());
}

TEST_F(SessionOfTest, AWheelThatIsThereAtTheStartIsLookedAt)
{
    shows = Shows::halfTooth;
    Wheel wheel;
    EXPECT_EQ(ReadWheel(wheelJson, wheel), "");
    const Session with(film, wheel, "", "");
    film.Start();
    EXPECT_TRUE(Wait([&] { return with.State()["figures"]["nearHalf"] == true; }));
}

TEST_F(SessionOfTest, MeasuringTakes15FramesWhateverARunTakes)
{
    EXPECT_EQ(session.SetWheel({{"count", 4}}), "");
    film.Start();
    // A picture that is under way when it is asked for and the next three are let pass.
    for (const int grabs : {4 + 14, 4 + 15}) {
        ASSERT_TRUE(WaitForCamera("films"));
        stuck = true;
        ASSERT_TRUE(Wait([] { return waiting.load(); }));
        const int before = session.State()["measured"];
        EXPECT_EQ(session.Measure(), "");
        EXPECT_EQ(session.State()["job"], "measure");
        goodGrabs = grabs;
        stuck = false;
        ASSERT_TRUE(Wait([&] { return session.State()["measured"] == before + 1; }));
        EXPECT_EQ(session.Measured().contains("problem"), grabs < 4 + 15) << session.Measured();
        goodGrabs = 1 << 30;
    }
}

TEST_F(SessionOfTest, TryingTakesFramesByThePeriodsOfTheWheel)
{
    EXPECT_EQ(Ask("POST", "/try").body, Json({{"problem", "--inner must be given"}}).dump(2) + "\n");
    EXPECT_EQ(session.SetWheel(wheelJson), "");
    film.Start();
    ASSERT_TRUE(WaitForCamera("films"));
    StandIn("cp -r \"$4\" '" + (folder / "taken") + "'\necho 'telvane-run: no room' >&2\nexit 4");
    const Json tried = Tried();
    EXPECT_EQ(tried["problem"], (folder / "run") + ": telvane-run: no room");
    EXPECT_EQ(tried["report"], false);
    std::vector<int> steps;
    for (int i = 1, last = 0; i <= 4; i++) {
        const std::string frame = folder.Read("taken/img" + std::to_string(i) + ".bmp");
        const int grey = static_cast<unsigned char>(frame.back());
        if (i > 1) steps.push_back((grey - last + 256) % 256);
        last = grey;
    }
    EXPECT_EQ(steps, (std::vector<int>{3, 1, 3}));

    std::filesystem::remove(folder / "run");
    EXPECT_EQ(Tried()["problem"], (folder / "run") + ": No such file or directory");
    StandIn("exit 0");
    EXPECT_EQ(Tried()["problem"], (folder / "run") + ": it ended without a result");
    StandIn("mkdir -p \"$6/latest\"; echo '[]' >\"$6/latest/run.json\"");
    EXPECT_EQ(Tried()["problem"], (folder / "run") + " wrote no JSON");

    const char* const kept = getenv("TMPDIR");
    const std::string before = kept ? kept : "";
    StandIn("case $4 in /*) echo found >&2 ;; esac\nexit 4");
    for (const char* place : {".", "not/there"}) {
        setenv("TMPDIR", place, 1);
        EXPECT_EQ(Tried()["problem"], (folder / "run") + ": found")
            << "wherever temporary files are: " << place;
    }
    if (kept) setenv("TMPDIR", before.c_str(), 1);
    else unsetenv("TMPDIR");
}

TEST_F(SessionOfTest, AResultThatIsNestedDeeplyIsNone)
{
    EXPECT_EQ(session.SetWheel(wheelJson), "");
    film.Start();
    ASSERT_TRUE(WaitForCamera("films"));
    const auto nested = [](int levels) {
        const auto count = static_cast<std::size_t>(levels - 1); // the document itself is one
        return "{\"a\": " + std::string(count, '[') + std::string(count, ']') + "}";
    };
    StandIn("mkdir -p \"$6/latest\"; cp '" + (folder / "result") + "' \"$6/latest/run.json\"");
    folder.Write("result", nested(20));
    EXPECT_TRUE(Tried()["problem"].is_null());
    for (const int levels : {100, 1000000}) {
        folder.Write("result", nested(levels));
        EXPECT_EQ(Tried()["problem"], (folder / "run") + " wrote no JSON") << levels;
    }
}

TEST_F(SessionOfTest, OneSequenceIsTakenAtATimeAndTheStateNamesIt)
{
    EXPECT_EQ(session.SetWheel(wheelJson), "");
    film.Start();
    ASSERT_TRUE(WaitForCamera("films"));
    StandIn("exit 0");
    stuck = true;
    ASSERT_TRUE(Wait([] { return waiting.load(); }));
    EXPECT_EQ(Ask("POST", "/try").status, 200u);
    EXPECT_EQ(session.State()["job"], "try");
    for (const char* path : {"/try", "/measure"})
        EXPECT_EQ(Ask("POST", path).body,
                  Json({{"problem", "A sequence is being taken already."}}).dump(2) + "\n");
    stuck = false;
    ASSERT_TRUE(Wait([&] { return session.State()["tried"] == 1; }));
    EXPECT_TRUE(session.State()["job"].is_null());
}

TEST_F(SessionOfTest, WithoutAConfigurationFileNothingIsKept)
{
    Session without(film, {}, "", "");
    EXPECT_EQ(without.SetWheel(wheelJson), "");
    EXPECT_EQ(without.Keep(), "There is no --config to write.");
}

TEST_F(SessionOfTest, EachPathHasItsAnswer)
{
    EXPECT_EQ(session.SetWheel(wheelJson), "");
    // The page may load its own script and style, and ask this program alone.
    std::string policy = Ask("GET", "/").policy;
    for (std::size_t at; (at = policy.find("nonce-")) != policy.npos;) policy.replace(at, 6 + 32, "own");
    EXPECT_EQ(policy, "default-src 'none'; script-src 'own'; style-src 'own'; img-src 'self'; connect-src "
                      "'self'");
    const auto get = [&](const std::string& path) { return Ask("GET", path); };
    EXPECT_EQ(get("/favicon.ico").status, 204u);
    ASSERT_TRUE(get("/live").stream.has_value());
    EXPECT_EQ(get("/live").stream, View::plain);
    EXPECT_EQ(get("/motion").stream, View::motion);
    EXPECT_EQ(get("/motion").type, "multipart/x-mixed-replace; boundary=picture");
    EXPECT_FALSE(Ask("HEAD", "/live").stream.has_value()) << "nobody looks on then";
    EXPECT_EQ(get("/state").type, "application/json");
    EXPECT_EQ(Json::parse(get("/wheel").body), session.WheelState());
    EXPECT_EQ(get("/measured").body, "null\n");
    EXPECT_EQ(get("/tried").body, "null\n");
    EXPECT_EQ(get("/report").status, 404u);
    EXPECT_EQ(get("/report").body, "There is no report yet.\n");
    EXPECT_EQ(get("/wheel.toml").type, "application/toml");
    EXPECT_EQ(get("/none").status, 404u);
    EXPECT_EQ(get("/none").body, "There is nothing here.\n");
    EXPECT_EQ(get("/keep").status, 405u);
    EXPECT_EQ(get("/keep").body, "This takes POST.\n");
    EXPECT_EQ(Ask("POST", "/motion").body, "This takes GET, HEAD.\n");
    const Answer wheel = Ask("PUT", "/wheel");
    EXPECT_EQ(wheel.status, 405u);
    EXPECT_EQ(wheel.body, "This takes GET, HEAD, POST.\n");

    EXPECT_EQ(Ask("POST", "/keep").body, Json({{"problem", nullptr}}).dump(2) + "\n");
    EXPECT_EQ(folder.Read("wheel.toml"), get("/wheel.toml").body);
    EXPECT_EQ(Ask("POST", "/wheel", "{}").status, 200u);
    const Answer missing = Ask("POST", "/keep");
    EXPECT_EQ(missing.status, 409u);
    EXPECT_EQ(missing.body, Json({{"problem", "--inner must be given"}}).dump(2) + "\n");
    EXPECT_EQ(get("/wheel.toml").status, 409u);
    EXPECT_EQ(get("/wheel.toml").body, "--inner must be given\n");
    EXPECT_EQ(Ask("POST", "/wheel", "{").body,
              Json({{"problem", "this is no JSON of a wheel"}}).dump(2) + "\n");
}

TEST_F(SessionOfTest, TheReportIsAPageOfItsOwn)
{
    EXPECT_EQ(session.SetWheel(wheelJson), "");
    film.Start();
    ASSERT_TRUE(WaitForCamera("films"));
    StandIn(
        "mkdir -p \"$6/latest\"; echo '{}' >\"$6/latest/run.json\"; echo page >\"$6/latest/report.html\"");
    const Json tried = Tried();
    EXPECT_TRUE(tried["problem"].is_null());
    EXPECT_EQ(tried["report"], true);
    const Answer report = Ask("GET", "/report");
    EXPECT_EQ(report.body, "page\n");
    EXPECT_EQ(report.type, "text/html; charset=utf-8");
    EXPECT_EQ(report.policy, "default-src 'none'; style-src 'unsafe-inline'; img-src data:; sandbox");
}

TEST(Refusal, EachHasItsStatusAndWords)
{
    const Rights rights{"token", "telvane-1", "cookie", "board"};
    HttpRequest request{"GET", "/state", {}, {{"Host", "board"}, {"Cookie", "telvane-1=cookie"}}, ""};
    EXPECT_FALSE(Refusal(request, 0, rights).has_value());
    const auto refused = [&](std::size_t length = 0) {
        return Refusal(request, length, rights).value_or(Answer());
    };
    EXPECT_EQ(refused(65537).status, 413u);
    EXPECT_EQ(refused(65537).body, "A request's body has at most 65536 bytes.\n");
    request.headers.pop_back();
    EXPECT_EQ(refused().status, 403u);
    EXPECT_EQ(refused().body,
              "Open the link that telvane-setup has printed: this address alone opens nothing.\n");
    EXPECT_EQ(refused().type, "text/plain; charset=utf-8");
    request.path = "/";
    EXPECT_EQ(refused().status, 403u);
    EXPECT_EQ(refused().type, "text/html; charset=utf-8");
    EXPECT_NE(refused().body.find("<a href=\"/\">go on</a>"), std::string::npos);
    request.arguments = {{"token", "token"}};
    EXPECT_EQ(refused().status, 303u);
    EXPECT_EQ(refused().headers,
              (std::vector<std::pair<std::string, std::string>>{
                  {"Location", "/"}, {"Set-Cookie", "telvane-1=cookie; Path=/; HttpOnly; SameSite=Strict"}}));
    request.headers.clear();
    EXPECT_EQ(refused().status, 400u);
    EXPECT_EQ(refused().body, "A request names one host.\n");
}

TEST(Answer, EveryOneHasTheHeadersThatKeepOthersOut)
{
    Answer answer;
    answer.type = "text/x";
    answer.policy = "default-src 'self'";
    answer.headers = {{"Allow", "GET"}};
    EXPECT_EQ(HeadersOf(answer),
              (std::vector<std::pair<std::string, std::string>>{
                  {"Content-Security-Policy",
                   "default-src 'self'; base-uri 'none'; form-action 'none'; frame-ancestors 'none'"},
                  {"Referrer-Policy", "no-referrer"},
                  {"Cache-Control", "no-store"},
                  {"X-Frame-Options", "DENY"},
                  {"X-Content-Type-Options", "nosniff"},
                  {"Cross-Origin-Resource-Policy", "same-origin"},
                  {"Cross-Origin-Opener-Policy", "same-origin"},
                  {"Connection", "close"},
                  {"Content-Type", "text/x"},
                  {"Allow", "GET"}}));
    EXPECT_EQ(Answer().policy, "default-src 'none'");
}

/// What is read of a command line.
SetupRequest Asked(std::vector<std::string> words)
{
    words.insert(words.begin(), "telvane-setup");
    std::vector<char*> argv;
    for (std::string& word : words) argv.push_back(word.data());
    return ReadSetupRequest(static_cast<int>(argv.size()), argv.data());
}

TEST(SetupArguments, WithoutAnyItServesThisMachineAnHourAndKeepsNothing)
{
    const SetupRequest request = Asked({});
    EXPECT_EQ(request.listening.Text(), "127.0.0.1:8080");
    EXPECT_EQ(request.config, "");
    EXPECT_FALSE(request.wheel.Seen().Set());
    EXPECT_EQ(request.idle, std::chrono::hours(1));
    EXPECT_EQ(Asked({"--idle", "0.5"}).idle, std::chrono::seconds(30));
    EXPECT_EQ(Asked({"--listen", "[::1]:0"}).listening.Text(), "[::1]:0");
}

TEST(SetupArguments, TheWheelOfTheFileLiesInTheMiddle)
{
    const TemporaryFolder folder;
    const std::string file = folder / "wheel.toml";
    EXPECT_EQ(Asked({"--config", file}).config, file) << "it is there once it is kept";
    folder.Write("wheel.toml", "teeth = 40\n");
    EXPECT_FALSE(Asked({"--config", file}).wheel.centre) << "no circles, no centre";
    folder.Write("wheel.toml", "inner = 216\n");
    EXPECT_FALSE(Asked({"--config", file}).wheel.centre) << "nor without the outer one";
    folder.Write("wheel.toml", "inner = 216\nouter = 250\nteeth = 40\n");
    const SetupRequest request = Asked({"--config", file});
    EXPECT_EQ(request.config, file);
    const Circles circles = request.wheel.Seen();
    EXPECT_EQ(circles.centre.x, 640);
    EXPECT_EQ(circles.centre.y, 480);
    EXPECT_EQ(circles.inner, 216);
    EXPECT_EQ(circles.outer, 250);
    EXPECT_EQ(circles.teeth, 40);
}

/// A server whose answers are longer than what fits between it and a client who does not read.
class ServerOfTest : public testing::Test {
protected:
    void SetUp() override
    {
        PlayFromTheStart();
        Site site;
        site.film = &film;
        site.refuse = [](const HttpRequest&, std::size_t) { return std::nullopt; };
        site.answer = [this](const HttpRequest& request) {
            Answer answer;
            if (request.path == "/live") answer.stream = View::plain;
            else answer.body = body;
            return answer;
        };
        server = std::make_unique<Server>(site);
        listening.port = 0;
        ASSERT_EQ(server->Start(listening, [] {}), "");
    }
    void TearDown() override
    {
        film.Stop();
        server->Stop();
    }
    /// A client whose answer has begun.
    Connection Asking(const std::string& path)
    {
        Connection client(listening.port);
        client.Send("GET " + path + " HTTP/1.1\r\nHost: localhost\r\n\r\n");
        for (int i = 0; i < 1000 && client.received.empty(); i++) client.Receive(10ms);
        EXPECT_FALSE(client.received.empty());
        return client;
    }

    const std::string body = std::string(std::size_t{24} << 20, 'x');
    Film film;
    std::unique_ptr<Server> server;
    Listening listening;
};

TEST_F(ServerOfTest, AnAnswerMayBeTakenForAMinute)
{
    Connection patient = Asking("/"), late = Asking("/");
    server->Tick(Clock::now() + 58s);
    patient.ReceiveAll();
    EXPECT_EQ(HttpReply(patient.received).body.size(), body.size());
    server->Tick(Clock::now() + 60s);
    late.ReceiveAll();
    EXPECT_FALSE(late.IsOpen());
    EXPECT_LT(HttpReply(late.received).body.size(), body.size());
}

TEST_F(ServerOfTest, ARequestMayComeForTenSeconds)
{
    Connection half(listening.port);
    half.Send("GET / HTTP/1.1\r\n");
    Asking("/"); // whoever connected before is there, too
    server->Tick(Clock::now() + 8s);
    EXPECT_TRUE(half.Receive(50ms));
    server->Tick(Clock::now() + 10s);
    half.ReceiveAll(5s);
    EXPECT_FALSE(half.IsOpen());
    EXPECT_EQ(half.received, "");
}

TEST_F(ServerOfTest, PicturesAreSentAsLongAsSomeoneLooksOn)
{
    film.Start();
    Connection viewer = Asking("/live");
    server->Tick(Clock::now() + 24h);
    const std::size_t before = viewer.received.size();
    for (int i = 0; i < 1000 && viewer.received.size() < before + 100000 && viewer.Receive(10ms); i++) {
    }
    EXPECT_TRUE(viewer.IsOpen());
    EXPECT_GE(viewer.received.size(), before + 100000);
}

TEST_F(ServerOfTest, ViewersAreKeptWhileASequenceIsMeasured)
{
    film.Start();
    Connection viewer = Asking("/live");
    ASSERT_TRUE(film.Take({1, 1, 1, [](CubByte*, CameraState) { std::this_thread::sleep_for(1500ms); }}));
    const auto has = [&viewer](const char* text, std::size_t from = 0) {
        for (int i = 0; i < 1000 && viewer.received.find(text, from) == std::string::npos; i++)
            viewer.Receive(10ms);
        return viewer.received.find(text, from);
    };
    const std::size_t waits = has("X-Wait: 1\r\n");
    ASSERT_NE(waits, std::string::npos);
    EXPECT_NE(has("X-Picture: ", waits), std::string::npos);
}

TEST_F(ServerOfTest, AStreamWithoutPicturesEndsAfterThreeSeconds)
{
    Connection viewer(listening.port); // nothing films
    viewer.Send("GET /live HTTP/1.1\r\nHost: localhost\r\n\r\n");
    const auto begin = Clock::now();
    viewer.ReceiveAll(20s);
    EXPECT_FALSE(viewer.IsOpen());
    EXPECT_GE(Clock::now() - begin, 2900ms);
}

TEST(Listening, IsForThisMachineAloneUnlessItIsSaid) { EXPECT_EQ(Listening().Text(), "127.0.0.1:8080"); }

TEST(Listening, AnAddressMayHaveAPort)
{
    for (const auto& [text, shown] : {std::pair{"10.0.0.1", "10.0.0.1:8080"},
                                      {"10.0.0.1:1", "10.0.0.1:1"},
                                      {"0.0.0.0:0", "0.0.0.0:0"},
                                      {"127.0.0.1:65535", "127.0.0.1:65535"},
                                      {"[::1]", "[::1]:8080"},
                                      {"[::]:9", "[::]:9"},
                                      {"[fe80::1]:65535", "[fe80::1]:65535"}}) {
        Listening listening;
        EXPECT_EQ(ReadListening(text, listening), "") << text;
        EXPECT_EQ(listening.Text(), shown);
        EXPECT_EQ(listening.Is6(), text[0] == '[') << text;
    }
    for (const char* text : {"", "localhost", ":80", "1.2.3", "1.2.3.4.5", "256.0.0.1", "::1", "[::1",
                             "[1.2.3.4]", "[]", "[::1]x:1"}) {
        Listening listening;
        EXPECT_NE(ReadListening(text, listening), "") << text;
        EXPECT_EQ(listening.Text(), "127.0.0.1:8080") << text;
    }
    for (const char* text : {"10.0.0.1:", "10.0.0.1:65536", "10.0.0.1:-1", "10.0.0.1:+80", "10.0.0.1:8x",
                             "10.0.0.1: 80", "[::1]8080", "[::1]:", "[::1]:+80", "10.0.0.1:1:1"}) {
        Listening listening;
        EXPECT_EQ(ReadListening(text, listening),
                  std::string("'") + text + "' does not end with a port from 0 to 65535");
        EXPECT_EQ(listening.Text(), "127.0.0.1:8080");
    }
}

} // namespace

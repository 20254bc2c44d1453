// telvane-setup as a process: who gets in, what hostile clients can do to others, how it begins and ends, and
// what it does when the camera fails.
#include <tests/setup/Client.h>

#include <tests/Telvane/scripted_camera/Film.h>

#include <atomic>
#include <thread>

#include <ifaddrs.h>
#include <net/if.h>

using nlohmann::json;

namespace {

const json standardWheel = {{"centre", {652, 472}},
                            {"inner", 216},
                            {"outer", 250},
                            {"teeth", 40},
                            {"sense", "cw"},
                            {"region", {560, 540}},
                            {"centre-in-region", {280, 270}},
                            {"mask", {{10, 20, 30, 40}}}};

std::size_t Pictures(const std::string& received)
{
    std::size_t count = 0;
    for (std::size_t at = 0; (at = received.find("X-Picture: ", at)) != std::string::npos; at++) count++;
    return count;
}

/// Of the newest picture that has begun to arrive.
int NewestPicture(const std::string& received)
{
    const std::size_t at = received.rfind("X-Picture: ");
    return at == std::string::npos ? 0 : std::atoi(received.c_str() + at + 11);
}

/// Takes pictures for a second, and for another while there are fewer than so many: the machine has other
/// things to do, too. \return how many there were in the best one
double PicturesPerSecond(Connection& viewer, double enough)
{
    double best = 0;
    for (int i = 0; i < 5 && best < enough && viewer.IsOpen(); i++) {
        viewer.received.clear();
        const auto begin = Clock::now();
        while (Clock::now() - begin < std::chrono::seconds(1) && viewer.Receive(milliseconds(50))) {
        }
        const std::chrono::duration<double> time = Clock::now() - begin;
        best = std::max(best, static_cast<double>(Pictures(viewer.received)) / time.count());
    }
    return best;
}

void ExpectSafeHeaders(const HttpReply& reply, const std::string& of)
{
    EXPECT_NE(reply.Header("Content-Security-Policy").find("default-src 'none'"), std::string::npos) << of;
    EXPECT_NE(reply.Header("Content-Security-Policy").find("frame-ancestors 'none'"), std::string::npos)
        << of;
    EXPECT_EQ(reply.Header("Referrer-Policy"), "no-referrer") << of;
    EXPECT_EQ(reply.Header("Cache-Control"), "no-store") << of;
    EXPECT_EQ(reply.Header("X-Frame-Options"), "DENY") << of;
    EXPECT_EQ(reply.Header("X-Content-Type-Options"), "nosniff") << of;
}

/// One program for the tests that leave it as it is.
class SetupPage : public testing::Test {
protected:
    static void SetUpTestSuite()
    {
        program = std::make_unique<SetupProgram>(SETUP_PATH);
        ASSERT_TRUE(program->WaitForCamera("films"));
    }
    static void TearDownTestSuite()
    {
        EXPECT_EQ(program->End(SIGTERM), 0) << program->child->err; // a sanitizer's findings among it
        program.reset();
    }
    static std::unique_ptr<SetupProgram> program;
};
std::unique_ptr<SetupProgram> SetupPage::program;

} // namespace

// ---------------------------------------------------------------------------------- who gets in

TEST_F(SetupPage, TheLinkIsTradedForACookieThatOpensThePage)
{
    const HttpReply traded = program->Ask("GET", program->link.substr(program->link.find("/?")), "");
    EXPECT_EQ(traded.status, 303);
    EXPECT_EQ(traded.Header("Location"), "/");
    const std::string cookie = traded.Header("Set-Cookie");
    EXPECT_EQ(cookie.rfind("telvane-" + std::to_string(program->port) + "=", 0), 0u)
        << cookie << ": a browser sends it to every port";
    EXPECT_NE(cookie.find("; HttpOnly"), std::string::npos) << cookie;
    EXPECT_NE(cookie.find("; SameSite=Strict"), std::string::npos) << cookie;
    EXPECT_EQ(program->link.size() - program->link.rfind('=') - 1, 32u);
    EXPECT_EQ(cookie.find(program->link.substr(program->link.rfind('=') + 1)), std::string::npos)
        << "the cookie is no copy of the token";

    const HttpReply page = program->Get("/");
    EXPECT_EQ(page.status, 200);
    EXPECT_EQ(page.Header("Content-Type"), "text/html; charset=utf-8");
    EXPECT_NE(page.body.find("<title>Telvane setup</title>"), std::string::npos);
}

TEST_F(SetupPage, ThePagesPolicyNamesItsOwnScriptAndStyle)
{
    const HttpReply page = program->Get("/"), again = program->Get("/");
    const std::string policy = page.Header("Content-Security-Policy");
    const std::size_t at = policy.find("script-src 'nonce-") + 18;
    const std::string nonce = policy.substr(at, policy.find('\'', at) - at);
    EXPECT_EQ(nonce.size(), 32u) << policy;
    EXPECT_NE(page.body.find("<script nonce=\"" + nonce + "\">"), std::string::npos);
    EXPECT_NE(page.body.find("<style nonce=\"" + nonce + "\">"), std::string::npos);
    EXPECT_EQ(again.body.find(nonce), std::string::npos) << "each answer has its own";
    EXPECT_EQ(policy.find("unsafe"), std::string::npos) << policy;
    EXPECT_EQ(policy.find("http"), std::string::npos) << "no other host: " << policy;
    EXPECT_EQ(page.body.find("NONCE"), std::string::npos);
    std::string rest = page.body;
    for (std::size_t space; (space = rest.find("http://www.w3.org/2000/svg")) != rest.npos;)
        rest.erase(space, 26);
    EXPECT_EQ(rest.find("://"), std::string::npos) << "the page asks no other host";
}

TEST_F(SetupPage, WithoutTheCookieEverythingIsRefused)
{
    for (const char* path : {"/", "/live", "/motion", "/state", "/wheel", "/measured", "/tried", "/report",
                             "/wheel.toml", "/none", "/?token=", "/?token=00112233445566778899aabbccddeeff"})
        EXPECT_EQ(program->Ask("GET", path, "").status, 403) << path;
    for (const char* path : {"/wheel", "/measure", "/try", "/keep", "/best", "/"})
        EXPECT_EQ(program->Ask("POST", path, "").status, 403) << path;
    std::string wrong = program->cookie;
    wrong.back() = wrong.back() == '0' ? '1' : '0';
    EXPECT_EQ(program->Ask("GET", "/", wrong).status, 403);
}

TEST_F(SetupPage, OtherHostsAndOriginsAreRefused)
{
    const std::string cookie = "Cookie: " + program->cookie + "\r\n";
    for (const char* host : {"evil.example", "127.0.0.1.evil.example", "localhost.evil.example:8080", ""})
        EXPECT_EQ(
            program->Say(std::string("GET / HTTP/1.1\r\nHost: ") + host + "\r\n" + cookie + "\r\n").status,
            403)
            << host;
    EXPECT_EQ(program->Say("GET / HTTP/1.1\r\nHost: localhost:9999\r\n" + cookie + "\r\n").status, 200)
        << "a tunnel's own port";
    EXPECT_EQ(program->Say("GET / HTTP/1.1\r\nHost: [::1]\r\n" + cookie + "\r\n").status, 200);
    EXPECT_EQ(program->Say("GET / HTTP/1.1\r\n" + cookie + "\r\n").status, 400);
    EXPECT_EQ(
        program->Say("GET / HTTP/1.1\r\nHost: localhost\r\nHost: evil.example\r\n" + cookie + "\r\n").status,
        400);

    const std::string body = "Content-Length: 2\r\n\r\n{}";
    for (const std::string& origin : {std::string("http://evil.example"), std::string("null"),
                                      "https://" + program->Host(), std::string("http://127.0.0.1")})
        EXPECT_EQ(
            program
                ->Say(program->Head("POST", "/best", program->cookie) + "Origin: " + origin + "\r\n" + body)
                .status,
            403)
            << origin;
    EXPECT_EQ(program->Say(program->Head("POST", "/best", program->cookie) + body).status, 403);
    EXPECT_EQ(program->Post("/best", "{}").status, 200);
}

TEST_F(SetupPage, EveryAnswerIsKeptFromFramesAndCaches)
{
    ExpectSafeHeaders(program->Get("/"), "/");
    ExpectSafeHeaders(program->Get("/state"), "/state");
    ExpectSafeHeaders(program->Get("/none"), "not found");
    ExpectSafeHeaders(program->Get("/measure"), "not allowed");
    ExpectSafeHeaders(program->Ask("GET", "/", ""), "refused");
    ExpectSafeHeaders(program->Ask("GET", program->link.substr(program->link.find("/?")), ""), "traded");
    Connection viewer = program->Watch();
    while (Pictures(viewer.received) == 0 && viewer.Receive(milliseconds(1000))) {
    }
    ExpectSafeHeaders(HttpReply(viewer.received), "/live");
}

TEST_F(SetupPage, NoPathNamesAFile)
{
    for (const char* path :
         {"/etc/passwd", "/../../../../etc/passwd", "/..%2f..%2fetc%2fpasswd", "/%2e%2e/%2e%2e/etc/passwd",
          "//etc/passwd", "/page.html", "/wheel.toml/../state", "/state/", "/STATE", "/state%00", "/%",
          "/live/..", "/report/../../wheel"}) {
        const HttpReply reply = program->Get(path);
        EXPECT_TRUE(reply.status == 404 || (std::string(path) == "/state%00" && reply.status == 200))
            << path << ": " << reply.status;
        EXPECT_EQ(reply.body.find("root:"), std::string::npos) << path;
    }
}

TEST_F(SetupPage, NoRefusalHoldsWhatWasAskedFor)
{
    const std::string asked = "/zebra?okapi=quagga", host = "Host: " + program->Host() + "\r\n";
    const std::string cookie = "Cookie: " + program->cookie + "\r\n", end = " HTTP/1.1\r\n";
    const auto expect = [&](const HttpReply& reply, int status) {
        EXPECT_EQ(reply.status, status);
        std::string all = reply.body;
        for (const auto& [name, value] : reply.headers) all += '\n' + name + ' ' + value;
        for (const char* word : {"zebra", "okapi", "quagga"})
            EXPECT_EQ(all.find(word), all.npos) << status << ' ' << word;
    };
    expect(program->Get(asked), 404);
    expect(program->Ask("GET", asked, ""), 403);
    expect(program->Ask("GET", "/?okapi=quagga", ""), 403);
    expect(program->Say("GET " + asked + end + cookie + "\r\n"), 400);
    expect(program->Say("GET " + asked + end + host + "Host: other\r\n" + cookie + "\r\n"), 400);
    expect(program->Say("GET  " + asked + end + host + "\r\n"), 403);
    expect(program->Get("/measure?okapi=quagga"), 405);
    expect(program->Ask("QUAGGA", "/zebra", program->cookie), 403);
    expect(program->Say("POST " + asked + end + host + cookie + "Origin: http://" + program->Host() +
                        "\r\nContent-Length: 65537\r\n\r\n"),
           413);
    expect(program->Say("GET " + asked + end + host + "X: " + std::string(100000, 'x') + "\r\n\r\n"), 431);
}

TEST_F(SetupPage, PathsTakeTheirMethodsAlone)
{
    EXPECT_EQ(program->Get("/measure").status, 405);
    EXPECT_EQ(program->Get("/measure").Header("Allow"), "POST");
    EXPECT_EQ(program->Post("/state", "{}").status, 405);
    EXPECT_EQ(program->Post("/state", "{}").Header("Allow"), "GET, HEAD");
    const HttpReply head = program->Ask("HEAD", "/state", program->cookie);
    EXPECT_EQ(head.status, 200);
    EXPECT_EQ(head.body, "");
}

// ---------------------------------------------------------------------------------- limits

TEST_F(SetupPage, BodiesAndHeadersHaveLimits)
{
    EXPECT_EQ(program->Post("/wheel", std::string(65536, '[')).status, 400) << "read, and no JSON";
    EXPECT_EQ(program->Post("/wheel", "{" + std::string(65534, ' ') + "}").status, 200)
        << "all of it is read";
    EXPECT_EQ(program->Post("/wheel", std::string(65537, '[')).status, 413);
    EXPECT_EQ(program
                  ->Say(program->Head("POST", "/wheel", program->cookie) + "Origin: http://" +
                        program->Host() + "\r\nContent-Length: 99999999999999\r\n\r\n")
                  .status,
              413);
    std::string chunks = program->Head("POST", "/wheel", program->cookie) + "Origin: http://" +
                         program->Host() + "\r\nTransfer-Encoding: chunked\r\n\r\n";
    for (int i = 0; i < 10; i++) chunks += "2000\r\n" + std::string(8192, '[') + "\r\n";
    EXPECT_EQ(program->Say(chunks + "0\r\n\r\n").status, 413);

    const std::string start = program->Head("GET", "/state", program->cookie);
    // Counted are the method, the path, and every header with the four characters around its two parts.
    const std::size_t room = 32768 - (std::string("GET/stateHostCookieX").size() + program->Host().size() +
                                      program->cookie.size() + 3 * 4);
    EXPECT_EQ(program->Say(start + "X: " + std::string(room, 'x') + "\r\n\r\n").status, 200);
    const HttpReply tooLong = program->Say(start + "X: " + std::string(room + 1, 'x') + "\r\n\r\n");
    EXPECT_EQ(tooLong.status, 431);
    EXPECT_EQ(tooLong.body, "The request's headers are too long.\n");
    Connection flood(program->port);
    flood.Send(start);
    for (int i = 0; i < 1024 && flood.Send("X-" + std::to_string(i) + ": " + std::string(1000, 'x') + "\r\n");
         i++) {
    }
    flood.ReceiveAll();
    EXPECT_TRUE(flood.received.empty() || HttpReply(flood.received).status == 431)
        << flood.received.substr(0, 100);
    EXPECT_EQ(program->Get("/state").status, 200);
}

TEST_F(SetupPage, AHundredClientsAreAllAnswered)
{
    // Whoever comes while there are too many connections is turned away, and comes again.
    std::atomic<int> good{0}, other{0};
    std::vector<std::thread> clients;
    for (int i = 0; i < 100; i++)
        clients.emplace_back([&good, &other] {
            int status = 0;
            for (int attempt = 0; attempt < 500 && status == 0; attempt++) {
                if (attempt > 0) std::this_thread::sleep_for(milliseconds(20));
                status = program->Get("/state").status;
            }
            (status == 200 ? good : other)++;
        });
    for (std::thread& client : clients) client.join();
    EXPECT_EQ(good, 100);
    EXPECT_EQ(other, 0);
}

TEST_F(SetupPage, WhoIsSlowIsCutOffAndCostsNobodyAnything)
{
    // Viewers that stop reading, and requests that never become whole: without a byte, half a header, half a
    // body, and one that goes on byte by byte.
    std::vector<Connection> dead, halves;
    for (int i = 0; i < 5; i++) dead.push_back(program->Watch("/live", true));
    halves.emplace_back(program->port);
    halves.emplace_back(program->port);
    halves.back().Send("GET / HTTP/1.1\r\nHost: loc");
    halves.emplace_back(program->port);
    halves.back().Send(program->Head("POST", "/wheel", program->cookie) + "Origin: http://" +
                       program->Host() + "\r\nContent-Length: 10\r\n\r\n{");
    Connection slow(program->port);
    const auto begin = Clock::now();

    Connection viewer = program->Watch();
    EXPECT_GE(PicturesPerSecond(viewer, 10), 10.0 / slowness);
    EXPECT_EQ(program->Get("/state").status, 200);

    const std::string drip = "GET / HTTP/1.1\r\nHost: localhost\r\nX: ";
    std::size_t sent = 0;
    while (Clock::now() - begin < std::chrono::seconds(13) && slow.IsOpen()) {
        slow.Send(sent < drip.size() ? drip.substr(sent, 1) : "x");
        sent++;
        slow.Receive(milliseconds(250));
        viewer.received.clear();
        viewer.Receive(milliseconds(50));
    }
    EXPECT_FALSE(slow.IsOpen()) << "ten seconds are for the whole request";
    for (Connection& half : halves) {
        half.Receive(milliseconds(2000));
        EXPECT_FALSE(half.IsOpen());
    }
    EXPECT_TRUE(program->WaitFor([] { return program->State()["viewers"] == 1; }))
        << "the dead viewers are gone";
}

// ---------------------------------------------------------------------------------- pictures

TEST_F(SetupPage, PicturesComeAtLeastTenTimesASecondAndFresh)
{
    for (const auto& [path, enough] : {std::pair("/live", 10.0), std::pair("/motion", 5.0)}) {
        Connection viewer = program->Watch(path);
        EXPECT_GE(PicturesPerSecond(viewer, enough), enough / slowness) << path;
        // The picture that is on its way is one of the newest: 30 are filmed a second.
        const int filmed = program->State()["pictures"];
        EXPECT_LE(filmed - NewestPicture(viewer.received), 9 * slowness) << path;
    }
}

TEST_F(SetupPage, EachPictureIsAsLongAsItSays)
{
    std::string head = program->Head("GET", "/live", program->cookie);
    head.replace(head.find("1.1"), 3, "1.0"); // the bytes as they are, not in chunks
    Connection viewer(program->port);
    viewer.Send(head + "\r\n");
    while (Pictures(viewer.received) < 3 && viewer.Receive(milliseconds(1000))) {
    }
    const std::string& text = viewer.received;
    std::size_t at = text.find("\r\n\r\n--picture\r\nContent-Type: image/jpeg\r\n") + 4;
    for (int i = 0; i < 2; i++) {
        const std::size_t length = text.find("Content-Length: ", at), begin = text.find("\r\n\r\n", at) + 4;
        const std::size_t end = begin + std::strtoul(text.c_str() + length + 16, nullptr, 10);
        EXPECT_EQ(text.substr(begin, 3), "\xFF\xD8\xFF");
        EXPECT_EQ(text.substr(end - 2, 13), "\xFF\xD9\r\n--picture");
        at = end + 2;
    }
}

TEST_F(SetupPage, AViewerWhoPausesGoesOnWithANewPicture)
{
    Connection viewer = program->Watch("/live", true);
    while (Pictures(viewer.received) == 0 && viewer.Receive(milliseconds(1000))) {
    }
    std::this_thread::sleep_for(std::chrono::seconds(1));
    const int filmed = program->State()["pictures"];
    viewer.received.clear();
    const auto begin = Clock::now();
    while (NewestPicture(viewer.received) < filmed &&
           Clock::now() - begin < std::chrono::seconds(3 * slowness))
        viewer.Receive(milliseconds(50));
    EXPECT_GE(NewestPicture(viewer.received), filmed);
    EXPECT_LE(Pictures(viewer.received), 8u) << "what was filmed in the meantime is not made up for";
}

TEST_F(SetupPage, EightLookOnAtOnce)
{
    ASSERT_TRUE(program->WaitFor([] { return program->State()["viewers"] == 0; }));
    std::vector<Connection> viewers;
    for (int i = 0; i < 8; i++) viewers.push_back(program->Watch(i % 2 == 0 ? "/live" : "/motion"));
    for (Connection& viewer : viewers) {
        while (viewer.received.size() < 100 && viewer.Receive(milliseconds(2000))) {
        }
        EXPECT_EQ(HttpReply(viewer.received).status, 200);
    }
    EXPECT_EQ(program->State()["viewers"], 8);
    const HttpReply ninth = program->Get("/live");
    EXPECT_EQ(ninth.status, 503);
    EXPECT_EQ(ninth.body, "There are 8 viewers already, and that is all that are served.\n");
    viewers.pop_back();
    EXPECT_TRUE(program->WaitFor([] { return program->State()["viewers"] == 7; }));
    Connection next = program->Watch();
    while (Pictures(next.received) == 0 && next.Receive(milliseconds(2000))) {
    }
    EXPECT_EQ(HttpReply(next.received).status, 200);
}

// ---------------------------------------------------------------------------------- the wheel

TEST_F(SetupPage, TheWheelIsReadCheckedAndWrittenAsCommandLines)
{
    const HttpReply set = program->Post("/wheel", standardWheel.dump());
    EXPECT_EQ(set.status, 200);
    const json told = set.Json();
    EXPECT_TRUE(told["missing"].is_null());
    EXPECT_EQ(told["run"], "telvane-run --inner 216 --outer 250 --teeth 40 --sense cw --region 560,540 "
                           "--centre-in-region 280,270 --mask 10,20,30,40");
    EXPECT_EQ(told["telvane"],
              "Telvane -n 15 -s -m 10 20 30 40 560 540 280 270 216 250 -1 0 360 360 40 1 0 0 0 0");
    EXPECT_EQ(told["wheel"]["centre-in-region"], json({280, 270}));
    EXPECT_EQ(told["wheel"]["mask"], json({{10, 20, 30, 40}}));
    EXPECT_TRUE(told["wheel"]["offset"].is_null());
    EXPECT_EQ(program->Get("/wheel").Json(), told);
    const HttpReply toml = program->Get("/wheel.toml");
    EXPECT_EQ(toml.status, 200);
    EXPECT_EQ(toml.Header("Content-Disposition"), "attachment; filename=\"wheel.toml\"");
    EXPECT_NE(toml.body.find("\ninner = 216\nouter = 250\nteeth = 40\nsense = \"cw\"\nregion = [560,540]\n"
                             "centre-in-region = [280,270]\nmask = [[10,20,30,40]]\n"),
              std::string::npos)
        << toml.body;

    for (const char* wrong : {"",
                              "[]",
                              "7",
                              "null",
                              "{",
                              "{\"inner\":\"216\"}",
                              "{\"inner\":-1}",
                              "{\"inner\":1.5}",
                              "{\"inner\":99999999999999999999}",
                              "{\"frames\":\"/etc\"}",
                              "{\"out\":\"x\"}",
                              "{\"telvane\":\"/bin/sh\"}",
                              "{\"unknown\":1}",
                              "{\"centre\":[1]}",
                              "{\"centre\":[1,\"a\"]}",
                              "{\"centre\":[1e9,0]}",
                              "{\"mask\":[[1,2,3]]}",
                              "{\"sense\":\"up\"}",
                              "{\"region\":[0,5]}",
                              "{\"mask\":[[1,2,3,4],[1,2,3,4],[1,2,3,4],[1,2,3,4]]}"}) {
        const HttpReply refused = program->Post("/wheel", wrong);
        EXPECT_EQ(refused.status, 400) << wrong;
        EXPECT_TRUE(refused.Json()["problem"].is_string()) << wrong;
        EXPECT_EQ(program->Get("/wheel").Json(), told) << wrong;
    }
    for (const char* name : {"centre", "mask", "inner", "none"}) {
        const std::string nested = std::string(32000, '[') + std::string(32000, ']');
        EXPECT_EQ(program->Post("/wheel", "{\"" + std::string(name) + "\":" + nested + "}").status, 400)
            << name;
    }
    EXPECT_EQ(program->Post("/wheel", "{\"inner\":9}").status, 200);
    EXPECT_EQ(program->Get("/wheel.toml").status, 409) << "not complete";
    EXPECT_EQ(program->Post("/try", "{}").status, 409);
    EXPECT_EQ(program->Post("/keep", "{}").status, 409) << "there is no --config";
}

TEST_F(SetupPage, TheTeethsSpeedIsTold)
{
    program->Post("/wheel", standardWheel.dump());
    EXPECT_TRUE(program->WaitFor([] { return program->State()["figures"]["speed"].is_number(); }));
    EXPECT_NEAR(program->State()["figures"]["speed"], 1.63, 0.1);
    EXPECT_FALSE(program->State()["figures"]["nearHalf"]);
    program->Post("/wheel", "{}");
    EXPECT_TRUE(program->WaitFor([] { return program->State()["figures"]["speed"].is_null(); }));
}

TEST_F(SetupPage, MeasuringTakesThePeriodsOfTheWheel)
{
    // Of pairs that lie one and five apart the first are compared: by p1, p2, p1, ... 0 to 1, 6 to 7, 12
    // to 13.
    json wheel = standardWheel;
    wheel["p2"] = 5;
    program->Post("/wheel", wheel.dump());
    const int before = program->State()["measured"];
    EXPECT_EQ(program->Post("/measure", "{}").status, 200);
    ASSERT_TRUE(program->WaitFor([before] { return program->State()["measured"] == before + 1; }));
    EXPECT_NEAR(program->Get("/measured").Json()["diagnosis"]["degrees_per_frame"], 0.4, 0.01);
}

TEST_F(SetupPage, MeasuringFindsTheSimulatedWheelWithoutBeingToldAnything)
{
    program->Post("/wheel", "{}");
    const int before = program->State()["measured"];
    EXPECT_EQ(program->Post("/measure", "{}").status, 200);
    EXPECT_EQ(program->Post("/measure", "{}").status, 409) << "one at a time";
    ASSERT_TRUE(program->WaitFor([before] { return program->State()["measured"] == before + 1; }));
    const json found = program->Get("/measured").Json()["diagnosis"];
    EXPECT_TRUE(program->Get("/measured").Json()["proposal"].is_null()) << "nothing is known of a run";
    EXPECT_EQ(found["teeth"], 40);
    EXPECT_EQ(found["sense"], "cw");
    EXPECT_NEAR(found["ring"][0], 216, 3);
    EXPECT_NEAR(found["ring"][1], 250, 3);
    EXPECT_NEAR(found["centre"][0], 652.4, 0.2);
    EXPECT_NEAR(found["centre"][1], 471.7, 0.2);
    EXPECT_NEAR(found["degrees_per_frame"], 0.4, 0.01);
}

// ---------------------------------------------------------------------------------- beginning and ending

TEST(SetupProgramRuns, EndsBySignalsAlsoWhileSomeoneLooksOn)
{
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        SetupProgram program(SETUP_PATH);
        EXPECT_TRUE(program.WaitForCamera("films"));
        Connection viewer = program.Watch(), half(program.port);
        half.Send("GET /");
        while (Pictures(viewer.received) == 0 && viewer.Receive(milliseconds(1000))) {
        }
        EXPECT_EQ(program.End(signal), 0) << "signal " << signal;
        EXPECT_EQ(program.child->err,
                  "Simulated camera: these frames show a drawn wheel, not a real machine\n");
    }
}

TEST(SetupProgramRuns, GivesTheCameraBackAtItsEnd)
{
    SetupProgram program(SETUP_FILM_CAMERA);
    EXPECT_TRUE(program.WaitForCamera("films"));
    EXPECT_EQ(program.End(SIGINT), 0);
    const std::string log = program.folder.Read(filmLog);
    EXPECT_EQ(log.rfind("constructed\nopen(true)\ngrab\n", 0), 0u) << log.substr(0, 100);
    EXPECT_EQ(log.substr(log.size() - 10), "destroyed\n");
    EXPECT_EQ(log.find("constructed", 5), log.npos) << "opened once";
}

TEST(SetupProgramRuns, ACameraThatDoesNotOpenIsTriedAgainAndThePageSaysSo)
{
    SetupProgram program(SETUP_CLOSED_CAMERA);
    EXPECT_TRUE(program.WaitForCamera("away"));
    EXPECT_EQ(program.Get("/").status, 200);
    EXPECT_EQ(program.Post("/measure", "{}").status, 409);
    std::this_thread::sleep_for(std::chrono::milliseconds(900));
    EXPECT_EQ(program.State()["camera"]["state"], "away");
    EXPECT_EQ(program.End(SIGTERM), 0);
}

TEST(SetupProgramRuns, ACameraThatFallsSilentIsOpenedAgain)
{
    SetupProgram silent(SETUP_SILENT_CAMERA);
    EXPECT_TRUE(silent.WaitForCamera("films"));
    const int before = silent.State()["pictures"];
    EXPECT_TRUE(silent.WaitForCamera("silent")) << "after a few pictures";
    EXPECT_TRUE(silent.WaitForCamera("films")) << "and it comes back";
    EXPECT_TRUE(silent.WaitFor([&] { return silent.State()["pictures"] > before + 20; }));
    EXPECT_EQ(silent.End(SIGTERM), 0);
}

TEST(SetupProgramRuns, ViewersRequestsAndWorkKeepItAndThenItEnds)
{
    const TemporaryFolder folder;
    std::filesystem::copy(SETUP_PATH, folder / "telvane-setup");
    folder.Write("telvane-run", "#!/bin/sh\nsleep 2\n");
    std::filesystem::permissions(folder / "telvane-run", std::filesystem::perms::owner_all);
    const double idle = 0.025 * (slowness > 1 ? 3 : 1); // minutes
    SetupProgram program(folder / "telvane-setup", {"--idle", std::to_string(idle)});
    program.Post("/wheel", standardWheel.dump());
    ASSERT_TRUE(program.WaitForCamera("films"));
    const auto idles = std::chrono::duration<double>(60 * idle);
    {
        Connection viewer = program.Watch();
        for (const auto begin = Clock::now(); Clock::now() - begin < 1.5 * idles;)
            viewer.Receive(milliseconds(100));
    }
    for (const auto begin = Clock::now(); Clock::now() - begin < 1.5 * idles;) {
        EXPECT_TRUE(program.State().is_object());
        std::this_thread::sleep_for(milliseconds(100));
    }
    EXPECT_EQ(program.Post("/try", "{}").status, 200);
    const auto tries = Clock::now();
    EXPECT_EQ(program.Status(std::chrono::seconds(20)), 0);
    EXPECT_GE(Clock::now() - tries, std::chrono::seconds(2) + 0.9 * idles)
        << "it goes on until the work is done";
    EXPECT_NE(program.child->out.find("Nobody has looked on for a while: this is the end.\n"),
              std::string::npos);
}

TEST(SetupProgramRuns, OnAllAddressesTheLinksAreThoseOfThisMachine)
{
    char name[256] = {};
    ASSERT_EQ(gethostname(name, sizeof name - 1), 0);
    const TemporaryFolder folder;
    child_process::Child child(
        child_process::Becoming({SETUP_PATH, "--listen", "0.0.0.0:0", "--idle", "10000"}, folder.Path(), {}),
        "");
    const auto end = Clock::now() + std::chrono::seconds(10 * slowness);
    while (child.out.find("http://localhost:") == child.out.npos && Clock::now() < end)
        child.Read(milliseconds(20));
    kill(child.Pid(), SIGTERM);
    while (!child.Ended() && Clock::now() < end) child.Read(milliseconds(20));
    EXPECT_TRUE(WIFEXITED(child.Status()) && WEXITSTATUS(child.Status()) == 0) << child.err;
    EXPECT_EQ(child.out.rfind("Open this link in a browser; Ctrl-C ends the setup.\n  http://" +
                                  std::string(name) + ".local:",
                              0),
              0u)
        << child.out;
    EXPECT_NE(child.out.find("\n  http://localhost:"), child.out.npos) << child.out;
    ifaddrs* all = nullptr;
    ASSERT_EQ(getifaddrs(&all), 0);
    for (const ifaddrs* one = all; one; one = one->ifa_next) {
        if (!one->ifa_addr || one->ifa_addr->sa_family != AF_INET || (one->ifa_flags & IFF_LOOPBACK) != 0)
            continue;
        char text[INET_ADDRSTRLEN] = {};
        inet_ntop(AF_INET, &reinterpret_cast<const sockaddr_in*>(one->ifa_addr)->sin_addr, text, sizeof text);
        EXPECT_NE(child.out.find("\n  http://" + std::string(text) + ":"), child.out.npos) << child.out;
    }
    freeifaddrs(all);
}

TEST(SetupProgramRuns, HelpTellsLimitsAndDefaults)
{
    const TemporaryFolder folder;
    const Finished help = ::Run({SETUP_PATH, "--help"}, folder.Path());
    EXPECT_EQ(help.status, 0);
    for (const char* part : {"0.01 to 10000 (60)", "--listen ADDRESS[:PORT]", "written by Keep"})
        EXPECT_NE(help.out.find(part), help.out.npos) << part << " in " << help.out;
}

TEST(SetupProgramRuns, RequestsThatAreRefusedDoNotKeepItAlive)
{
    SetupProgram program(SETUP_PATH, {"--idle", "0.01"});
    const auto end = Clock::now() + std::chrono::seconds(20 * slowness);
    while (!program.child->Ended() && Clock::now() < end) program.Ask("GET", "/", "");
    EXPECT_TRUE(program.child->Ended());
}

TEST(SetupProgramRuns, APortThatIsTakenIsToldInOneLine)
{
    SetupProgram first(SETUP_PATH);
    const TemporaryFolder folder;
    const Finished second = ::Run({SETUP_PATH, "--listen", first.Host()}, folder.Path());
    EXPECT_EQ(second.status, 1);
    EXPECT_EQ(second.out, "");
    EXPECT_EQ(second.err, "telvane-setup: cannot listen at " + first.Host() + ": Address already in use\n");
    const Finished foreign = ::Run({SETUP_PATH, "--listen", "192.0.2.1:8080"}, folder.Path());
    EXPECT_EQ(foreign.status, 1);
    EXPECT_EQ(foreign.err,
              "telvane-setup: cannot listen at 192.0.2.1:8080: Cannot assign requested address\n");
}

TEST(SetupProgramRuns, WrongArgumentsAreToldInOneLine)
{
    const TemporaryFolder folder;
    folder.Write("broken.toml", "inner = 2x\n");
    folder.Write("unknown.toml", "inner = 216\nsize = 3\n");
    const std::vector<std::pair<std::vector<std::string>, std::string>> cases = {
        {{"--listen", "localhost"}, "--listen: 'localhost' does not begin with a numeric address"},
        {{"--listen", "::1"}, "--listen: '::1' does not begin with a numeric address"},
        {{"--listen", "127.0.0.1:65536"},
         "--listen: '127.0.0.1:65536' does not end with a port from 0 to 65535"},
        {{"--listen", "127.0.0.1:"}, "does not end with a port"},
        {{"--listen", "127.0.0.1:-1"}, "does not end with a port"},
        {{"--listen", "[::1"}, "does not begin with a numeric address"},
        {{"--listen", "[::1]8080"}, "does not end with a port"},
        {{"--idle", "0"}, "--idle takes minutes from 0.01 to 10000, not '0'"},
        {{"--idle", "0.009"}, "--idle takes"},
        {{"--idle", "10001"}, "--idle takes"},
        {{"--idle", "nan"}, "--idle takes"},
        {{"--idle", "soon"}, "--idle takes"},
        {{"--config", "broken.toml"}, "broken.toml:1:"},
        {{"--config", "unknown.toml"}, "unknown.toml:2:1: there is no option 'size'"},
        {{"--unknown"}, "there is no option '--unknown'"},
        {{"word"}, "there is no option 'word'"},
    };
    for (const auto& [words, expected] : cases) {
        std::vector<std::string> argv = {SETUP_PATH};
        argv.insert(argv.end(), words.begin(), words.end());
        const Finished run = ::Run(argv, folder.Path());
        EXPECT_EQ(run.status, 2) << words.back();
        EXPECT_EQ(run.out, "");
        EXPECT_NE(run.err.find(expected), std::string::npos) << run.err;
        EXPECT_EQ(std::count(run.err.begin(), run.err.end(), '\n'), 1) << run.err;
    }
}

TEST(SetupProgramRuns, WithoutSomewhereToPrintTheLinkItDoesNotStay)
{
    const TemporaryFolder folder;
    RunOptions options;
    options.before = [] { SendOutputTo("/dev/full"); };
    const Finished run = ::Run({SETUP_PATH, "--listen", "127.0.0.1:0"}, folder.Path(), options);
    EXPECT_EQ(run.status, 1);
    EXPECT_NE(run.err.find("cannot write to standard output"), std::string::npos) << run.err;
}

#ifndef SANITIZED // sanitizers keep more addresses for themselves than are left here
TEST(SetupProgramRuns, WithTooLittleMemoryItSaysSoAndEnds)
{
    const TemporaryFolder folder;
    int ended = 0;
    for (const rlim_t megabytes : {12, 16, 20, 24, 28, 32, 40, 48, 64, 96}) {
        SCOPED_TRACE(megabytes);
        RunOptions options;
        options.timeout = std::chrono::seconds(20);
        options.before = [megabytes] {
            const rlimit limit{megabytes << 20, megabytes << 20};
            setrlimit(RLIMIT_AS, &limit);
        };
        // It ends by itself when it has come up and nobody looks on.
        const Finished run =
            ::Run({SETUP_PATH, "--listen", "127.0.0.1:0", "--idle", "0.01"}, folder.Path(), options);
        EXPECT_FALSE(run.timedOut);
        EXPECT_EQ(run.signal, 0) << run.err;
        if (run.status == 0 || run.status == 127) continue; // enough, or too little for the loader
        EXPECT_EQ(run.status, 1) << run.err;
        EXPECT_NE(run.err.find("telvane-setup: "), std::string::npos) << run.err;
        EXPECT_EQ(run.err.find("terminate"), std::string::npos) << run.err;
        ended++;
    }
    EXPECT_GT(ended, 0);
}

TEST(SetupProgramRuns, ASmallStackIsEnoughToFilm)
{
    const TemporaryFolder folder;
    RunOptions options;
    options.before = [] {
        const rlimit limit{64 << 10, 64 << 10}; // that of its threads as well
        setrlimit(RLIMIT_STACK, &limit);
    };
    const Finished run =
        ::Run({SETUP_PATH, "--listen", "127.0.0.1:0", "--idle", "0.01"}, folder.Path(), options);
    EXPECT_EQ(run.status, 0) << run.signal << run.err;
}
#endif

TEST(SetupProgramRuns, NamesOfAnyBytesReachNoTerminal)
{
    const TemporaryFolder folder;
    folder.Write("a\033\xFF", "[");
    const Finished run = ::Run({SETUP_PATH, "--config", "a\033\xFF"}, folder.Path());
    EXPECT_EQ(run.status, 2);
    EXPECT_EQ(run.err.rfind("telvane-setup: a\\x1B\\xFF:1:", 0), 0u) << run.err;
    SetupProgram program(SETUP_PATH, {"--config", "new\033\xFF"});
    EXPECT_EQ(program.Get("/wheel").Json()["config"], "new\\x1B\\xFF");
}

TEST(SetupProgramRuns, KeepWritesTheFileAndWhatItHeldBesideStays)
{
    SetupProgram program(SETUP_PATH, {"--config", "wheel.toml"});
    EXPECT_EQ(program.Post("/keep", "{}").status, 409) << "nothing is set up yet";
    EXPECT_FALSE(program.folder.Has("wheel.toml"));
    program.Post("/wheel", standardWheel.dump());
    EXPECT_EQ(program.Post("/keep", "{}").status, 200);
    EXPECT_EQ(program.folder.Read("wheel.toml"), program.Get("/wheel.toml").body);

    const TemporaryFolder folder;
    folder.Write("wheel.toml", program.folder.Read("wheel.toml") + "keep = 3\nout = \"kept here\"\n");
    SetupProgram again(SETUP_PATH, {"--config", folder / "wheel.toml"});
    json expected = program.Get("/wheel").Json()["wheel"];
    expected["centre"] = {640.0, 480.0}; // no option: the picture's middle
    EXPECT_EQ(again.Get("/wheel").Json()["wheel"], expected);
    json other = standardWheel;
    other["outer"] = 251;
    again.Post("/wheel", other.dump());
    EXPECT_EQ(again.Post("/keep", "{}").status, 200);
    const std::string kept = folder.Read("wheel.toml");
    EXPECT_NE(kept.find("\nouter = 251\n"), kept.npos) << kept;
    EXPECT_NE(kept.find("\nkeep = 3\n"), kept.npos) << kept;
    EXPECT_NE(kept.find("\nout = \"kept here\"\n"), kept.npos) << kept;

    std::filesystem::remove(folder / "wheel.toml");
    std::filesystem::create_directory(folder / "wheel.toml");
    const HttpReply failed = again.Post("/keep", "{}");
    EXPECT_EQ(failed.status, 409);
    EXPECT_NE(failed.body.find("wheel.toml"), std::string::npos) << failed.body;
}

TEST(SetupProgramRuns, TryHandsFreshFramesToTelvaneRunAndShowsItsReport)
{
    // A telvane-run that writes down what it is given.
    const TemporaryFolder folder;
    std::filesystem::copy(SETUP_PATH, folder / "telvane-setup");
    const auto stand = [&folder](const std::string& lines) {
        folder.Write("telvane-run", "#!/bin/sh\n" + lines);
        std::filesystem::permissions(folder / "telvane-run", std::filesystem::perms::owner_all);
    };
    stand("for w in \"$@\"; do echo \"$w\"; done >'" + folder / "words" + "'\n" + "cp \"$2\" '" +
          folder / "config" + "'\nls \"$4\" >'" + folder / "frames" +
          "'\nmkdir -p \"$6/1\"\nln -s 1 \"$6/latest\"\n" +
          "echo '{\"verdict\":\"good\",\"evidence\":\"it fits\"}' >\"$6/latest/run.json\"\n" +
          "echo '<p>a report</p>' >\"$6/latest/report.html\"\n");
    // Where an earlier program was killed, its pictures are still there.
    namespace fs = std::filesystem;
    const std::string place = fs::temp_directory_path() / ("telvane-setup-" + std::to_string(getpid()));
    fs::create_directories(place + "/frames");
    fs::create_directories(place + "new");
    fs::last_write_time(place, fs::file_time_type::clock::now() - std::chrono::minutes(5));
    SetupProgram program(folder / "telvane-setup");
    ASSERT_TRUE(program.WaitForCamera("films"));
    EXPECT_EQ(program.Get("/report").status, 404);
    json wheel = standardWheel;
    wheel["count"] = 4;
    program.Post("/wheel", wheel.dump());
    EXPECT_EQ(program.Post("/try", "{}").status, 200);
    ASSERT_TRUE(program.WaitFor([&] { return program.State()["tried"] == 1; }));
    const json tried = program.Get("/tried").Json();
    EXPECT_EQ(tried["verdict"], "good");
    EXPECT_TRUE(tried["report"]);
    EXPECT_TRUE(tried["problem"].is_null());
    EXPECT_FALSE(fs::exists(place));
    EXPECT_TRUE(fs::remove(place + "new")) << "it may not have its lock yet";
    EXPECT_EQ(folder.Read("frames"), "img1.bmp\nimg2.bmp\nimg3.bmp\nimg4.bmp\n");
    EXPECT_EQ(folder.Read("config"), program.Get("/wheel.toml").body);
    const HttpReply report = program.Get("/report");
    EXPECT_EQ(report.body, "<p>a report</p>\n");
    EXPECT_NE(report.Header("Content-Security-Policy").find("sandbox"), std::string::npos);
    const std::string words = folder.Read("words"),
                      made = words.substr(words.find('/'), words.find("/wheel.toml") - words.find('/'));
    EXPECT_FALSE(std::filesystem::exists(made)) << made << " is gone again";

    stand("echo 'telvane-run: no room' >&2\nexit 4\n");
    program.Post("/try", "{}");
    ASSERT_TRUE(program.WaitFor([&] { return program.State()["tried"] == 2; }));
    EXPECT_NE(program.Get("/tried").Json()["problem"].get<std::string>().find("telvane-run: no room"),
              std::string::npos);
    EXPECT_EQ(program.Get("/report").status, 404) << "an earlier report is not this one's";

    // While it runs, the program still ends at once, and takes it along.
    stand("sleep 60\n");
    program.Post("/try", "{}");
    EXPECT_EQ(program.Post("/try", "{}").status, 409);
    EXPECT_EQ(program.End(SIGTERM), 0);
}

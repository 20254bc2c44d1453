// Who may ask for what: token, cookie, Host, Origin, sizes.
#include <setup/Access.h>

#include <gtest/gtest.h>

#include <cstddef>
#include <set>
#include <string>

using namespace telvane;

namespace {

const Rights rights{"00112233445566778899aabbccddeeff", "telvane-8080", "ffeeddccbbaa99887766554433221100",
                    "board"};

HttpRequest Asking(const std::string& method, const std::string& path)
{
    return {
        method, path, {}, {{"Host", "board.local:8080"}, {"Cookie", "telvane-8080=" + rights.cookie}}, ""};
}

HttpRequest Changing()
{
    HttpRequest request = Asking("POST", "/measure");
    request.headers.emplace_back("Origin", "http://board.local:8080");
    return request;
}

Access Decided(const HttpRequest& request) { return Decide(request, request.body.size(), rights); }

std::string& Header(HttpRequest& request, const std::string& name)
{
    for (auto& [key, value] : request.headers)
        if (key == name) return value;
    return request.headers.emplace_back(name, "").second;
}

void Drop(HttpRequest& request, const std::string& name)
{
    std::erase_if(request.headers, [&name](const auto& header) { return header.first == name; });
}

} // namespace

TEST(Access, SecretsHave128BitsAndAreNewEachTime)
{
    std::set<std::string> seen;
    for (int i = 0; i < 100; i++) {
        const std::string secret = RandomSecret();
        EXPECT_EQ(secret.size(), 32u);
        EXPECT_EQ(secret.find_first_not_of("0123456789abcdef"), secret.npos) << secret;
        seen.insert(secret);
    }
    EXPECT_EQ(seen.size(), 100u);
    // Of 1600 pairs about 100 are of equal digits.
    int pairs = 0;
    for (const std::string& secret : seen)
        for (std::size_t i = 0; i < 32; i += 2) pairs += secret[i] == secret[i + 1];
    EXPECT_LT(pairs, 400) << "every digit is random";
}

TEST(Access, SecretsAreComparedToTheirLastByte)
{
    EXPECT_TRUE(SameSecret("abc", "abc"));
    EXPECT_FALSE(SameSecret("abc", "abd"));
    EXPECT_FALSE(SameSecret("bbc", "abc"));
    EXPECT_FALSE(SameSecret("ab", "abc"));
    EXPECT_FALSE(SameSecret("abcd", "abc"));
    EXPECT_FALSE(SameSecret("", "")) << "no secret opens nothing";
}

TEST(Access, HostsAreAddressesLocalhostAndTheMachinesNames)
{
    for (const char* host : {"127.0.0.1", "127.0.0.1:8080", "192.168.1.5:1", "10.0.0.1:65535", "[::1]",
                             "[::1]:8080", "[fe80::1]:99", "[::ffff:1.2.3.4]", "localhost", "localhost:9000",
                             "LOCALHOST", "board", "Board:8080", "board.local", "BOARD.LOCAL:80"})
        EXPECT_TRUE(KnownHost(host, "board")) << host;
    for (const char* host : {"",
                             "evil.example",
                             "evil.example:8080",
                             "127.0.0.1.evil.example",
                             "localhost.evil.example",
                             "xlocalhost",
                             "localhost.",
                             "localhos",
                             "board.local.evil.example",
                             "board.lan",
                             "boards",
                             "board.localx",
                             "evil.board",
                             "127.0.0.1:",
                             "127.0.0.1:0",
                             "127.0.0.1:65536",
                             "127.0.0.1:8x",
                             "127.0.0.1:+80",
                             "127.0.0.1:000080",
                             "127.0.0.1:80:80",
                             "127.0.0",
                             "1.2.3.4.5",
                             "256.1.1.1",
                             "0x7f000001",
                             "2130706433",
                             "::1",
                             "[::1",
                             "::1]",
                             "[::1]x",
                             "[::1]:",
                             "[::1]8080",
                             "[localhost]",
                             "[127.0.0.1]",
                             "[]",
                             "[fe80::1%eth0]",
                             " localhost",
                             "localhost ",
                             "user@localhost",
                             "localhost/",
                             ":8080",
                             ".local"})
        EXPECT_FALSE(KnownHost(host, "board")) << host;
    EXPECT_TRUE(KnownHost("AZ.local", "az"));
    for (const char* other : {"@z", "[z", "`z", "{z"}) EXPECT_FALSE(KnownHost(other, "az")) << other;
    EXPECT_FALSE(KnownHost(std::string("127.0.0.1\0.evil.example", 23), "board"));
    EXPECT_FALSE(KnownHost(".local", "")) << "a machine without a name has none with .local either";
    EXPECT_FALSE(KnownHost("", ""));
}

TEST(Access, TheLinkIsTradedForTheCookieWithoutOne)
{
    HttpRequest link = Asking("GET", "/");
    Drop(link, "Cookie");
    link.arguments = {{"token", rights.token}};
    EXPECT_EQ(Decided(link), Access::trade);
    link.method = "HEAD";
    EXPECT_EQ(Decided(link), Access::trade);
}

TEST(Access, AWrongLinkOpensNothing)
{
    HttpRequest link = Asking("GET", "/");
    for (const std::string& token : {rights.token.substr(1), rights.token + "0", rights.cookie, std::string(),
                                     std::string(32, '0'), "A" + rights.token.substr(1)}) {
        link.arguments = {{"token", token}};
        EXPECT_EQ(Decided(link), Access::refused) << token;
    }
    link.arguments = {{"Token", rights.token}};
    EXPECT_EQ(Decided(link), Access::refused);
    link.arguments = {{"token", rights.token}, {"token", "x"}};
    EXPECT_EQ(Decided(link), Access::refused);
    link.arguments = {{"token", rights.token}};
    link.path = "/state";
    Drop(link, "Cookie");
    EXPECT_EQ(Decided(link), Access::refused) << "the token opens / alone";
    link.path = "/";
    link.method = "POST";
    EXPECT_EQ(Decided(link), Access::refused);
    link.method = "GET";
    Header(link, "Host") = "evil.example";
    EXPECT_EQ(Decided(link), Access::refused) << "not even with the token";
}

TEST(Access, EverythingElseNeedsTheCookie)
{
    for (const char* path : {"/", "/state", "/live", "/none"}) {
        HttpRequest request = Asking("GET", path);
        EXPECT_EQ(Decided(request), Access::granted) << path;
        Drop(request, "Cookie");
        EXPECT_EQ(Decided(request), Access::refused) << path;
    }
}

TEST(Access, TheCookieIsFoundAmongOthers)
{
    const std::string good = "telvane-8080=" + rights.cookie;
    for (const std::string& text : {good, "a=b; " + good, good + "; a=b", "a=b;" + good + ";", "; ;" + good,
                                    "telvane-8080=old; " + good}) {
        HttpRequest request = Asking("GET", "/");
        Header(request, "Cookie") = text;
        EXPECT_EQ(Decided(request), Access::granted) << text;
    }
    for (const std::string& text :
         {std::string(), std::string("telvane-8080"), std::string("telvane-8080="),
          good.substr(0, good.size() - 1), good + "0", "telvane-8081=" + rights.cookie,
          "Telvane-8080=" + rights.cookie, "xtelvane-8080=" + rights.cookie, "telvane-8080=" + rights.token,
          "a=" + good, rights.cookie, std::string(";;;="), "telvane-8080 =" + rights.cookie}) {
        HttpRequest request = Asking("GET", "/");
        Header(request, "Cookie") = text;
        EXPECT_EQ(Decided(request), Access::refused) << text;
    }
    HttpRequest split = Asking("GET", "/");
    Header(split, "Cookie") = "a=b";
    split.headers.emplace_back("cookie", good);
    EXPECT_EQ(Decided(split), Access::granted) << "cookies may come in several headers";
}

TEST(Access, AnotherHostIsRefusedWithTheCookieToo)
{
    HttpRequest request = Asking("GET", "/state");
    Header(request, "Host") = "evil.example:8080";
    EXPECT_EQ(Decided(request), Access::refused);
}

TEST(Access, WithoutOneHostItIsAmbiguous)
{
    HttpRequest request = Asking("GET", "/");
    request.headers.emplace_back("host", "localhost");
    EXPECT_EQ(Decided(request), Access::ambiguous);
    Drop(request, "Host");
    EXPECT_EQ(Decided(request), Access::granted);
    Drop(request, "host");
    EXPECT_EQ(Decided(request), Access::ambiguous);
    HttpRequest twice = Changing();
    twice.headers.emplace_back("origin", "http://board.local:8080");
    EXPECT_EQ(Decided(twice), Access::ambiguous);
}

TEST(Access, WhatChangesSomethingComesFromThisPage)
{
    EXPECT_EQ(Decided(Changing()), Access::granted);
    for (const char* origin :
         {"", "null", "http://evil.example", "http://board.local", "http://board.local:8081",
          "https://board.local:8080", "http://board.local:8080.evil.example", "board.local:8080",
          "http://localhost:8080", "http://board.local:8080/"}) {
        HttpRequest request = Changing();
        Header(request, "Origin") = origin;
        EXPECT_EQ(Decided(request), Access::refused) << origin;
    }
    HttpRequest none = Changing();
    Drop(none, "Origin");
    EXPECT_EQ(Decided(none), Access::refused);
    for (const char* method : {"PUT", "DELETE", "PATCH", "OPTIONS", "TRACE", "get", ""}) {
        HttpRequest other = Changing();
        other.method = method;
        EXPECT_EQ(Decided(other), Access::granted) << method << " is as good as a POST";
        Drop(other, "Origin");
        EXPECT_EQ(Decided(other), Access::refused) << method;
    }
    HttpRequest page = Asking("GET", "/");
    page.headers.emplace_back("Origin", "http://evil.example");
    EXPECT_EQ(Decided(page), Access::granted) << "reading needs no Origin: the answer is for this page alone";
}

TEST(Access, BodiesAreOfAtMost64KB)
{
    EXPECT_EQ(Decide(Changing(), 65536, rights), Access::granted);
    EXPECT_EQ(Decide(Changing(), 65537, rights), Access::tooLarge);
    HttpRequest foreign = Changing();
    Drop(foreign, "Cookie");
    EXPECT_EQ(Decide(foreign, 65537, rights), Access::refused)
        << "who may not ask learns nothing about limits";
}

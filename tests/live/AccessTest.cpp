#include "host/live/Access.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace {

using Verdict = Access::Verdict;
using Headers = std::vector<Request::Header>;

const std::string pageToken(32, 'a');
const std::string accessToken(32, 'b');
const std::string wrongToken(32, 'c');

Access loopback(std::uint16_t port = 8484)
{
  return {{"", port, false}, {pageToken, ""}};
}

Access listening(const std::string& address)
{
  const bool isAny = address == "0.0.0.0" || address == "::";
  return {{address, 8484, isAny}, {pageToken, accessToken}};
}

Verdict verdict(const Access& access, std::string_view method, std::string_view target, Headers headers)
{
  Request request;
  request.method = method;
  request.target = target;
  request.headers = std::move(headers);
  return access.verdict(request);
}

// Those of the lines, which they refer to, behind the server's own name.
Headers headersOf(std::string_view lines)
{
  Headers headers{{"Host", "localhost:8484"}};
  while (!lines.empty()) {
    const std::string_view line = lines.substr(0, lines.find('\n'));
    headers.push_back({line.substr(0, line.find(": ")), line.substr(line.find(": ") + 2)});
    lines.remove_prefix(std::min(lines.size(), line.size() + 1));
  }
  return headers;
}

TEST(Access, IsByTheServersOwnNamesOnly)
{
  const struct {
    const char* address;
    const char* host;
    bool isOwn;
  } cases[] = {
      {"", "127.0.0.1:8484", true},
      {"", "localhost:8484", true},
      {"", "LocalHost:8484", true},
      {"", "[::1]:8484", true},
      {"", "", false},
      {"", "127.0.0.1", false},
      {"", "127.0.0.1:80", false},
      {"", "127.0.0.1:8484:8484", false},
      {"", "evil.example:8484", false},
      {"", "localhost.evil.example:8484", false},
      {"", "localhost.:8484", false},
      {"", "x@localhost:8484", false},
      {"", "192.168.1.20:8484", false},
      {"192.168.1.20", "192.168.1.20:8484", true},
      {"192.168.1.20", "127.0.0.1:8484", true},
      {"192.168.1.20", "192.168.1.21:8484", false},
      {"fd00::20", "[fd00::20]:8484", true},
      {"fd00::20", "fd00::20:8484", false},
      {"lab-pc.local", "Lab-PC.local:8484", true},
      {"lab-pc.local", "192.168.1.20:8484", false},
      // With a number a browser has looked up nothing that somebody else could have changed.
      {"0.0.0.0", "10.1.2.3:8484", true},
      {"0.0.0.0", "[fd00::20]:8484", true},
      {"::", "10.1.2.3:8484", true},
      {"0.0.0.0", "lab-pc.local:8484", false},
      {"0.0.0.0", "10.1.2.3.evil.example:8484", false},
      {"0.0.0.0", "10.1.2:8484", false},
      {"0.0.0.0", "10.1.2.0xff:8484", false},
      {"0.0.0.0", "[evil.example]:8484", false},
      {"0.0.0.0", "[]:8484", false},
  };
  for (const auto& [address, host, isOwn] : cases) {
    const std::string bearer = "Bearer " + accessToken;
    const Access access = *address == '\0' ? loopback() : listening(address);
    EXPECT_EQ(verdict(access, "GET", "/", {{"Host", host}, {"Authorization", bearer}}),
              isOwn ? Verdict::allowed : Verdict::foreignHost)
        << address << " as " << host;
  }
  EXPECT_EQ(verdict(loopback(80), "GET", "/", {{"Host", "localhost"}}), Verdict::allowed) << "the web's port";
}

TEST(Access, IsNotForOtherPages)
{
  const struct {
    const char* name;
    const char* target;
    const char* headers;
    Verdict expected;
  } cases[] = {
      {"two hosts", "/", "host: localhost:8484", Verdict::ambiguous},
      {"own origin", "/", "Origin: http://localhost:8484", Verdict::allowed},
      {"origin of another own name", "/", "Origin: http://127.0.0.1:8484", Verdict::foreignOrigin},
      {"foreign origin", "/", "Origin: http://evil.example", Verdict::foreignOrigin},
      {"origin of another port", "/", "Origin: http://localhost:80", Verdict::foreignOrigin},
      {"encrypted origin", "/", "Origin: https://localhost:8484", Verdict::foreignOrigin},
      {"origin without a name", "/", "Origin: null", Verdict::foreignOrigin},
      {"empty origin", "/", "Origin: ", Verdict::foreignOrigin},
      {"two origins", "/", "Origin: http://localhost:8484\nOrigin: http://localhost:8484",
       Verdict::ambiguous},
      {"fetched by the page", "/api/state", "Sec-Fetch-Site: same-origin", Verdict::allowed},
      {"typed by the user", "/api/state", "Sec-Fetch-Site: none", Verdict::allowed},
      {"embedded elsewhere", "/api/state", "Sec-Fetch-Site: cross-site", Verdict::foreignOrigin},
      {"from another port", "/api/stream", "Sec-Fetch-Site: same-site", Verdict::foreignOrigin},
      {"two sites", "/api/state", "Sec-Fetch-Site: none\nSec-Fetch-Site: none", Verdict::ambiguous},
      {"a link to the page", "/", "Sec-Fetch-Site: cross-site", Verdict::allowed},
  };
  for (const auto& [name, target, headers, expected] : cases) {
    EXPECT_EQ(verdict(loopback(), "GET", target, headersOf(headers)), expected) << name;
  }
  EXPECT_EQ(verdict(loopback(), "GET", "/", {}), Verdict::ambiguous) << "no host";
}

TEST(Access, ToChangesNeedsThePagesToken)
{
  const struct {
    const char* name;
    const char* method;
    std::string headers;
    Verdict expected;
  } cases[] = {
      {"right", "POST", "x-tessel-token: " + pageToken, Verdict::allowed},
      {"missing", "POST", "", Verdict::noPageToken},
      {"wrong", "POST", "X-Tessel-Token: " + wrongToken, Verdict::noPageToken},
      {"its beginning", "POST", "X-Tessel-Token: aaaa", Verdict::noPageToken},
      {"the access token", "POST", "X-Tessel-Token: " + accessToken, Verdict::noPageToken},
      {"two", "POST", "X-Tessel-Token: " + pageToken + "\nX-Tessel-Token: " + wrongToken, Verdict::ambiguous},
      {"other methods", "PUT", "", Verdict::noPageToken},
      {"a method in small letters", "get", "", Verdict::noPageToken},
      {"what a browser asks before a foreign page's request", "OPTIONS", "", Verdict::noPageToken},
      {"HEAD changes nothing", "HEAD", "", Verdict::allowed},
  };
  for (const auto& [name, method, headers, expected] : cases) {
    EXPECT_EQ(verdict(loopback(), method, "/api/marker", headersOf(headers)), expected) << name;
  }
}

TEST(Access, FromOtherComputersNeedsTheAccessToken)
{
  const Access access = listening("192.168.1.20");
  const Request::Header host{"Host", "192.168.1.20:8484"};
  const std::string bearer = "Bearer " + accessToken;
  const std::string wrongBearer = "Bearer " + wrongToken;
  const std::string basic = "Basic " + accessToken;
  const std::string cookie = "other=1; tessel-8484=" + accessToken;
  const std::string otherPort = "tessel-8485=" + accessToken;
  const std::string wrongCookie = "tessel-8484=" + wrongToken;
  const struct {
    const char* name;
    std::string target;
    Headers headers;
    bool isAllowed;
  } cases[] = {
      {"missing", "/", {host}, false},
      {"missing for the interface", "/api/state", {host}, false},
      {"also over the loopback address", "/", {{"Host", "localhost:8484"}}, false},
      {"in the address", "/?token=" + accessToken, {host}, true},
      {"in the address of the interface", "/api/state?x=1&token=" + accessToken, {host}, true},
      {"too long in the address", "/?token=" + accessToken + "0", {host}, false},
      {"empty in the address", "/?token=", {host}, false},
      {"of another name in the address", "/?xtoken=" + accessToken, {host}, false},
      {"the page's in the address", "/?token=" + pageToken, {host}, false},
      {"as a bearer", "/api/state", {host, {"Authorization", bearer}}, true},
      {"wrong as a bearer", "/api/state", {host, {"Authorization", wrongBearer}}, false},
      {"of another scheme", "/api/state", {host, {"Authorization", basic}}, false},
      {"as a cookie", "/api/state", {host, {"Cookie", cookie}}, true},
      {"as the cookie of another port", "/api/state", {host, {"Cookie", otherPort}}, false},
      {"wrong as a cookie", "/api/state", {host, {"Cookie", wrongCookie}}, false},
      {"an old link in a browser that has access", "/?token=" + wrongToken, {host, {"Cookie", cookie}}, true},
      {"cookies that are no cookies", "/", {host, {"Cookie", ";;= ; ="}}, false},
  };
  for (const auto& [name, target, headers, isAllowed] : cases) {
    EXPECT_EQ(verdict(access, "GET", target, headers), isAllowed ? Verdict::allowed : Verdict::noToken)
        << name;
  }
  EXPECT_EQ(verdict(access, "POST", "/api/marker", {host, {"Cookie", cookie}}), Verdict::noPageToken)
      << "the cookie comes with requests that other pages make";
  EXPECT_EQ(verdict(access, "POST", "/api/marker", {host, {"X-Tessel-Token", pageToken}}), Verdict::noToken);
}

TEST(Access, HasATokenThatNobodyCanGuess)
{
  const std::string token = randomToken();
  EXPECT_EQ(token.size(), 32U);
  EXPECT_EQ(token.find_first_not_of("0123456789abcdef"), std::string::npos) << token;
  EXPECT_NE(token, randomToken());
}

}  // namespace

#include "host/live/Requests.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <set>

#include "host/live/Assets.h"
#include "tests/live/StubSource.h"

namespace {

using namespace std::chrono_literals;

constexpr Requests::Time start = 100s;

// A server that other computers reach, or one that they do not.
struct Server {
  explicit Server(const std::string& accessToken = "", MarkerQueue* taken = nullptr)
      : requests({{"", 8484, false}, {"page", accessToken}}, texts, taken == nullptr ? &markers : taken,
                 {2, 3})
  {
  }

  Reply send(std::string_view method, std::string_view target, std::vector<Request::Header> more = {},
             std::string_view body = "")
  {
    Request request;
    request.method = method;
    request.target = target;
    request.headers = std::move(more);
    request.headers.push_back({"Host", "localhost:8484"});
    request.body = body;
    return requests.answer(request, start, viewers);
  }

  Reply mark(std::string_view body, std::string_view type = "application/json")
  {
    return send("POST", "/api/marker", {{"X-Tessel-Token", "page"}, {"Content-Type", type}}, body);
  }

  StubSource source;
  LiveTexts texts{source, "page"};
  MarkerQueue markers;
  Requests requests;
  std::size_t viewers = 0;
};

int status(const Reply& reply)
{
  return std::stoi(reply.head.substr(9, 3));
}

bool has(const Reply& reply, std::string_view line)
{
  return reply.head.find("\r\n" + std::string(line) + "\r\n") != std::string::npos;
}

// Of any answer; errors are for people, too.
void expectSound(const Reply& reply, const std::string& name)
{
  for (const char* header :
       {"Content-Security-Policy: default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self' "
        "data:; connect-src 'self'; base-uri 'none'; form-action 'none'; frame-ancestors 'none'",
        "X-Content-Type-Options: nosniff", "X-Frame-Options: DENY", "Referrer-Policy: no-referrer",
        "Cross-Origin-Resource-Policy: same-origin", "Cross-Origin-Opener-Policy: same-origin",
        "Cache-Control: no-store"}) {
    EXPECT_TRUE(has(reply, header)) << name << ": " << header;
  }
  EXPECT_EQ(reply.head.find("Access-Control"), std::string::npos) << name;
  EXPECT_TRUE(reply.head.ends_with("\r\n\r\n")) << name;
  if (status(reply) >= 400 && status(reply) != 401 && !reply.content.empty()) {
    EXPECT_FALSE(nlohmann::json::parse(reply.content).at("error").get<std::string>().empty()) << name;
  }
}

TEST(Requests, AreAnsweredWithWhatIsThereAndNothingElse)
{
  const struct {
    const char* method;
    std::string target;
    int expected;
  } cases[] = {
      {"GET", "/uPlot.iife.min.js", 200},
      {"GET", "/uPlot.min.css?v=1", 200},
      {"HEAD", "/uPlot.min.css", 200},
      {"GET", "/api/state", 200},
      {"GET", "/api/history", 200},
      {"GET", "/api/stream", 200},
      {"GET", "/api/marker", 405},
      {"GET", "", 404},
      {"GET", "/api/state/", 404},
      {"GET", "/api%2Fstate", 404},
      {"GET", "/../etc/passwd", 404},
      {"GET", "/%2e%2e/etc/passwd", 404},
      {"GET", "/..\\..\\boot.ini", 404},
      {"GET", std::string("/uPlot.min.css\0", 15), 404},
      {"GET", "http://localhost:8484/api/state", 404},
      {"GET", "/<script>alert(1)</script>\"\\", 404},
  };
  for (const auto& [method, target, expected] : cases) {
    Server server;
    const Reply reply = server.send(method, target);
    EXPECT_EQ(status(reply), expected) << method << ' ' << target;
    expectSound(reply, target);
    EXPECT_EQ(reply.content.find("script>"), std::string_view::npos) << "no request comes back";
  }

  Server server;
  for (const char* method : {"POST", "PUT", "DELETE", "OPTIONS"}) {
    const Reply reply = server.send(method, "/api/state", {{"X-Tessel-Token", "page"}});
    EXPECT_EQ(status(reply), 405) << method;
    EXPECT_TRUE(has(reply, "Allow: GET, HEAD")) << method;
  }
  EXPECT_TRUE(has(server.send("GET", "/api/marker"), "Allow: POST"));
}

TEST(Requests, ForFilesGetThemWithTheirType)
{
  std::set<std::string_view> paths;
  for (const Asset& asset : assets()) {
    EXPECT_TRUE(paths.insert(asset.path).second) << asset.path;
    EXPECT_FALSE(asset.content.empty()) << asset.path;
    Server server;
    const Reply reply = server.send("GET", asset.path);
    EXPECT_EQ(reply.content.data(), asset.content.data());
    EXPECT_TRUE(has(reply, "Content-Type: " + std::string(asset.type))) << asset.path;
    EXPECT_TRUE(has(reply, "Content-Length: " + std::to_string(asset.content.size()))) << asset.path;
  }
}

TEST(Requests, SetMarkers)
{
  const std::string longest(1000, 'x');
  const struct {
    std::string body;
    const char* type;
    int expected;
    std::string text;
  } cases[] = {
      {R"({"text":"task A begins"})", "application/json", 200, "task A begins"},
      {R"({"text":"ä"})", "application/json; charset=utf-8", 200, "ä"},
      {R"({"text":""})", "Application/JSON", 200, "marker 1"},
      {R"({})", "application/json", 200, "marker 1"},
      {R"({"text":"\u001b[2J<b>"})", "application/json", 200, "\\x1B[2J<b>"},
      {R"({"text":")" + longest + R"("})", "application/json", 200, longest},
      {R"({"text":")" + longest + R"(x"})", "application/json", 400, ""},
      {R"({"text":"a\nb"})", "application/json", 400, ""},
      {R"({"text":7})", "application/json", 400, ""},
      {R"({"txt":"a"})", "application/json", 400, ""},
      {"{\"text\":\"\xFF\"}", "application/json", 400, ""},
      {std::string(4000, '['), "application/json", 400, ""},
      {"", "application/json", 400, ""},
      // What a page of somebody else could send without being asked for more.
      {R"({"text":"a"})", "text/plain", 415, ""},
      {R"({"text":"a"})", "application/jsonx", 415, ""},
      {R"({"text":"a"})", "", 415, ""},
  };
  for (const auto& [body, type, expected, text] : cases) {
    Server server;
    const Reply reply = server.mark(body, type);
    EXPECT_EQ(status(reply), expected) << body;
    expectSound(reply, body);
    const auto markers = server.markers.take(10);
    ASSERT_EQ(markers.size(), text.empty() ? 0U : 1U) << body;
    if (text.empty()) continue;
    EXPECT_EQ(markers[0].text, text);
    EXPECT_EQ(markers[0].time, start);
    EXPECT_EQ(nlohmann::json::parse(reply.content), (nlohmann::json{{"text", text}}));
  }
}

TEST(Requests, AreLimited)
{
  Server server;
  for (const int expected : {200, 200, 200, 429}) {
    EXPECT_EQ(status(server.mark("{}")), expected) << "markers a second";
  }
  EXPECT_EQ(server.markers.take(10).size(), 3U);

  server.viewers = 2;
  const Reply tooMany = server.send("GET", "/api/stream");
  EXPECT_EQ(status(tooMany), 503);
  EXPECT_FALSE(tooMany.isStream);
  expectSound(tooMany, "viewers");

  MarkerQueue full;
  for (int i = 0; i < 10'000; ++i) {
    full.add(start, "");
  }
  EXPECT_EQ(status(Server("", &full).mark("{}")), 503);

  for (const auto reason : {Malformed::request, Malformed::version, Malformed::target, Malformed::headers,
                            Malformed::body, Malformed::tooMany}) {
    expectSound(refusal(reason), "refusal");
    EXPECT_TRUE(has(refusal(reason), "Connection: close"));
  }
}

TEST(Requests, WithoutAMarkerQueueSetNone)
{
  StubSource source;
  LiveTexts texts(source, "page");
  Requests requests({{"", 8484, false}, {"page", ""}}, texts, nullptr, {});
  Request request{.method = "POST",
                  .target = "/api/marker",
                  .headers = {{"Host", "localhost:8484"},
                              {"X-Tessel-Token", "page"},
                              {"Content-Type", "application/json"}},
                  .body = "{}"};
  EXPECT_EQ(status(requests.answer(request, start, 0)), 409);
}

TEST(Requests, OfOtherComputersLeadAwayFromTheToken)
{
  Server server("secret");
  const Reply refused = server.send("GET", "/");
  EXPECT_EQ(status(refused), 401);
  EXPECT_TRUE(has(refused, "Content-Type: text/plain; charset=utf-8")) << "a person reads it";
  expectSound(refused, "no token");

  const std::string cookie = "Set-Cookie: tessel-8484=secret; Path=/; HttpOnly; SameSite=Strict";
  const Reply led = server.send("GET", "/?token=secret");
  EXPECT_EQ(status(led), 303);
  EXPECT_TRUE(has(led, "Location: /"));
  EXPECT_TRUE(has(led, cookie));
  EXPECT_EQ(led.head.find("token=secret"), std::string::npos);

  // After a link on another page the browser holds the cookie back until a page of ours asks.
  const Reply linked = server.send("GET", "/?token=secret", {{"Sec-Fetch-Site", "cross-site"}});
  EXPECT_EQ(status(linked), 200);
  EXPECT_TRUE(has(linked, cookie));
  EXPECT_NE(linked.content.find("content=\"0; url=/\""), std::string_view::npos);

  EXPECT_EQ(status(server.send("GET", "/", {{"Cookie", "tessel-8484=secret"}})), 200);
  EXPECT_EQ(status(server.send("GET", "/api/state?token=secret")), 200) << "other programs";
}

}  // namespace

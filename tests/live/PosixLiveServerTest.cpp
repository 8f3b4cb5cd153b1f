// The server at real sockets of the loopback address, with limits that pass quickly.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "host/live/LiveServer.h"
#include "tests/live/StubSource.h"
#include "tests/support/HttpClient.h"
#include "tests/support/Refusal.h"

namespace {

using namespace std::chrono_literals;

class Client : public HttpClient {
 public:
  explicit Client(const LiveServer& server, int receiveBytes = 0)
      : HttpClient(portOf(server.address()), receiveBytes)
  {
  }

  // The number of the stream's next picture; nothing at its end.
  std::optional<unsigned> nextPicture()
  {
    receiveUntil("{\"picture\":");
    const std::string number = receiveUntil("\n\n");
    if (number.empty()) return std::nullopt;
    return static_cast<unsigned>(std::stoul(number));
  }
};

ServerOptions anyPort(const ServerLimits& limits = {})
{
  return {.address = "", .port = 0, .limits = limits};
}

TEST(LiveServer, AnswersRequestAfterRequest)
{
  StubSource source;
  MarkerQueue markers;
  const LiveServer server(anyPort(), source, &markers);
  Client client(server);
  // In pieces, and two at once.
  for (const char byte : client.request("/uPlot.min.css")) {
    client.send({byte});
  }
  EXPECT_EQ(client.answer(), 200);
  client.send(client.request("/nothing") + client.request("/api/state"));
  EXPECT_EQ(client.answer(), 404);
  EXPECT_EQ(client.answer(), 200);
  const auto token = nlohmann::json::parse(client.content).at("token").get<std::string>();
  const std::string marker = R"({"text":"here"})";
  client.send("POST /api/marker HTTP/1.1\r\nHost: localhost:" + std::to_string(portOf(server.address())) +
              "\r\nX-Tessel-Token: " + token + "\r\nContent-Type: application/json\r\nContent-Length: " +
              std::to_string(marker.size()) + "\r\n\r\n" + marker);
  EXPECT_EQ(client.answer(), 200);
  EXPECT_EQ(client.content, marker);
  ASSERT_EQ(markers.take(2).size(), 1U);
}

TEST(LiveServer, RefusesWhatIsNoRequest)
{
  StubSource source;
  const LiveServer server(anyPort(), source, nullptr);
  const std::string host = "Host: localhost:" + std::to_string(portOf(server.address())) + "\r\n";
  const struct {
    const char* name;
    std::string bytes;
    int expected;
  } cases[] = {
      {"no HTTP", "\x16\x03\x01\x02\x00\x01\x00\r\n\r\n", 400},
      {"an old version", "GET / HTTP/1.0\r\n" + host + "\r\n", 505},
      {"a long target", "GET /" + std::string(2000, 'a') + " HTTP/1.1\r\n" + host + "\r\n", 414},
      {"long headers", "GET / HTTP/1.1\r\n" + host + "a: " + std::string(9000, 'a') + "\r\n\r\n", 431},
      {"headers without an end", "GET / HTTP/1.1\r\n" + std::string(200'000, 'a'), 431},
      {"a target without an end", "GET /" + std::string(200'000, 'a'), 431},
      {"a long body",
       "POST /api/marker HTTP/1.1\r\n" + host + "Content-Length: 4097\r\n\r\n" + std::string(4097, 'a'), 413},
      {"a long body in chunks",
       "POST /api/marker HTTP/1.1\r\n" + host + "Transfer-Encoding: chunked\r\n\r\n2000\r\n" +
           std::string(8192, 'a'),
       413},
  };
  for (const auto& [name, bytes, expected] : cases) {
    Client client(server);
    client.send(bytes);
    EXPECT_EQ(client.answer(), expected) << name;
    EXPECT_EQ(client.receiveAll(), "") << name << ": the connection ends";
  }
}

TEST(LiveServer, ClosesWhatIsTooSlow)
{
  StubSource source;
  ServerLimits limits;
  limits.request = limits.idle = 40ms;
  const LiveServer server(anyPort(limits), source, nullptr);
  const char* const beginnings[] = {"", "GET / HT", "GET / HTTP/1.1\r\nHost: localhost"};
  for (const char* beginning : beginnings) {
    Client client(server);
    client.send(beginning);
    EXPECT_EQ(client.receiveAll(), "") << beginning;
  }
  Client idle(server);
  idle.send(idle.request("/api/state"));
  EXPECT_EQ(idle.answer(), 200);
  EXPECT_EQ(idle.receiveAll(), "") << "after a request";
}

TEST(LiveServer, LimitsConnectionsAndRequests)
{
  StubSource source;
  ServerLimits limits;
  limits.maxConnections = 3;
  limits.requestsPerSecond = 10;
  const LiveServer server(anyPort(limits), source, nullptr);
  std::vector<Client> clients;
  for (std::size_t i = 0; i < limits.maxConnections; ++i) {
    clients.emplace_back(server).send(clients.back().request("/api/state"));
    EXPECT_EQ(clients.back().answer(), 200);
  }
  EXPECT_EQ(Client(server).receiveAll(), "") << "closed at once";

  Client& flooding = clients.front();
  std::string flood;
  for (int i = 0; i < 1000; ++i) {
    flood += flooding.request("/api/state");
  }
  flooding.send(flood);
  int answered = 0;
  int last = 0;
  for (int status = flooding.answer(); status != 0; status = flooding.answer()) {
    answered += status == 200 ? 1 : 0;
    last = status;
  }
  EXPECT_LT(answered, 100);
  EXPECT_EQ(last, 429);
  EXPECT_LT(source.states, 100U);

  clients.back().send(clients.back().request("/api/state"));
  EXPECT_EQ(clients.back().answer(), 200) << "others are served";
}

TEST(LiveServer, ShowsViewersUpToALimit)
{
  StubSource source;
  source.set("7");
  const LiveServer server(anyPort(), source, nullptr);
  std::vector<Client> viewers;
  int refused = 0;
  for (int i = 0; i < 40; ++i) {
    Client client(server);
    client.send(client.request("/api/stream"));
    const int status = client.answer();
    refused += status == 503 ? 1 : 0;
    if (status == 200) viewers.push_back(std::move(client));
  }
  EXPECT_EQ(viewers.size(), 32U);
  EXPECT_EQ(refused, 8);
  for (Client& viewer : viewers) {
    EXPECT_EQ(viewer.receiveUntil("\n\n"), "event: layout\ndata: {\"layout\":1}\n\n");
    EXPECT_NE(viewer.receiveUntil("\n\n").find("\"state\":7}"), std::string::npos);
    unsigned previous = 0;
    for (int i = 0; i < 5; ++i) {
      const auto picture = viewer.nextPicture();
      ASSERT_TRUE(picture);
      EXPECT_GT(*picture, previous);
      previous = *picture;
    }
  }

  // Those that leave free their places.
  viewers.clear();
  for (int status = 503; status == 503;) {
    Client client(server);
    client.send(client.request("/api/stream"));
    status = client.answer();
    EXPECT_TRUE(status == 503 || status == 200);
  }
}

TEST(LiveServer, SendsASlowViewerTheNewest)
{
  StubSource source;
  source.pictureBytes = 100'000;
  const LiveServer server(anyPort(), source, nullptr);
  Client slow(server, 4096);
  slow.send(slow.request("/api/stream"));
  Client quick(server);
  quick.send(quick.request("/api/stream"));
  ASSERT_TRUE(slow.nextPicture());
  unsigned count = 0;
  while (count < 30) {
    ASSERT_TRUE(quick.nextPicture());
    ++count;
  }
  // What was on its way when it stopped reading, then the newest.
  const auto newest = quick.nextPicture();
  const auto first = slow.nextPicture();
  const auto second = slow.nextPicture();
  ASSERT_TRUE(newest && first && second);
  EXPECT_LT(*first, 20U);
  EXPECT_GE(*second, *newest);
}

TEST(LiveServer, DisconnectsAViewerThatTakesNothing)
{
  StubSource source;
  source.pictureBytes = 1'000'000;
  ServerLimits limits;
  limits.viewer = 100ms;
  const LiveServer server(anyPort(limits), source, nullptr);
  Client stuck(server, 4096);
  stuck.send(stuck.request("/api/stream"));
  EXPECT_EQ(stuck.answer(), 200);
  for (std::size_t viewers = 1; viewers > 0;) {
    Client client(server);
    client.send(client.request("/api/state"));
    ASSERT_EQ(client.answer(), 200);
    viewers = nlohmann::json::parse(client.content).at("viewers");
  }

  // Nor has a viewer anything to say.
  source.pictureBytes = 0;
  Client talking(server);
  talking.send(talking.request("/api/stream"));
  EXPECT_EQ(talking.answer(), 200);
  talking.send(std::string(1000, 'x'));
  while (talking.nextPicture()) {
  }
}

TEST(LiveServer, SendsTheLastStateInTheEnd)
{
  StubSource source;
  ServerLimits limits;
  limits.parting = 50ms;
  std::optional<LiveServer> server(std::in_place, anyPort(limits), source, nullptr);
  Client stuck(*server, 4096);
  source.pictureBytes = 1'000'000;
  stuck.send(stuck.request("/api/stream"));
  EXPECT_EQ(stuck.answer(), 200);
  source.pictureBytes = 0;
  Client viewer(*server);
  viewer.send(viewer.request("/api/stream"));
  ASSERT_TRUE(viewer.nextPicture());
  Client idle(*server);
  idle.send(idle.request("/api/state"));
  EXPECT_EQ(idle.answer(), 200);
  const Client half(*server);

  source.set("\"ended\"");
  server.reset();
  const std::string rest = viewer.receiveAll();
  const auto last = rest.rfind("event: state");
  ASSERT_NE(last, std::string::npos);
  EXPECT_NE(rest.find("\"state\":\"ended\"}\n\n", last), std::string::npos);
  EXPECT_EQ(idle.receiveAll(), "");
}

TEST(LiveServer, NeedsAFreePortAndAnOwnAddress)
{
  StubSource source;
  const LiveServer usual({}, source, nullptr);
  const LiveServer next({}, source, nullptr);
  EXPECT_NE(portOf(usual.address()), portOf(next.address()));
  for (const LiveServer* server : {&usual, &next}) {
    EXPECT_GE(portOf(server->address()), ServerOptions::usualPort);
    EXPECT_LT(portOf(server->address()), ServerOptions::usualPort + 10);
    EXPECT_EQ(server->address(), "http://127.0.0.1:" + std::to_string(portOf(server->address())) + "/");
  }
  const std::string taken = std::to_string(portOf(usual.address()));
  const std::tuple<std::string, std::uint16_t, ExitCode, std::string> cases[] = {
      {"", portOf(usual.address()), ExitCode::output,
       "port " + taken + " of 127.0.0.1 is in use by another program."},
      {"192.0.2.77", 0, ExitCode::usage, "192.0.2.77 is no address of this computer."},
      {"no such name", 0, ExitCode::usage, "'no such name' is no address of this computer."}};
  for (const auto& [address, port, code, words] : cases) {
    const ServerOptions options{.address = address, .port = port, .limits = {}};
    const auto failure = failureOf([&] { LiveServer(options, source, nullptr); });
    ASSERT_TRUE(failure) << words;
    EXPECT_EQ(failure->what(), words);
    EXPECT_EQ(failure->code(), code);
    EXPECT_FALSE(failure->advice().empty());
  }
}

TEST(LiveServer, ListensAtItsOwnAddressOnlyOrAskedForAtAllWithAToken)
{
  StubSource source;
  const LiveServer usual(anyPort(), source, nullptr);
  EXPECT_TRUE(isServed("127.0.0.1", portOf(usual.address())));
  EXPECT_FALSE(isServed("127.0.0.2", portOf(usual.address())));
  const LiveServer server({.address = "0.0.0.0", .port = 0, .limits = {}}, source, nullptr);
  EXPECT_TRUE(isServed("127.0.0.2", portOf(server.address()))) << "only if it is asked for";
  const auto query = server.address().find("/?token=");
  ASSERT_NE(query, std::string::npos) << server.address();
  EXPECT_EQ(server.address().find("0.0.0.0"), std::string::npos) << "other computers can't use it";
  Client client(server);
  client.send(client.request("/api/state"));
  EXPECT_EQ(client.answer(), 401);
  client.send(client.request("/api/state" + server.address().substr(query + 1)));
  EXPECT_EQ(client.answer(), 200);

  const LiveServer loopback({.address = "127.0.0.1", .port = 0, .limits = {}}, source, nullptr);
  EXPECT_NE(loopback.address().find("/?token="), std::string::npos) << "it is kept from other users";
}

}  // namespace

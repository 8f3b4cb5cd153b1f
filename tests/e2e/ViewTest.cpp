// The live page of the built program, as other programs see it.

#include <gtest/gtest.h>

#include <cstdlib>
#include <nlohmann/json.hpp>
#include <vector>

#include "tests/e2e/Tessel.h"
#include "tests/support/HttpClient.h"

namespace {

using Json = nlohmann::json;

class View : public testing::Test {
 public:
  View() { ::unsetenv("TESSEL_SERIAL_PORTS"); }

  std::uint16_t portOfPage(Tessel& tessel)
  {
    std::string messages;
    tessel.waitUntil([&] {
      messages = folder_.read("stderr");
      return messages.find("/\n") != std::string::npos;
    });
    const auto begin = messages.find("http://127.0.0.1:");
    return begin == std::string::npos ? std::uint16_t{0} : portOf(messages.substr(begin));
  }

  static Json get(HttpClient& client, const std::string& target)
  {
    client.send(client.request(target));
    return client.answer() == 200 ? Json::parse(client.content) : Json();
  }

  // Receives the stream to its end.
  static Json lastState(HttpClient& viewer)
  {
    const std::string stream = viewer.receiveAll();
    const std::string name = "event: state\ndata: ";
    const auto latest = stream.rfind(name);
    if (latest == std::string::npos) return {};
    const auto begin = latest + name.size();
    return Json::parse(stream.substr(begin, stream.find('\n', begin) - begin));
  }

 protected:
  TemporaryFolder folder_;
};

TEST_F(View, SlowViewersCostTheRecordingNoFrame)
{
  Tessel tessel(folder_, words("record --sim --view --port 0 --frames 240 --output run.csv --json"));
  const auto port = portOfPage(tessel);
  ASSERT_NE(port, 0) << folder_.read("stderr");
  constexpr int smallBuffer = 2048;
  std::vector<HttpClient> slow;
  for (int viewer = 0; viewer < 20; ++viewer) {
    slow.emplace_back(port, smallBuffer).send(slow.back().request("/api/stream"));
  }
  HttpClient quick(port);
  quick.send(quick.request("/api/stream"));
  quick.receiveUntil("\"phase\":\"reading\"");

  HttpClient client(port);
  const Json all = get(client, "/api/state");
  EXPECT_EQ(all.at("viewers"), 21);
  const std::string body = R"({"text":"<b>grasp</b>"})";
  client.send("POST /api/marker HTTP/1.1\r\nHost: 127.0.0.1:" + std::to_string(port) +
              "\r\nX-Tessel-Token: " + all.at("token").get<std::string>() +
              "\r\nContent-Type: application/json\r\nContent-Length: " + std::to_string(body.size()) +
              "\r\n\r\n" + body);
  EXPECT_EQ(client.answer(), 200) << client.content;

  const Json last = lastState(quick);
  slow.clear();
  const auto result = tessel.result();
  ASSERT_EQ(result.exitCode, 0) << result.messages;
  const Json summary = Json::parse(result.output);
  EXPECT_EQ(summary.at("books").at("balanced"), true);
  EXPECT_EQ(last.at("ending").at("exitCode"), 0);
  EXPECT_EQ(last.at("records"), summary.at("frames"));
  for (const Json& glove : last.at("gloves")) {
    const Json& books = summary.at("books").at(glove.at("label"));
    EXPECT_EQ(glove.at("sent"), books.at("sent"));
    EXPECT_EQ(glove.at("lost"), books.at("lost"));
    // Those with which it begins and ends.
    EXPECT_LE(glove.at("lostTotal"), 4) << books;
  }
  EXPECT_NE(folder_.read("run.events.csv").find("<b>grasp</b>"), std::string::npos);
}

TEST_F(View, SaysWhatIsWrongWithItsAddress)
{
  const std::pair<const char*, const char*> cases[] = {
      {"record --sim --port 0", "--port requires --view"},
      {"view --sim --port 65536", "--port takes a whole number from 0 to 65535"},
      {"view --sim --listen 192.0.2.77", "192.0.2.77 is no address of this computer"}};
  for (const auto& [arguments, text] : cases) {
    const auto result = runTessel(folder_, words(arguments));
    EXPECT_EQ(result.exitCode, 2) << text;
    EXPECT_NE(result.messages.find(text), std::string::npos) << result.messages;
  }
}

}  // namespace

// Gloves through the C interface: real threads, a real pseudo terminal, simulated gloves.

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <thread>

#include "tests/library/OpenGloves.h"
#include "tests/support/TemporaryFolder.h"

namespace {

const bool arePortsUnset = ::unsetenv("TESSEL_SERIAL_PORTS") == 0 && ::unsetenv("TESSEL_CAPTURE") == 0;

// Until the condition holds, for at most 20 s.
template <class Condition>
bool waitFor(const Condition& condition)
{
  using namespace std::chrono_literals;
  const auto end = std::chrono::steady_clock::now() + 20s;
  while (!condition()) {
    if (std::chrono::steady_clock::now() > end) return false;
    std::this_thread::sleep_for(10ms);
  }
  return true;
}

bool has(const std::vector<nlohmann::json>& events, const std::string& name)
{
  return std::ranges::any_of(events, [&](const auto& event) { return event.at("event") == name; });
}

TEST(Gloves, OptionsThatCanNotBeUsedAreNamed)
{
  const struct {
    const char* options;
    const char* words;
  } cases[] = {
      {"", "not a JSON object"},
      {"[]", "not a JSON object"},
      {"{\"simulated\": true", "not a JSON object"},
      {R"({"simulate": true})", "no option \"simulate\""},
      {R"({"simulated": 1})", "\"simulated\" must be true or false, not 1."},
      {R"({"gloves": "three"})", "\"gloves\" must be"},
      {R"({"settings": ""})", "\"settings\" must be a file"},
      {R"({"settings": "a\u0000b"})", "\"settings\" must be a file"},
      {R"({"wait": -1})", "\"wait\" must be a number of seconds"},
      {R"({"reconnect": "long"})", "\"reconnect\" must be a number of seconds"},
      {R"({"buffer": 0})", "\"buffer\" must be a whole number from 1"},
      {R"({"buffer": 1e9})", "\"buffer\" must be a whole number"},
      {R"({"simulation": ["rate 30", 1], "simulated": true})", "array of texts"},
      {R"({"simulation": ["rate 30"]})", "for simulated gloves only"},
      {R"({"follow": false, "capture": "run.pcapng"})", "needs that the link is followed"},
  };
  const std::string deep = R"({"wait": )" + std::string(300'000, '[') + std::string(300'000, ']') + '}';
  tessel_gloves none = 0;
  EXPECT_EQ(tessel_create(deep.c_str(), &none), TESSEL_ERROR_ARGUMENT);
  EXPECT_NE(errorWords().find("not an array"), std::string::npos) << errorWords();
  for (const auto& row : cases) {
    tessel_gloves gloves = 77;
    EXPECT_EQ(tessel_create(row.options, &gloves), TESSEL_ERROR_ARGUMENT) << row.options;
    EXPECT_NE(errorWords().find(row.words), std::string::npos) << row.options << ": " << errorWords();
    EXPECT_EQ(gloves, 77U);
  }
}

TEST(Gloves, WhatCanNotBeOpenedSaysWhy)
{
  const struct {
    const char* options;
    tessel_status status;
    const char* words;
  } cases[] = {
      {R"({"simulated": true, "simulation": ["rate fast"]})", TESSEL_ERROR_ARGUMENT,
       "\"simulation\": GLOVE must be"},
      {R"({"simulated": true, "scenario": "/none"})", TESSEL_ERROR_ARGUMENT, "/none"},
      {R"({"settings": "/none"})", TESSEL_ERROR_SETTINGS, "/none"},
      {R"({"simulated": true, "layout": "/none"})", TESSEL_ERROR_ARGUMENT, "/none"},
      {R"({"plugin": "/none", "wait": 0})", TESSEL_ERROR_PLUGIN, "With \"plugin\", name the HwTessel file"},
      {R"({"simulated": true, "gloves": "both", "wait": 0, "simulation": ["refuse left on"]})",
       TESSEL_ERROR_GLOVE, "glove"},
  };
  for (const auto& row : cases) {
    tessel_gloves gloves = 0;
    ASSERT_EQ(tessel_create(row.options, &gloves), TESSEL_OK) << errorWords();
    for (const char* const call : {"first", "second"}) {
      EXPECT_EQ(tessel_open(gloves, -1), row.status) << call << ": " << row.options;
      EXPECT_NE(errorWords().find(row.words), std::string::npos) << errorWords();
    }
    EXPECT_EQ(tessel_close(gloves), TESSEL_OK) << "it was not recording";
  }
}

// Handles that are none: interface/Program.c.
TEST(Gloves, CallsTooEarlyAreErrors)
{
  Rows rows(1);
  tessel_shape shape{};
  shape.size = sizeof(shape);
  tessel_statistics statistics{};
  statistics.size = sizeof(statistics);
  char text[10];
  tessel_gloves gloves = 0;
  ASSERT_EQ(tessel_create(nullptr, &gloves), TESSEL_OK);
  EXPECT_EQ(tessel_get_shape(gloves, &shape), TESSEL_ERROR_STATE);
  EXPECT_EQ(tessel_get_shape(gloves, nullptr), TESSEL_ERROR_STATE);
  EXPECT_EQ(tessel_describe(gloves, text, sizeof(text), nullptr), TESSEL_ERROR_STATE);
  EXPECT_EQ(tessel_read(gloves, &rows.view, -1), TESSEL_ERROR_STATE);
  EXPECT_EQ(tessel_latest(gloves, &rows.view), TESSEL_ERROR_STATE);
  EXPECT_EQ(tessel_marker(gloves, "early"), TESSEL_ERROR_STATE);
  EXPECT_EQ(tessel_record(gloves, "early.csv", nullptr), TESSEL_ERROR_STATE);
  EXPECT_EQ(tessel_stop_recording(gloves), TESSEL_ERROR_STATE);
  EXPECT_EQ(tessel_send(gloves, "BatteryLevel", text, sizeof(text), nullptr), TESSEL_ERROR_STATE);
  EXPECT_EQ(tessel_simulate(gloves, "help", text, sizeof(text), nullptr), TESSEL_ERROR_STATE);
  EXPECT_EQ(tessel_get_statistics(gloves, &statistics), TESSEL_OK);
  EXPECT_EQ(tessel_next_event(gloves, text, sizeof(text), nullptr), TESSEL_TIMEOUT);
  EXPECT_EQ(tessel_get_statistics(gloves, nullptr), TESSEL_ERROR_ARGUMENT);
  statistics.size = 4;
  EXPECT_EQ(tessel_get_statistics(gloves, &statistics), TESSEL_ERROR_ARGUMENT);
  EXPECT_EQ(tessel_close(gloves), TESSEL_OK);
}

TEST(Gloves, ThatAreLostComeBackOrEnd)
{
  const TemporaryFolder folder;
  const OpenGloves gloves(R"({"simulated": true, "reconnect": 20})");
  Rows rows(1000);
  ASSERT_EQ(tessel_read(gloves.handle, &rows.view, 5000), TESSEL_OK) << errorWords();
  const std::string path = (folder / "run.csv").string();
  ASSERT_EQ(tessel_record(gloves.handle, path.c_str(), nullptr), TESSEL_OK) << errorWords();
  EXPECT_FALSE(gloves.simulate("drop left").empty());
  ASSERT_TRUE(waitFor([&] { return gloves.statistics().state == TESSEL_AWAY; }));
  EXPECT_EQ(tessel_send(gloves.handle, "BatteryLevel", nullptr, 0, nullptr), TESSEL_ERROR_STATE);
  ASSERT_TRUE(waitFor([&] { return gloves.statistics().state == TESSEL_CONNECTED; }));
  EXPECT_EQ(gloves.statistics().reconnections, 1U);
  const std::uint64_t records = gloves.statistics().records;
  ASSERT_TRUE(waitFor([&] { return gloves.statistics().records > records + 10; }));
  EXPECT_EQ(tessel_stop_recording(gloves.handle), TESSEL_OK) << errorWords();
  const std::string later = (folder / "later.csv").string();
  ASSERT_EQ(tessel_record(gloves.handle, later.c_str(), nullptr), TESSEL_OK) << errorWords();
  ASSERT_TRUE(waitFor([&] { return gloves.statistics().records > records + 30; }));
  const auto events = gloves.takeEvents();
  EXPECT_TRUE(has(events, "disconnected"));
  EXPECT_TRUE(has(events, "reconnected"));
  EXPECT_EQ(tessel_cancel(gloves.handle), TESSEL_OK);
  tessel_status status = TESSEL_OK;
  while (status >= 0) {
    status = tessel_read(gloves.handle, &rows.view, 5000);
  }
  EXPECT_EQ(status, TESSEL_ERROR_CANCELLED) << "behind the last record";
  EXPECT_EQ(gloves.statistics().state, TESSEL_ENDED);
  EXPECT_EQ(tessel_record(gloves.handle, "late.csv", nullptr), TESSEL_ERROR_STATE);
  EXPECT_TRUE(std::filesystem::exists(later)) << "completed by the end of the gloves";
  EXPECT_EQ(tessel_stop_recording(gloves.handle), TESSEL_OK) << errorWords();
  // Each has the books and the reconnections of its part.
  for (const auto& [name, reconnections] : {std::pair("run.json", 1U), {"later.json", 0U}}) {
    const auto json = nlohmann::json::parse(folder.read(name));
    EXPECT_EQ(json.at("books").at("balanced"), true) << name << json;
    EXPECT_EQ(json.at("books").at("left").at("recorded"), json.at("records")) << name;
    EXPECT_EQ(json.at("reconnections").size(), reconnections) << name;
    EXPECT_EQ(json.at("gloves").at(0).at("disconnectedSeconds") > 0, reconnections > 0) << name << json;
  }
}

TEST(Gloves, OpeningCanBeCancelledAndIsExclusive)
{
  tessel_gloves waiting = 0, second = 0;
  ::setenv("TESSEL_SERIAL_PORTS", "", 1);
  ASSERT_EQ(tessel_create(nullptr, &waiting), TESSEL_OK);
  ASSERT_EQ(tessel_create(R"({"simulated": true})", &second), TESSEL_OK);
  EXPECT_EQ(tessel_open(waiting, 0), TESSEL_TIMEOUT);
  EXPECT_EQ(tessel_open(second, -1), TESSEL_ERROR_BUSY);
  std::thread canceller([&] { tessel_cancel(waiting); });
  const tessel_status status = tessel_open(waiting, -1);
  EXPECT_TRUE(status == TESSEL_ERROR_CANCELLED || status == TESSEL_ERROR_DONGLE) << errorWords();
  canceller.join();
  EXPECT_EQ(tessel_close(waiting), TESSEL_OK);
  EXPECT_EQ(tessel_close(second), TESSEL_OK);
  ::unsetenv("TESSEL_SERIAL_PORTS");
  const OpenGloves third;
  EXPECT_EQ(third.statistics().state, TESSEL_CONNECTED);
}

TEST(Gloves, RecordsThatAreNotReadInTimeAreCounted)
{
  const OpenGloves gloves(R"({"simulated": true, "buffer": 4})");
  ASSERT_TRUE(waitFor([&] { return gloves.statistics().overflowed >= 10; }));
  Rows rows(10), small(1, 249);
  EXPECT_EQ(tessel_read(gloves.handle, &small.view, 0), TESSEL_ERROR_TOO_SMALL);
  EXPECT_EQ(tessel_read(gloves.handle, nullptr, 0), TESSEL_ERROR_ARGUMENT);
  EXPECT_EQ(tessel_send(gloves.handle, nullptr, nullptr, 0, nullptr), TESSEL_ERROR_ARGUMENT);
  ASSERT_EQ(tessel_read(gloves.handle, &rows.view, 0), TESSEL_OK);
  EXPECT_EQ(rows.view.count, 4U);
  EXPECT_GE(rows.view.overflowed, 10U);
  EXPECT_EQ(rows.view.first, rows.view.overflowed);
  EXPECT_TRUE(waitFor([&] { return has(gloves.takeEvents(), "overflow"); }));
}

TEST(Gloves, SurviveUnloadingTheLibraryAndAreClosedAtTheEndOfTheProgram)
{
  const TemporaryFolder folder;
  const std::string path = (folder / "run.csv").string();
  EXPECT_EQ(std::system((UNLOADING_PROGRAM " " TESSEL_SHARED_LIBRARY " " + path).c_str()), 0);
  EXPECT_GT(folder.read("run.csv").size(), 1000U) << "a complete recording";
}

// Run by the thread sanitizer, too: every function from several threads, while the gloves are closed.
TEST(Gloves, ClosingWhileOtherThreadsAreInEveryCallEndsTheirCalls)
{
  const TemporaryFolder folder;
  const std::string path = (folder / "run.csv").string();
  tessel_gloves handle = 0;
  ASSERT_EQ(tessel_create(R"({"simulated": true})", &handle), TESSEL_OK);
  const auto untilClosed = [](const auto& call) {
    return [call] {
      while (call() != TESSEL_ERROR_HANDLE) {
      }
    };
  };
  const auto pause = [] { std::this_thread::sleep_for(std::chrono::milliseconds(1)); };
  std::atomic<std::uint64_t> read{0};
  const auto readRecords = [&] {
    Rows rows(8);
    const tessel_status status = tessel_read(handle, &rows.view, -1);
    if (status == TESSEL_OK) read += rows.view.count;
    if (status == TESSEL_ERROR_STATE) pause();
    return status;
  };
  std::vector<std::thread> threads;
  threads.emplace_back(untilClosed(readRecords));
  threads.emplace_back(untilClosed(readRecords));
  threads.emplace_back(untilClosed([&] { return tessel_open(handle, 50); }));
  threads.emplace_back(untilClosed([&] {
    pause();
    char text[100];
    const tessel_status status = tessel_next_event(handle, text, sizeof(text), nullptr);
    tessel_marker(handle, "from a thread");
    return status;
  }));
  threads.emplace_back(untilClosed([&] {
    pause();
    tessel_statistics statistics{};
    statistics.size = sizeof(statistics);
    Rows rows(8);
    tessel_latest(handle, &rows.view);
    tessel_describe(handle, nullptr, 0, nullptr);
    return tessel_get_statistics(handle, &statistics);
  }));
  threads.emplace_back(untilClosed([&] {
    pause();
    tessel_record(handle, path.c_str(), R"({"replace": true})");
    return tessel_stop_recording(handle);
  }));
  threads.emplace_back(untilClosed([&] {
    char text[1000];
    tessel_send(handle, "BatteryLevel", text, sizeof(text), nullptr);
    return tessel_simulate(handle, "status", text, sizeof(text), nullptr);
  }));
  EXPECT_TRUE(waitFor([&] { return read > 40; }));
  EXPECT_EQ(tessel_close(handle), TESSEL_OK) << errorWords();
  for (std::thread& thread : threads) {
    thread.join();
  }
  EXPECT_EQ(tessel_close(handle), TESSEL_ERROR_HANDLE);
}

}  // namespace

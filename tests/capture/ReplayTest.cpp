// What a replay does for programs that depart from the recorded dialogue.

#include "host/capture/Replay.h"

#include <gtest/gtest.h>

#include <fstream>
#include <map>

#include "host/base/Failure.h"
#include "tests/support/Hex.h"
#include "tests/support/TemporaryFolder.h"

namespace {

using namespace std::chrono_literals;

const std::map<std::string, std::string> commands{
    {"reset", "00 01 00 00 00"},
    {"info", "00 00 00 08"},
    {"read", "00 03 04 04 00 18 00"},
    {"start", "00 06 04 05 00 12 00 02 01 00"},
    {"update", "00 09 03 02 00 14 00 14 00 00 00 E8 03"},
    {"update16", "00 09 03 02 00 10 00 10 00 00 00 E8 03"},
    {"end", "00 01 03 00 00"},
    {"hello", "00 00 00 01"},
};
const std::map<std::string, std::string> messages{
    {"info", "00 0C 00 08 01 00 04 00 02 00 82 00 03 00 01 02"},
    {"reading", "00 03 04 04 00 00 00"},
    {"value", "80 06 04 05 00 18 00 00 01 AA"},
    {"starting", "00 03 04 05 00 00 00"},
    {"started", "80 05 04 01 00 00 00 12 00"},
    {"first", "80 06 04 05 00 11 00 01 01 01"},
    {"second", "80 06 04 05 00 11 00 01 01 02"},
    {"third", "80 06 04 05 00 11 00 01 01 03"},
    {"fourth", "80 06 04 05 00 11 00 01 01 04"},
    {"updated", "00 03 03 02 00 00 00"},
    {"ending", "00 03 03 00 00 00 00"},
    {"ended", "80 03 03 04 00 16 02"},
};

struct Entry {
  double at;
  char kind;  // > < or n, a note
  std::string name;
};

const std::vector<Entry> recorded{
    {0, 'n', "open COM7"},   {0, '>', "reset"},    {0, 'n', "reset"},    {0.001, 'n', "close"},
    {0.5, 'n', "open COM7"}, {0.5, '>', "info"},   {0.502, '<', "info"}, {0.6, '>', "read"},
    {0.602, '<', "reading"}, {0.61, '<', "value"}, {0.7, '>', "start"},  {0.702, '<', "starting"},
    {0.72, '<', "started"},  {1, '<', "first"},    {2, '<', "second"},   {2.1, '>', "update"},
    {2.102, '<', "updated"}, {3, '<', "third"},    {5, '<', "fourth"},   {5.1, '>', "end"},
    {5.102, '<', "ending"},  {5.12, '<', "ended"}, {5.2, 'n', "close"},
};

Dialogue dialogueOf(const std::vector<Entry>& entries)
{
  DialogueBuilder builder;
  builder.add({.kind = CaptureBlock::Kind::section});
  for (const auto& [at, kind, name] : entries) {
    CaptureBlock block{
        .time = std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::duration<double>(at))};
    Bytes bytes;
    if (kind == 'n') {
      block.text = name;
    } else {
      block.kind = kind == '>' ? CaptureBlock::Kind::sent : CaptureBlock::Kind::received;
      bytes = hex((kind == '>' ? commands : messages).at(name));
    }
    block.bytes = bytes;
    builder.add(block);
  }
  return builder.finish();
}

struct Command {
  double at;
  std::string name;
};

struct Result {
  std::string transcript;  // what the program saw
  std::vector<std::string> reports;
  Replay::Progress progress;
  bool isOver;
};

Result play(const std::vector<Entry>& entries, const std::vector<Command>& program, double speed = 1)
{
  VirtualClock clock;
  Replay replay(clock, dialogueOf(entries), speed);
  Result result;
  const auto note = [&](const std::string& text) {
    char line[64];
    std::snprintf(line, sizeof line, "%.3f %s, ", std::chrono::duration<double>(clock.now()).count(),
                  text.c_str());
    result.transcript += line;
  };
  replay.onSend = [&](std::span<const std::uint8_t> bytes) {
    const auto entry =
        std::ranges::find_if(messages, [&](const auto& each) { return each.second == toHex(bytes); });
    note(entry == messages.end() ? toHex(bytes) : entry->first);
  };
  replay.onPresence = [&](bool isPresent) { note(isPresent ? "back" : "gone"); };
  replay.onReport = [&](const std::string& text) { result.reports.push_back(text); };
  for (const auto& [at, name] : program) {
    clock.after(std::chrono::duration_cast<VirtualClock::Duration>(std::chrono::duration<double>(at)),
                [&replay, name = name] { replay.receive(hex(commands.at(name))); });
  }
  clock.advance(20s);
  result.progress = replay.progress();
  result.isOver = replay.isOver();
  return result;
}

TEST(Replay, AnswersEachCommandAndGoesOnAfterDepartures)
{
  const std::vector<Command> opening{{0, "reset"}, {0.5, "info"}, {0.6, "read"}, {0.7, "start"}};
  const auto then = [&](std::vector<Command> more) {
    more.insert(more.begin(), opening.begin(), opening.end());
    return more;
  };
  const std::string opened =
      "0.000 gone, 0.250 back, 0.502 info, 0.602 reading, 0.610 value, 0.702 starting, 0.720 started, 1.000 "
      "first, 2.000 second, ";
  const struct {
    const char* name;
    std::vector<Command> program;
    std::string transcript;
    std::vector<std::string> departures;  // words of each
    bool isOver = true;
  } rows[] = {
      {"as recorded",
       then({{2.1, "update"}, {5.1, "end"}}),
       opened + "2.102 updated, 3.000 third, 5.000 fourth, 5.102 ending, 5.120 ended, ",
       {}},
      {"slower",
       {{1, "reset"}, {3, "info"}, {4, "read"}, {6, "start"}, {7.5, "update"}, {15, "end"}},
       "1.000 gone, 1.250 back, 3.002 info, 4.002 reading, 4.010 value, 6.002 starting, 6.020 started, "
       "6.300 first, 7.300 second, 7.502 updated, 8.400 third, 10.400 fourth, 15.002 ending, 15.020 ended, ",
       {}},
      {"faster",
       {{0, "reset"}, {0.4, "info"}, {0.41, "read"}, {0.45, "start"}, {1.84, "update"}, {4.8, "end"}},
       "0.000 gone, 0.250 back, 0.402 info, 0.412 reading, 0.420 value, 0.452 starting, 0.470 started, "
       "0.750 first, 1.750 second, 1.842 updated, 2.740 third, 4.740 fourth, 4.802 ending, 4.820 ended, ",
       {}},
      {"without a command",
       {{0, "reset"}, {0.5, "info"}, {0.6, "start"}, {2, "update"}, {5, "end"}},
       "0.000 gone, 0.250 back, 0.502 info, 0.602 starting, 0.620 started, 0.900 first, 1.900 second, "
       "2.002 updated, 2.900 third, 4.900 fourth, 5.002 ending, 5.020 ended, ",
       {"at 0.600 s of the capture: expected 00 03 04 04 00 18 00, got 00 06 04 05 00 12 00 02 01 00, "
        "which"}},
      {"a command that comes late",
       then({{4, "update"}, {6, "end"}}),
       opened + "3.900 third, 4.000 updated, 5.900 fourth, 6.002 ending, 6.020 ended, ",
       {"has not come; the stream goes on", "E8 03 comes"}},
      {"other parameters",
       then({{2.1, "update16"}, {5.1, "end"}}),
       opened + "2.102 updated, 3.000 third, 5.000 fourth, 5.102 ending, 5.120 ended, ",
       {"got 00 09 03 02 00 10 00 10 00 00 00 E8 03, which is answered like it"}},
      {"an unknown command",
       then({{1.5, "hello"}, {2.1, "update"}, {5.1, "end"}}),
       opened + "2.102 updated, 3.000 third, 5.000 fourth, 5.102 ending, 5.120 ended, ",
       {"got 00 00 00 01, which is not answered"}},
      {"an early end",
       then({{2.05, "end"}}),
       opened + "2.050 ending, 2.050 ended, ",
       {"expected 00 09 03 02 00 14 00 14 00 00 00 E8 03, got 00 01 03 00 00, which comes later"}},
      {"no restart",
       {{0.5, "info"}, {0.6, "read"}},
       "0.502 info, 0.602 reading, 0.610 value, ",
       {"without a restart of the dongle; going on at 0.500 s"},
       false},
      {"a second opening",
       then({{2.05, "end"}, {3, "reset"}, {4, "info"}}),
       opened + "2.050 ending, 2.050 ended, 3.000 gone, 3.250 back, ",
       {"which comes later", "1 recorded command has not come", "the capture has no further one",
        "nothing more was expected, got 00 00 00 08"}},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    const Result result = play(recorded, row.program);
    EXPECT_EQ(result.transcript, row.transcript);
    EXPECT_EQ(result.progress.departures, row.departures.size());
    EXPECT_EQ(result.isOver, row.isOver);
    auto report = result.reports.begin();
    for (const std::string& words : row.departures) {
      report = std::find_if(report, result.reports.end(),
                            [&](const std::string& text) { return text.find(words) != std::string::npos; });
      ASSERT_NE(report, result.reports.end()) << words;
    }
  }
}

TEST(Replay, WaitsLongerForAProgramThatIsSlowerThanItsClock)
{
  const Result result =
      play(recorded, {{0, "reset"}, {0.5, "info"}, {0.6, "read"}, {0.7, "start"}, {9, "update"}}, 10);
  EXPECT_NE(result.transcript.find("9.002 updated, 9.900 third, "), std::string::npos) << result.transcript;
  EXPECT_EQ(result.progress.departures, 0U);
}

TEST(Dialogue, KeepsDroppedBytesAndFindsMessagesAfterLostBlocks)
{
  DialogueBuilder builder;
  const auto add = [&](int ms, const char* bytes, const char* text = "") {
    const Bytes data = hex(bytes);
    builder.add({.kind = CaptureBlock::Kind::received,
                 .time = std::chrono::milliseconds(ms),
                 .bytes = data,
                 .text = text});
  };
  builder.add({.kind = CaptureBlock::Kind::section});
  add(100, "80 06 04 05");
  add(1100, "00 11 00", "incomplete");
  add(1200, "80 03 03 04");
  builder.add({.time = 1300ms, .text = "lost 3 blocks"});
  add(1400, "00 11 00 01 01 03");  // the payload of a message whose header was lost
  add(1500, "80 03 03 04");
  add(1500, "00 16 02");
  const Dialogue dialogue = builder.finish();
  ASSERT_EQ(dialogue.openings.size(), 1U);
  std::string steps;
  for (const Dialogue::Step& step : dialogue.openings[0].steps) {
    steps += std::to_string(step.time.count() / 1000) + ": " + toHex(dialogue.bytesOf(step)) + '\n';
  }
  EXPECT_EQ(steps, "100: 80 06 04 05\n1050: 00 11 00\n1200: 80 03 03 04\n1500: 80 03 03 04 00 16 02\n");
  EXPECT_EQ(dialogue.lostBlocks, 3U);
}

}  // namespace

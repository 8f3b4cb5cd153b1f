#include "host/gloves/LinkWatch.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

using namespace std::chrono_literals;
using enum TurnResult;
using Verdict = LinkWatch::Verdict;

struct Turn {
  LinkWatch::Time pause;  // before the read
  LinkWatch::Time read;
  TurnResult result;
  int times = 1;
};

TEST(LinkWatch, DistinguishesSilenceStallsOfThisComputerAndShortFrames)
{
  const Turn message{1ms, 1ms, nothing}, messages{1ms, 1ms, nothing, 14}, frame{1ms, 1ms, record};
  const Turn tooShort{1ms, 1ms, failed}, wait{1ms, 1s, nothing}, longer{1ms, 1s, failed};
  using enum LinkWatch::Verdict;
  const struct {
    std::string name;
    Verdict verdict;
    std::vector<Turn> turns;
    std::uint64_t stalls = 0;
    double longest = 0;
    LinkWatch::Time patience = 0s;
  } cases[] = {
      {"a good link", alive, {messages, frame, messages, frame}},
      {"a second of silence", alive, {frame, wait, messages}},
      {"no more messages", silent, {frame, wait, longer}},
      {"one glove silent", silent, {frame, messages, tooShort}},
      {"stopped during a read", alive, {frame, {1ms, 12s, failed}, messages, frame}, 1, 12},
      {"stopped, no complete frame yet",
       alive,
       {frame, {1ms, 3s, nothing}, {1ms, 1ms, failed, 13}, frame},
       1,
       3},
      {"a blocked output", alive, {frame, {4s, 1ms, failed}, frame}, 1, 4},
      {"silent after a stall has ended", silent, {{1ms, 9s, record}, wait, longer}, 1, 9},
      {"two stalls", alive, {frame, {3s, 1ms, nothing}, {1ms, 7s, failed}, frame, {1s, 1ms, failed}}, 3, 7},
      {"link lost during a stall", lostInStall, {frame, {1ms, 30s, failed}, {1ms, 1s, failed, 5}}, 1, 30},
      {"dead port after a stall", lostInStall, {frame, {1ms, 30s, failed}, {1ms, 1ms, failed, 3000}}, 1, 30},
      {"frames too short", framesTooShort, {messages, tooShort, messages, tooShort, messages, tooShort}},
      {"frames too short, on a loaded machine",
       framesTooShort,
       {messages, {1ms, 950ms, failed}, messages, tooShort, messages, tooShort, messages, tooShort}},
      {"one frame too short", alive, {messages, tooShort, messages, frame}},
      {"no message from the beginning", silent, {wait, longer, longer}},
      {"occasional messages from the beginning",
       alive,
       {messages, wait, longer, messages, wait, longer, messages, wait, longer, messages}},
      {"silence within the patience", alive, {frame, wait, {1ms, 1s, failed, 8}, frame}, 0, 0, 11s},
      {"silence beyond the patience", silent, {frame, wait, {1ms, 1s, failed, 10}}, 0, 0, 11s},
      {"a dead port", silent, {frame, {0ms, 1us, failed, 5000}}, 0, 0, 11s},
      {"a dead port from the beginning", silent, {message, {1ms, 1ms, failed, 2}}},
  };
  for (const auto& [name, verdict, turns, stalls, longest, patience] : cases) {
    LinkWatch watch(patience);
    LinkWatch::Time now = 1000h;
    Verdict reached = Verdict::alive;
    for (const Turn& turn : turns) {
      for (int time = 0; time < turn.times; ++time) {
        ASSERT_EQ(reached, Verdict::alive) << name << ": ended too early";
        watch.beginRead(now += turn.pause);
        reached = watch.endRead(now += turn.read, turn.result);
        if (verdict != Verdict::alive && reached == verdict && &turn == &turns.back()) break;
      }
    }
    EXPECT_EQ(reached, verdict) << name;
    EXPECT_EQ(watch.stalls().count, stalls) << name;
    EXPECT_DOUBLE_EQ(watch.stalls().longest, longest) << name;
  }
}

}  // namespace

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
  const Turn message{1ms, 1ms, nothing, 14};
  const Turn frame{1ms, 1ms, record};
  const Turn wait{1ms, 1s, nothing};
  const struct {
    std::string name;
    std::vector<Turn> turns;
    Verdict verdict;
    std::uint64_t stalls;
    double longest;
    LinkWatch::Time patience = 0s;
  } cases[] = {
      {"a good link", {message, frame, message, frame}, Verdict::alive, 0, 0},
      {"a second of silence", {frame, wait, message}, Verdict::alive, 0, 0},
      {"no more messages", {frame, wait, {1ms, 1s, failed}}, Verdict::silent, 0, 0},
      {"one glove silent", {frame, message, {1ms, 1ms, failed}}, Verdict::silent, 0, 0},
      {"stopped during a read", {frame, {1ms, 12s, failed}, message, frame}, Verdict::alive, 1, 12},
      {"stopped, no complete frame yet",
       {frame, {1ms, 3s, nothing}, {1ms, 1ms, failed, 13}, frame},
       Verdict::alive,
       1,
       3},
      {"a blocked output", {frame, {4s, 1ms, failed}, frame}, Verdict::alive, 1, 4},
      {"silent after a stall has ended", {{1ms, 9s, record}, wait, {1ms, 1s, failed}}, Verdict::silent, 1, 9},
      {"two stalls",
       {frame, {3s, 1ms, nothing}, {1ms, 7s, failed}, frame, {1s, 1ms, failed}},
       Verdict::alive,
       3,
       7},
      {"link lost during a stall",
       {frame, {1ms, 30s, failed}, {1ms, 1s, failed, 5}},
       Verdict::lostInStall,
       1,
       30},
      {"dead port after a stall",
       {frame, {1ms, 30s, failed}, {1ms, 1ms, failed, 3000}},
       Verdict::lostInStall,
       1,
       30},
      {"frames too short",
       {message, {1ms, 1ms, failed}, message, {1ms, 1ms, failed}, message, {1ms, 1ms, failed}},
       Verdict::framesTooShort,
       0,
       0},
      {"frames too short, on a loaded machine",
       {message,
        {1ms, 950ms, failed},
        message,
        {1ms, 1ms, failed},
        message,
        {1ms, 1ms, failed},
        message,
        {1ms, 1ms, failed}},
       Verdict::framesTooShort,
       0,
       0},
      {"one frame too short", {message, {1ms, 1ms, failed}, message, frame}, Verdict::alive, 0, 0},
      {"no message from the beginning", {wait, {1ms, 1s, failed}, {1ms, 1s, failed}}, Verdict::silent, 0, 0},
      {"occasional messages from the beginning",
       {message,
        wait,
        {1ms, 1s, failed},
        message,
        wait,
        {1ms, 1s, failed},
        message,
        wait,
        {1ms, 1s, failed},
        message},
       Verdict::alive,
       0,
       0},
      {"silence within the patience", {frame, wait, {1ms, 1s, failed, 8}, frame}, Verdict::alive, 0, 0, 11s},
      {"silence beyond the patience", {frame, wait, {1ms, 1s, failed, 10}}, Verdict::silent, 0, 0, 11s},
      {"a dead port", {frame, {0ms, 1us, failed, 5000}}, Verdict::silent, 0, 0, 11s},
      {"a dead port from the beginning", {{1ms, 1ms, nothing}, {1ms, 1ms, failed, 2}}, Verdict::silent, 0, 0},
  };
  for (const auto& [name, turns, verdict, stalls, longest, patience] : cases) {
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

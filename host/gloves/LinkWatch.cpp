#include "host/gloves/LinkWatch.h"

#include <algorithm>
#include <utility>

namespace {

using namespace std::chrono_literals;

// A read waits up to a second for the header of a message, and up to another second for the rest.
constexpr LinkWatch::Time maxRead = 2s;
// Between two reads the program writes one record.
constexpr LinkWatch::Time maxPause = 500ms;
// After a stall, buffered messages are read first, and the plug-in fails each read until a frame is complete.
constexpr LinkWatch::Time recoveryTime = 5s;
// A read without a message takes a full second, so a faster failure had a message.
constexpr LinkWatch::Time maxFastRead = 900ms;
constexpr unsigned maxRefusedFrames = 3;
// A read that fails without waiting had a message, or the port is dead. More than a glove queues can't follow
// each other at once.
constexpr LinkWatch::Time instant = 1ms;
constexpr unsigned maxInstantFailures = 5000;

}  // namespace

void LinkWatch::noteTurn(Time end, Time bound)
{
  const auto begin = std::exchange(latest_, end);
  if (!begin || end - *begin <= bound) return;
  ++stalls_.count;
  stalls_.latest = std::chrono::duration<double>(end - *begin).count();
  stalls_.longest = std::max(stalls_.longest, stalls_.latest);
  resumed_ = end;
}

void LinkWatch::beginRead(Time now)
{
  noteTurn(now, maxPause);
}

bool LinkWatch::isPatient(Time begin, Time now)
{
  instantFailures_ = now - begin < instant ? instantFailures_ + 1 : 0;
  return now - *record_ < patience_ && instantFailures_ < maxInstantFailures;
}

LinkWatch::Verdict LinkWatch::endRead(Time now, TurnResult result)
{
  const Time begin = latest_.value_or(now);
  noteTurn(now, maxRead);
  if (result == TurnResult::record) {
    record_ = now;
    resumed_.reset();
  }
  const bool hadFailed = std::exchange(hasFailed_, result == TurnResult::failed);
  if (!hasFailed_) return Verdict::alive;
  if (resumed_) return now - *resumed_ < recoveryTime ? Verdict::alive : Verdict::lostInStall;
  // A lost link fails at each read, frames that are too short only when one is complete.
  if (record_) return isPatient(begin, now) ? Verdict::alive : Verdict::silent;
  if (hadFailed) return Verdict::silent;
  if (now - begin < maxFastRead) ++refusedFrames_;
  return refusedFrames_ < maxRefusedFrames ? Verdict::alive : Verdict::framesTooShort;
}

#include "host/live/Situation.h"

#include <fmt/format.h>

#include <algorithm>

namespace {

using namespace std::chrono_literals;
using Time = Situation::Time;

constexpr double maxSilence = 1;  // seconds
// The capture is known so late while bytes of it come.
constexpr auto captureDelay = 600ms;
// The gloves are read, and what is known of them is reported, at least twice as often.
constexpr auto readDelay = 500ms;

double secondsBetween(Time begin, Time end)
{
  return std::max(0.0, std::chrono::duration<double>(end - begin).count());
}

bool isJudged(const Situation& situation)
{
  return situation.phase != Situation::Phase::ended && !situation.isClosing;
}

// Nobody can say of a moment at which the gloves were not read that they were silent.
double silence(const Situation& situation, const GloveSituation& glove, Time now)
{
  const Time heard =
      std::max(situation.connected, (situation.captured ? glove.heard : situation.arrival).value_or(Time{0}));
  if (situation.captured && now - *situation.captured < captureDelay)
    return secondsBetween(heard, *situation.captured);
  return secondsBetween(heard, std::min(now, situation.read + readDelay));
}

std::string awayText(const Situation& situation, const GloveSituation& glove)
{
  if (glove.rssi) return fmt::format("heard ({} dBm)", *glove.rssi);
  return situation.captured ? "not heard" : "";
}

}  // namespace

std::vector<std::string> Situation::labels() const
{
  std::vector<std::string> all;
  for (const GloveSituation& glove : gloves)
    all.push_back(glove.label);
  return all;
}

const char* nameOf(GloveState state)
{
  switch (state) {
    case GloveState::opening:
      return "opening";
    case GloveState::connected:
      return "connected";
    case GloveState::silent:
      return "silent";
    case GloveState::lost:
      return "lost";
    case GloveState::away:
      return "away";
  }
  return "";
}

GloveView viewOf(const Situation& situation, std::size_t index, Time now)
{
  const GloveSituation& glove = situation.gloves[index];
  const Time judged = isJudged(situation) ? now : std::min(now, situation.read);
  GloveView view;
  if (situation.phase == Situation::Phase::opening) return view;
  if (situation.isAway) {
    view.state = glove.wasLost && !glove.rssi ? GloveState::lost : GloveState::away;
    view.text = awayText(situation, glove);
    if (glove.heard) view.silentSeconds = secondsBetween(*glove.heard, judged);
    if (situation.captured) view.framesPerSecond = 0;
    return view;
  }
  view.silentSeconds = silence(situation, glove, judged);
  if (glove.isOver && isJudged(situation)) {
    view.state = GloveState::lost;
  } else {
    view.state = *view.silentSeconds >= maxSilence ? GloveState::silent : GloveState::connected;
  }
  if (!situation.captured) return view;
  view.framesPerSecond = glove.sent.perSecond(judged);
  const double sent = glove.sentLong.growth(judged);
  view.lostShare = sent > 0 ? std::min(1.0, glove.lostLong.growth(judged) / sent) : 0;
  return view;
}

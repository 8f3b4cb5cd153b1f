// What a replay makes of a program's commands.

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <utility>

#include "host/capture/Replay.h"

namespace {

using Time = Dialogue::Time;
using Step = Dialogue::Step;

// The plug-in looks for a restarted dongle so often.
constexpr Time betweenLooks = std::chrono::milliseconds(500);

double seconds(Time time)
{
  return std::chrono::duration<double>(time).count();
}

}  // namespace

void Replay::accept(const std::vector<std::uint8_t>& command)
{
  if (isReset(command)) {
    restart(command);
  } else if (const auto index = find(command)) {
    acceptStep(*index, command);
  } else if (!acceptElsewhere(command)) {
    const auto next = expected();
    depart(fmt::format("{}, got {}, which is not answered",
                       next ? "expected " + textOf(bytesOf(*next)) : "nothing more was expected",
                       textOf(command)));
  }
}

// The next command that has not come.
std::optional<std::uint32_t> Replay::expected() const
{
  if (!hasOpening()) return std::nullopt;
  for (auto index = std::ranges::lower_bound(opening().commands, step_); index != opening().commands.end();
       ++index) {
    if (states_[*index] == State::open) return *index;
  }
  return std::nullopt;
}

// The step that stands for the command: the next one, an earlier one that did not come, a later one, or the
// next one with other parameters, in this order.
std::optional<std::uint32_t> Replay::find(const std::vector<std::uint8_t>& command) const
{
  if (!hasOpening()) return std::nullopt;
  const auto isIt = [&](std::uint32_t index, State state) {
    return states_[index] == state && std::ranges::equal(bytesOf(index), command);
  };
  const auto next = expected();
  if (next && isIt(*next, State::open)) return next;
  const auto& commands = opening().commands;
  const auto passed = std::ranges::find_if(commands.rbegin(), commands.rend(),
                                           [&](std::uint32_t index) { return isIt(index, State::passed); });
  if (passed != commands.rend()) return *passed;
  const auto later =
      std::ranges::find_if(commands, [&](std::uint32_t index) { return isIt(index, State::open); });
  if (later != commands.end()) return *later;
  const auto isAlike = [&] {
    const auto recorded = bytesOf(*next);
    return recorded[2] == command[2] && recorded[3] == command[3] && isNear(*next);
  };
  return next && isAlike() ? next : std::nullopt;
}

// In a later opening, if this one has not begun, or is over: the program opened the port without a restart.
bool Replay::acceptElsewhere(const std::vector<std::uint8_t>& command)
{
  if (!hasOpening() || (hasBegun_ && !isFinished_)) return false;
  for (std::size_t index = opening_ + 1; index < dialogue_.openings.size(); ++index) {
    const Dialogue::Opening& other = dialogue_.openings[index];
    const bool isThere = std::ranges::any_of(other.commands, [&](std::uint32_t step) {
      return std::ranges::equal(dialogue_.bytesOf(other.steps[step]), command);
    });
    if (!isThere) continue;
    depart(fmt::format("got {} without a restart of the dongle; going on at {:.3f} s", textOf(command),
                       seconds(other.begin)));
    enter(index);
    accept(command);
    return true;
  }
  return false;
}

void Replay::acceptStep(std::uint32_t index, const std::vector<std::uint8_t>& command)
{
  const Step& step = opening().steps[index];
  const auto next = expected();
  const bool isLate = index < step_;
  const bool isFirst = !std::exchange(hasBegun_, true);
  // Of an opening that has just begun, all that came before the first command is due.
  if (isFirst) setTime(step.time);
  const bool isHeldUp = !isLate && !isFirst && hasMessagesBefore(index);
  const bool isEarly = isHeldUp && step.time - timeNow() > maxEarly;

  if (isLate) {
    depart(fmt::format("{} comes {:.3f} s late", textOf(command), seconds(position() - step.time)));
  } else if (index != next) {
    depart(fmt::format("expected {}, got {}, which comes later", textOf(bytesOf(*next)), textOf(command)));
  } else if (!std::ranges::equal(bytesOf(index), command)) {
    depart(fmt::format("expected {}, got {}, which is answered like it", textOf(bytesOf(index)),
                       textOf(command)));
  } else if (isEarly) {
    depart(fmt::format("{} comes {:.3f} s early", textOf(command), seconds(step.time - timeNow())));
  }

  states_[index] = State::played;
  ++progress_.commands;
  furthest_ = std::max(furthest_, index);
  if (!isLate && !isHeldUp && !isFirst) setTime(step.time);
  if (isLate || isEarly) {
    answerNow(index);
    if (isDisconnect(command)) endStreamsOf(command[4]);
  }
  play();
}

void Replay::restart(const std::vector<std::uint8_t>& command)
{
  const auto& openings = dialogue_.openings;
  const auto from = openings.begin() + static_cast<std::ptrdiff_t>(std::min(opening_, openings.size()));
  const auto found = std::find_if(from, openings.end(), [](const Dialogue::Opening& each) {
    return each.ending == Dialogue::Ending::reset;
  });
  const auto index = static_cast<std::size_t>(found - openings.begin());
  const std::uint64_t skipped = commandsLeftBefore(index);
  if (skipped > 0) {
    depart(fmt::format("got {}, a restart of the dongle; {} recorded command{} not come", textOf(command),
                       skipped, skipped == 1 ? " has" : "s have"));
  }
  if (found == openings.end()) {
    depart(fmt::format("got {}, a restart of the dongle, but the capture has no further one; it stays silent",
                       textOf(command)));
    enter(openings.size());
    goAway(betweenLooks / 2);
    return;
  }
  if (index == 0 || openings[index - 1].section != found->section) {
    report(fmt::format("section {} of {} begins", found->section, dialogue_.sections));
  }
  ++progress_.commands;
  const auto next = found + 1;
  const bool isLast = next == openings.end();
  const Time absence = isLast ? Time{0} : next->begin - found->end;
  enter(index + 1);
  if (isLast) {
    report("the dongle does not come back, as recorded");
    goAway(std::nullopt);
  } else if (next->section == found->section) {
    // It is found at the same look as recorded.
    goAway(std::max(absence - betweenLooks / 2, absence / 2));
  } else {
    report("the dongle does not come back in time, as recorded");
    goAway(std::min(absence, maxAbsence_));
  }
}

// Of the openings from the present one up to this one, the commands that were not reported, except its
// restart.
std::uint64_t Replay::commandsLeftBefore(std::size_t index) const
{
  std::uint64_t count = 0;
  for (std::size_t each = opening_; each < dialogue_.openings.size() && each <= index; ++each) {
    const Dialogue::Opening& other = dialogue_.openings[each];
    for (const std::uint32_t step : other.commands) {
      const bool hasCome = each == opening_ && states_[step] != State::open;
      if (!hasCome && !(each == index && step == other.commands.back())) ++count;
    }
  }
  return count;
}

#include "host/capture/Replay.h"

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <utility>

namespace {

using namespace std::chrono_literals;
using Time = Dialogue::Time;
using Step = Dialogue::Step;

// A command that is early by less keeps its place among the messages.
constexpr Time maxEarly = 100ms;
// How long the answer to a command takes at most.
constexpr Time maxAnswer = 2s;
// The plug-in closes its link in less: no stream has to go on without its commands.
constexpr Time maxClosing = 2s;
// The plug-in gives up reading after two silent seconds. The first is forgiven, but nothing after it.
constexpr Time patienceOfReaders = 900ms;
// The plug-in looks for a restarted dongle each half second, six times.
constexpr Time betweenLooks = 500ms;
constexpr Time allLooks = 3250ms;
// Longer absences are of no use to anyone who debugs.
constexpr Time maxVanished = 1s;

// As many bytes as a command of the plug-in has, and some.
std::string hexOf(std::span<const std::uint8_t> bytes)
{
  constexpr std::size_t maxShown = 32;
  const auto shown = bytes.first(std::min(bytes.size(), maxShown));
  return fmt::format("{:02X}{}", fmt::join(shown, " "), bytes.size() > maxShown ? " ..." : "");
}

std::string counted(std::uint64_t count, const char* what)
{
  return fmt::format("{} {}{}", count, what, count == 1 ? "" : "s");
}

double seconds(Time time)
{
  return std::chrono::duration<double>(time).count();
}

Replay::Progress wholeOf(const Dialogue& dialogue)
{
  Replay::Progress whole;
  for (const Dialogue::Opening& opening : dialogue.openings) {
    whole.commands += opening.commands.size();
    for (const Step& step : opening.steps) {
      if (!step.isCommand) whole.bytes += step.size;
    }
  }
  return whole;
}

}  // namespace

Replay::Replay(VirtualClock& clock, Dialogue dialogue, double speed)
    : clock_(clock),
      dialogue_(std::move(dialogue)),
      patience_(std::chrono::duration_cast<Time>(patienceOfReaders * speed)),
      maxAbsence_(std::chrono::duration_cast<Time>(allLooks * speed)),
      whole_(wholeOf(dialogue_))
{
  enter(0);
}

void Replay::receive(std::span<const std::uint8_t> bytes)
{
  if (!isPresent_) return;
  latestBytes_ = clock_.now();
  parser_.add(bytes);
  while (const auto command = parser_.next()) {
    accept(commandBytes(*command));
  }
}

bool Replay::isOver() const
{
  return !hasOpening() || (isFinished_ && opening_ + 1 == dialogue_.openings.size());
}

std::string Replay::summary() const
{
  if (progress_.commands + progress_.departures == 0 && whole_.commands > 0) {
    return "Played nothing: no command of a program came.";
  }
  const bool isWhole = progress_.commands == whole_.commands && progress_.bytes == whole_.bytes;
  const std::string departures =
      progress_.departures == 0
          ? (isWhole ? "the program did what was recorded" : "so far the program did what was recorded")
          : fmt::format("the program departed from the recording {} (see above)",
                        progress_.departures == 1 ? "once" : fmt::format("{} times", progress_.departures));
  if (isWhole) {
    return fmt::format("Played all of the capture: {} and {}; {}.", counted(whole_.commands, "command"),
                       counted(whole_.bytes, "byte"), departures);
  }
  return fmt::format("Played {} of {} and {} of {}; {}.", progress_.commands,
                     counted(whole_.commands, "command"), progress_.bytes, counted(whole_.bytes, "byte"),
                     departures);
}

void Replay::enter(std::size_t index)
{
  opening_ = index;
  step_ = furthest_ = 0;
  hasBegun_ = isFinished_ = isStreaming_ = false;
  waitBegin_.reset();
  wake_.reset();
  states_.assign(hasOpening() ? opening().steps.size() : 0, State::open);
  beginWithoutCommand();
}

// An opening begins with the program's first command, since nobody can see it open a port; one without
// commands has to begin by itself.
void Replay::beginWithoutCommand()
{
  if (!hasOpening() || !opening().commands.empty() || !isPresent_) return;
  hasBegun_ = true;
  setTime(opening().begin);
  wakeAt(opening().begin);
}

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
    depart(fmt::format("got {}, a restart of the dongle; {} before it {} not come", textOf(command),
                       counted(skipped, "recorded command"), skipped == 1 ? "has" : "have"));
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

void Replay::goAway(std::optional<Time> duration)
{
  isPresent_ = false;
  parser_.clear();
  wake_.reset();
  if (duration) {
    clock_.after(*duration, [this, life = std::weak_ptr<const bool>(life_)] {
      if (life.expired()) return;
      isPresent_ = true;
      if (onPresence) onPresence(true);
      beginWithoutCommand();
    });
  }
  if (onPresence) onPresence(false);
}

// Sends what is due, up to a command that is awaited.
void Replay::play()
{
  while (isPresent_ && hasBegun_ && !isFinished_) {
    if (step_ == opening().steps.size()) return finish();
    const Step& step = opening().steps[step_];
    const bool isAwaited = step.isCommand && states_[step_] == State::open;
    if (!step.isCommand || isAwaited) {
      if (step.time > timeNow()) return wakeAt(step.time);
    }
    if (isAwaited && !passCommand(step)) return;
    const std::uint32_t index = step_++;
    if (!step.isCommand) send(index);
  }
}

// False while the replay has to wait for it.
bool Replay::passCommand(const Step& command)
{
  if (furthest_ < step_) {
    if (!waitBegin_) waitBegin_ = clock_.now();
    const bool goesOn = isStreaming_ && opening().lastStream > command.time + maxClosing;
    if (!goesOn) return false;
    if (const Time waited = clock_.now() - *waitBegin_; waited < patience_) {
      wakeAt(command.time + patience_ - waited);
      return false;
    }
    depart(fmt::format("expected {}, which has not come; the stream goes on", textOf(bytesOf(step_))));
  }
  if (waitBegin_) setTime(command.time);
  states_[step_] = State::passed;
  return true;
}

void Replay::finish()
{
  isFinished_ = true;
  if (opening().ending != Dialogue::Ending::vanished) return;
  if (opening().end > timeNow()) {
    isFinished_ = false;
    return wakeAt(opening().end);
  }
  report("the port is lost, as recorded");
  const Time end = opening().end;
  const bool isLast = opening_ + 1 == dialogue_.openings.size();
  if (isLast) return goAway(std::nullopt);
  enter(opening_ + 1);
  goAway(std::min(opening().begin - end, maxVanished));
}

bool Replay::isNear(std::uint32_t index) const
{
  return !hasBegun_ || !hasMessagesBefore(index) || opening().steps[index].time - timeNow() <= maxEarly;
}

// That are still to be sent.
bool Replay::hasMessagesBefore(std::uint32_t index) const
{
  for (std::uint32_t each = step_; each < index; ++each) {
    if (!opening().steps[each].isCommand && isWanted(each)) return true;
  }
  return false;
}

// A message that was not sent, and whose command has come.
bool Replay::isWanted(std::uint32_t message) const
{
  const std::uint32_t cause = opening().steps[message].cause;
  return states_[message] == State::open && (cause == Step::noCause || states_[cause] == State::played);
}

void Replay::send(std::uint32_t index)
{
  if (!isWanted(index)) return;
  states_[index] = State::played;
  const Step& step = opening().steps[index];
  isStreaming_ = isStreaming_ || step.isStream;
  progress_.bytes += step.size;
  latestBytes_ = clock_.now();
  if (onSend) onSend(dialogue_.bytesOf(step));
}

// Out of order: the answer to a command that comes much earlier or later than recorded.
void Replay::answerNow(std::uint32_t command)
{
  const std::size_t current = opening_;
  const auto& steps = opening().steps;
  const Time end = steps[command].time + maxAnswer;
  for (std::uint32_t index = command + 1; index < steps.size() && steps[index].time <= end; ++index) {
    if (steps[index].cause == command && !steps[index].isStream) send(index);
    if (opening_ != current) return;
  }
}

// The program has ended the connection. Without any other that sends, the rest is of no use to it.
void Replay::endStreamsOf(std::uint8_t connection)
{
  bool goesOn = false;
  for (const std::uint32_t index : opening().commands) {
    if (!opening().steps[index].isStream || states_[index] != State::played) continue;
    if (bytesOf(index)[4] == connection) {
      states_[index] = State::ended;
    } else {
      goesOn = true;
    }
  }
  if (goesOn || !isStreaming_) return;
  step_ = static_cast<std::uint32_t>(opening().steps.size());
  report(fmt::format("the program has disconnected; the rest of section {} is left out", opening().section));
}

// It stands still at a command that is awaited.
Time Replay::timeNow() const
{
  return waitBegin_ ? opening().steps[step_].time : anchorTime_ + (clock_.now() - anchorClock_);
}

Time Replay::position() const
{
  return hasBegun_ ? std::min(timeNow(), opening().end) : opening().begin;
}

void Replay::setTime(Time time)
{
  anchorTime_ = time;
  anchorClock_ = clock_.now();
  waitBegin_.reset();
}

void Replay::wakeAt(Time time)
{
  wake_ = std::make_shared<const bool>(true);
  clock_.after(std::max(time - timeNow(), Time{0}), [this, life = std::weak_ptr<const bool>(wake_)] {
    if (!life.expired()) play();
  });
}

std::string Replay::textOf(std::span<const std::uint8_t> command) const
{
  constexpr std::size_t headerSize = 4;
  const std::string name = nameOf && command.size() >= headerSize ? nameOf(command[2], command[3]) : "";
  return name.empty() ? hexOf(command) : fmt::format("{} ({})", name, hexOf(command));
}

void Replay::report(const std::string& text) const
{
  if (onReport) onReport(text);
}

void Replay::depart(const std::string& text)
{
  ++progress_.departures;
  report(hasOpening() ? fmt::format("at {:.3f} s of the capture: {}", seconds(position()), text)
                      : fmt::format("after the end of the capture: {}", text));
}

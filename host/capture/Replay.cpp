#include "host/capture/Replay.h"

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <utility>

namespace {

using namespace std::chrono_literals;
using Time = Dialogue::Time;
using Step = Dialogue::Step;

// How long the answer to a command takes at most.
constexpr Time maxAnswer = 2s;
// The plug-in closes its link in less: no stream has to go on without its commands.
constexpr Time maxClosing = 2s;
// The plug-in gives up reading after two silent seconds. The first is forgiven, but nothing after it.
constexpr Time patienceOfReaders = 900ms;
// The plug-in looks for a restarted dongle each half second, six times.
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

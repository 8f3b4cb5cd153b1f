// The dongle's side of a captured dialogue, played to any program. Its clock runs with the VirtualClock, and
// stands still at each command of the dialogue until the program sends it, so that whatever follows a command
// follows it after the recorded time:
//
//   program                  replay
//   system_reset         ->  the port goes away, and comes back as it did
//   a recorded command   ->  its response, then all that the dongle sent up to the next command
//                        <-  the notifications, in their order, at their times
//   (no command)         <-  a stream that goes on in the capture goes on here, after 0.9 s; the answer to
//                            the missing command waits for it
//   a later command      ->  its answer at once, out of order
//   another command          no answer
//
// Each departure is reported. Threads, ownership: as SerialDevice. Throws only std::bad_alloc.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "host/capture/Dialogue.h"
#include "simulator/SerialDevice.h"
#include "simulator/VirtualClock.h"
#include "simulator/Wire.h"

class Replay final : public simulator::SerialDevice {
 public:
  // The clock must outlive it. `speed`: the clock's seconds in a second of the program.
  Replay(VirtualClock& clock, Dialogue dialogue, double speed = 1);

  void receive(std::span<const std::uint8_t> bytes) override;

  // What happens, in words.
  std::function<void(const std::string& text)> onReport;
  // The name of a command, for these words; empty if unknown. Without it they have its bytes alone.
  std::function<std::string(std::uint8_t group, std::uint8_t id)> nameOf;

  struct Progress {
    std::uint64_t commands = 0;  // that came
    std::uint64_t bytes = 0;     // that were sent
    std::uint64_t departures = 0;
  };
  const Progress& progress() const { return progress_; }
  const Progress& whole() const { return whole_; }
  // Nothing is left to be sent or awaited.
  bool isOver() const;
  // Since the program sent anything, or the replay did.
  VirtualClock::Duration quietTime() const { return clock_.now() - latestBytes_; }
  // How far the capture was played.
  std::string summary() const;

 private:
  using Time = Dialogue::Time;
  // Of a step. A message, once sent, and a command, once received, are `played`.
  enum class State : std::uint8_t {
    open,
    played,
    passed,  // a command that did not come at its place
    ended,   // a command to start notifications, whose connection was ended
  };

  // A command that is early by less keeps its place among the messages.
  static constexpr Time maxEarly = std::chrono::milliseconds(100);

  const Dialogue::Opening& opening() const { return dialogue_.openings[opening_]; }
  bool hasOpening() const { return opening_ < dialogue_.openings.size(); }
  std::optional<std::uint32_t> expected() const;
  void enter(std::size_t index);
  void beginWithoutCommand();
  void accept(const std::vector<std::uint8_t>& command);
  std::optional<std::uint32_t> find(const std::vector<std::uint8_t>& command) const;
  bool acceptElsewhere(const std::vector<std::uint8_t>& command);
  void acceptStep(std::uint32_t index, const std::vector<std::uint8_t>& command);
  void restart(const std::vector<std::uint8_t>& command);
  std::uint64_t commandsLeftBefore(std::size_t index) const;
  // Without a duration: for good.
  void goAway(std::optional<Time> duration);

  void play();
  bool passCommand(const Dialogue::Step& command);
  void finish();
  bool isNear(std::uint32_t index) const;
  bool hasMessagesBefore(std::uint32_t index) const;
  bool isWanted(std::uint32_t message) const;
  void send(std::uint32_t index);
  void answerNow(std::uint32_t command);
  void endStreamsOf(std::uint8_t connection);

  std::span<const std::uint8_t> bytesOf(std::uint32_t index) const
  {
    return dialogue_.bytesOf(opening().steps[index]);
  }
  Time timeNow() const;
  Time position() const;
  void setTime(Time time);
  void wakeAt(Time time);
  std::string textOf(std::span<const std::uint8_t> command) const;
  void report(const std::string& text) const;
  void depart(const std::string& text);

  VirtualClock& clock_;
  const Dialogue dialogue_;
  const Time patience_;    // of a stream with a command
  const Time maxAbsence_;  // after a restart
  simulator::CommandParser parser_;
  bool isPresent_ = true;

  std::size_t opening_ = 0;
  std::vector<State> states_;   // of its steps
  std::uint32_t step_ = 0;      // the next one
  std::uint32_t furthest_ = 0;  // command that came
  bool hasBegun_ = false;
  bool isFinished_ = false;
  bool isStreaming_ = false;
  std::optional<VirtualClock::Duration> waitBegin_;
  std::shared_ptr<const bool> wake_;  // lifetime of the scheduled action
  const std::shared_ptr<const bool> life_ = std::make_shared<const bool>(true);

  Time anchorTime_{0};  // of the capture, at this moment of the clock
  VirtualClock::Duration anchorClock_{0};
  VirtualClock::Duration latestBytes_{0};
  Progress progress_, whole_;
};

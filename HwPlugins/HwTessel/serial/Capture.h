// Writes what the serial layer moves into a capture, a pcapng file described in docs/capture.md, if the
// environment variable TESSEL_CAPTURE names its target; otherwise does nothing.
//
// Threads: the thread that runs the link. A capture never delays or fails a serial call, unless its target is
// a file on a slow disk: what the target does not take at once is gathered, then dropped and counted.
// Lifetime: from the first serialOpen until the library is unloaded, after every link has been closed.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "platform/Platform.h"

namespace capture {

enum class State : std::uint8_t { untried, off, on };
// Read by isOn only.
extern constinit State state;

inline bool isOn()
{
  return state == State::on;
}

// Opens the target if that has not been tried yet.
void open();
// Writes the rest and closes the target; the next `open` tries again. Called when the library is unloaded,
// and by tests.
void close();

// Adds an entry without bytes: what happened to the port.
void note(std::string_view text);
// Hands the gathered entries to the operating system.
void flush();

// Once after the target could not be opened: what is wrong, in UTF-8. Otherwise empty.
std::string takeError();

enum class Direction : std::uint8_t { received = 1, sent = 2 };

// One serial call of a capture that is on. It returns when the object is destroyed; an entry is then added if
// any bytes were moved. Only one exists at a time.
class Call {
 public:
  explicit Call(Direction direction) : direction_(direction) {}
  ~Call() { write(isComplete_ ? "" : "incomplete"); }
  Call(const Call&) = delete;
  Call& operator=(const Call&) = delete;

  // A read of so many bytes begins. What was gathered must not wait for them.
  static void beforeRead(platform::PortHandle port, std::size_t count)
  {
    if (platform::receivedInProcess(port) < count) flush();
  }
  // Bytes that the port returned or took.
  void add(std::span<const std::uint8_t> bytes) const;
  // All bytes wanted were moved.
  void complete() { isComplete_ = true; }

 private:
  void write(std::string_view comment) const;

  Direction direction_;
  bool isComplete_ = false;
};

// The same without a capture: compiled to nothing.
struct NoCall {
  static void beforeRead(platform::PortHandle, std::size_t) {}
  static void add(std::span<const std::uint8_t>) {}
  static void complete() {}
};

}  // namespace capture

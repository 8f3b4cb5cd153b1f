// The platform of the unit tests: ports in memory and a virtual clock. While an object of this class lives,
// the functions of platform/Platform.h operate on it. Waiting moves the clock, so a timeout takes no real
// time. As on the real platforms, an open port can't be opened again.
#pragma once

#include <chrono>
#include <cstdint>
#include <deque>
#include <functional>
#include <limits>
#include <list>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "platform/Platform.h"
#include "simulator/VirtualClock.h"

class SimulatedPlatform {
 public:
  struct Port {
    std::string friendlyText;
    bool present = true;
    bool busy = false;  // another program holds it open

    std::deque<std::uint8_t> waiting;   // received, not yet read
    std::vector<std::uint8_t> written;  // everything written
    // Called for each write, for a simulated device.
    std::function<void(std::span<const std::uint8_t>)> onWrite;
    // Called for each attempt to read, with the number of bytes that it moved, and for each purge. For a
    // ledger.
    std::function<void(std::span<const std::uint8_t>)> onRefusedWrite;
    std::function<void(std::size_t)> onRead;
    std::function<void()> onPurge;
    platform::PortTimeouts timeouts;

    // Limits of one transfer.
    std::size_t maxPerRead = std::numeric_limits<std::size_t>::max();
    std::size_t maxPerWrite = std::numeric_limits<std::size_t>::max();

    // An operation with an error number here fails with it.
    std::optional<std::uint32_t> readError, writeError, purgeError, getTimeoutsError, setTimeoutsError;

    int closes = 0, reads = 0, writes = 0, timeoutReads = 0;  // attempts, including failed ones
  };

  SimulatedPlatform();
  ~SimulatedPlatform();
  SimulatedPlatform(const SimulatedPlatform&) = delete;
  SimulatedPlatform& operator=(const SimulatedPlatform&) = delete;

  // For a library with its own copy of this code: its functions operate on the platform of the program.
  static void use(SimulatedPlatform* platform);

  // Adds a port after the existing ones. The reference stays valid.
  Port& addPort(const std::string& friendlyText);

  // The open port of a handle, or null.
  Port* find(platform::PortHandle handle);

  // The plug-in's monotonic clock: the virtual time, but a nanosecond later at each query, so that times
  // strictly increase.
  std::chrono::nanoseconds uptime();
  // The result of the latest query.
  std::chrono::nanoseconds latestUptime() const { return uptime_; }

  // The error number of an unplugged device.
  static constexpr std::uint32_t deviceGone = 1167;

  VirtualClock clock;
  // What each operation on a port takes, before its effect.
  VirtualClock::Duration operationTime{0};
  std::uint32_t tickOffset = 0;  // tickCount() when the clock is at 0, ms
  std::list<Port> ports;
  bool hasDeviceList = true;
  std::string openedPath;  // as passed to the latest open
  std::string debugText;   // all debug output
  int simulating = 0;      // above 0 while the simulation runs within a call of the plug-in
  std::map<platform::PortHandle, Port*> open;
  platform::PortHandle lastHandle = 0;

  // The target of a capture; none unless `capturing`. With an error it can't be opened. It takes bytes while
  // it holds less than its capacity; a test that reads it clears `captured`.
  bool capturing = false;
  std::string captureError;
  std::vector<std::uint8_t> captured;
  std::size_t captureCapacity = std::numeric_limits<std::size_t>::max();
  int captureWrites = 0;  // attempts
  bool captureIsOpen = false;
  static constexpr std::chrono::nanoseconds wallClockAtStart = std::chrono::seconds(1'700'000'000);

 private:
  std::chrono::nanoseconds uptime_{0};
};

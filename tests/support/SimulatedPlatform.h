// The platform of the unit tests: ports in memory and a virtual clock. While an object of this class lives,
// the functions of platform/Platform.h work on it. Waiting moves the clock, so a timeout takes no real time.
// A port that is open can't be opened again, as on the real platforms.
#pragma once

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
    std::vector<std::uint8_t> written;  // all that was written
    // Told of each write, so that a simulated device can take it.
    std::function<void(std::span<const std::uint8_t>)> onWrite;
    platform::PortTimeouts timeouts;

    // A system that moves only so many bytes at once.
    std::size_t mostPerRead = std::numeric_limits<std::size_t>::max();
    std::size_t mostPerWrite = std::numeric_limits<std::size_t>::max();

    // An operation with a number here fails with it.
    std::optional<std::uint32_t> readError, writeError, purgeError, getTimeoutsError, setTimeoutsError;

    int closes = 0, reads = 0, writes = 0, timeoutReads = 0;  // tries, failed ones too
  };

  SimulatedPlatform();
  ~SimulatedPlatform();
  SimulatedPlatform(const SimulatedPlatform&) = delete;
  SimulatedPlatform& operator=(const SimulatedPlatform&) = delete;

  // Adds a port behind those that are there. The reference stays good.
  Port& addPort(const std::string& friendlyText);

  // The open port of a handle, or null.
  Port* find(platform::PortHandle handle);

  // The error number of a device that was pulled out.
  static constexpr std::uint32_t deviceGone = 1167;

  VirtualClock clock;
  std::list<Port> ports;
  bool hasDeviceList = true;
  std::string openedPath;  // as the latest open was given it
  std::string debugText;   // all that was shown to a developer
  std::map<platform::PortHandle, Port*> open;
  platform::PortHandle lastHandle = 0;
};

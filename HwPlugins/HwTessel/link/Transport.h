// What messages need of their device: its port, its stop flag and its error list.
//
// Threads: the thread that runs the link; only the stop flag may be raised by another thread at any time.
#pragma once

#include <cstdint>
#include <vector>

#include "serial/SerialPort.h"

// Errors noted between polls.
enum class LinkError : std::uint32_t { writeFailed = 0, unknownMessage = 1 };

class Transport {
 public:
  void raiseStop() { stopFlag_.store(1, std::memory_order_relaxed); }
  bool isStopRaised() const { return stopFlag_.load(std::memory_order_relaxed) != 0; }
  const StopFlag& stopFlag() const { return stopFlag_; }

  platform::PortHandle& port() { return port_; }
  void noteError(LinkError error) { errors_.push_back(error); }

 protected:
  Transport() = default;
  ~Transport() = default;

  platform::PortHandle port_ = platform::closedPort;
  StopFlag stopFlag_{0};
  std::vector<LinkError> errors_;  // since the last poll
};

// The port at which a simulated dongle is served to other programs. Threads: as PtyPort.
// Errors: Failure(output) if the path can't be used, Failure(usage) where there are no simulated ports.
#pragma once

#include <filesystem>
#include <optional>
#include <string>

#include "host/base/ScratchFolder.h"
#include "simulator/PtyPort.h"

class SimulatedPort {
 public:
  // Creates the port, which is not served before run(). `wanted`: empty for a path in a temporary folder.
  // Nothing but the port of a simulation that has ended is replaced. Clock and device must outlive it.
  SimulatedPort(VirtualClock& clock, simulator::SerialDevice& device, const std::filesystem::path& wanted);

  // The value of TESSEL_SERIAL_PORTS with which a plug-in finds the port.
  std::string portsVariable() const;
  simulator::PtyPort& pty() { return *pty_; }

 private:
  std::optional<ScratchFolder> folder_;
  std::filesystem::path path_;
  std::optional<simulator::PtyPort> pty_;
};

// Serves a simulated device to other programs, in real time, as a pseudo terminal at a fixed path, which
// disappears while the device is away.
// Threads: the thread that runs it; the device may only be used on that thread meanwhile.
// Errors: std::system_error if the terminal or the path can't be created.
#pragma once

#include <atomic>
#include <cstdint>
#include <filesystem>
#include <span>
#include <vector>

#include "simulator/SerialDevice.h"
#include "simulator/VirtualClock.h"

namespace simulator {

class PtyPort {
 public:
  // Replaces the device's onSend and onPresence. Clock and device must outlive it. An existing file at the
  // path is replaced.
  PtyPort(VirtualClock& clock, SerialDevice& device, std::filesystem::path path);
  // Removes the path.
  ~PtyPort();
  PtyPort(const PtyPort&) = delete;
  PtyPort& operator=(const PtyPort&) = delete;

  // True if the path is a terminal that a process serves.
  static bool isServed(const std::filesystem::path& path);

  // Runs until the flag is set. `speed`: simulated seconds per real second.
  void run(const std::atomic<bool>& stop, double speed = 1);

  // Holds the lock that programs use to reserve a port, also across restarts of the device, so that no other
  // program can open it. Waits while another program holds it.
  void holdPort(bool hold);
  // The device's end of the terminal, for writing past the device between two runs; -1 while it is away.
  int descriptor() const { return master_; }

 private:
  void plugIn();
  void unplug();
  void claim();
  void send(std::span<const std::uint8_t> message);
  void flush();
  void receive();
  void wait(std::chrono::nanoseconds limit) const;

  VirtualClock& clock_;
  SerialDevice& device_;
  std::filesystem::path path_;
  int master_ = -1;
  int slave_ = -1;  // kept open, so that the terminal persists while no program uses it
  std::filesystem::path terminal_;
  bool isHeld_ = false;
  bool isClaimed_ = false;
  std::vector<std::uint8_t> waiting_;  // not yet accepted by the terminal
};

}  // namespace simulator

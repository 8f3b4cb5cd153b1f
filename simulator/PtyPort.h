// Serves a simulated dongle to other programs, in real time, as a pseudo terminal behind a path that stays
// the same: the path goes away while the dongle restarts, and comes back with it. Threads: the one that runs
// it, which is also the one that the dongle and its gloves are used on meanwhile. Errors: std::system_error
// if the terminal or the path can't be made.
#pragma once

#include <atomic>
#include <filesystem>
#include <vector>

#include "simulator/Dongle.h"
#include "simulator/VirtualClock.h"

namespace simulator {

class PtyPort {
 public:
  // Takes over the dongle's onSend and onPresence. Clock and dongle must outlive it. What stands at the path
  // is replaced.
  PtyPort(VirtualClock& clock, Dongle& dongle, std::filesystem::path path);
  // Removes the path.
  ~PtyPort();
  PtyPort(const PtyPort&) = delete;
  PtyPort& operator=(const PtyPort&) = delete;

  // Whether a terminal stands at the path that somebody serves.
  static bool isServed(const std::filesystem::path& path);

  // Runs until the flag is set. `speed`: simulated seconds in a real one.
  void run(const std::atomic<bool>& stop, double speed = 1);

  // Holds the lock by which programs keep each other off a port, through restarts of the dongle too, so that
  // nobody else can open it. While another program has it, waits for it to let go.
  void holdPort(bool hold);
  // The dongle's end of the terminal, for who writes past the dongle between two runs; -1 while it is away.
  int descriptor() const { return master_; }

 private:
  void plugIn();
  void unplug();
  void claim();
  void send(std::span<const std::uint8_t> message);
  void flush();
  void receive();
  void wait(std::chrono::nanoseconds longest) const;

  VirtualClock& clock_;
  Dongle& dongle_;
  std::filesystem::path path_;
  int master_ = -1;
  int slave_ = -1;  // held open, so that the terminal lives between the programs that use it
  std::filesystem::path terminal_;
  bool isHeld_ = false;
  bool isClaimed_ = false;
  std::vector<std::uint8_t> waiting_;  // what the terminal has not taken yet
};

}  // namespace simulator

// The far end of the serial port "Bluegiga Bluetooth Low Energy (COM7)", for tests that apply to every
// platform. SimulatedPeer.cpp or PtyPeer.cpp is linked to implement it.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

class SerialPeer {
 public:
  using Bytes = std::vector<std::uint8_t>;

  SerialPeer();
  ~SerialPeer();
  SerialPeer(const SerialPeer&) = delete;
  SerialPeer& operator=(const SerialPeer&) = delete;

  void send(const Bytes& bytes);

  // Waits for `count` bytes from the port.
  Bytes receive(std::size_t count);

  // Runs the action while the test waits in the port.
  void after(std::chrono::milliseconds delay, std::function<void()> action);

  // The device disappears and returns.
  void unplug();
  void plugIn();

  // Another program opens the port, and is killed with the port still open. True if it could open it.
  bool occupy();
  void vacate();

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

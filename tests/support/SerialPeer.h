// The far end of the serial port "Bluegiga Bluetooth Low Energy (COM7)", for the tests that hold for every
// platform. Which kind stands there is decided by what is linked in: SimulatedPeer.cpp or PtyPeer.cpp.
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

  // Waits for so many bytes from the port.
  Bytes receive(std::size_t count);

  // Does something while the test waits in the port.
  void after(std::chrono::milliseconds delay, std::function<void()> action);

  // The device goes away and comes back.
  void unplug();
  void plugIn();

  // Another program takes the port, and dies with the port still open. True if it got it.
  bool occupy();
  void vacate();

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

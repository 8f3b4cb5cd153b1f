// A simulated device behind a serial port: bytes in, bytes out. Everything runs on the thread that moves its
// clock or calls in.
#pragma once

#include <cstdint>
#include <functional>
#include <span>

namespace simulator {

class SerialDevice {
 public:
  virtual ~SerialDevice() = default;

  // Processes bytes from the host, split or merged in any way. Discarded while the port is away.
  virtual void receive(std::span<const std::uint8_t> bytes) = 0;
  // Called with each message to the host; the bytes are valid during the call.
  std::function<void(std::span<const std::uint8_t>)> onSend;
  // Called when the port, which is present at first, disappears and returns.
  std::function<void(bool present)> onPresence;
};

}  // namespace simulator

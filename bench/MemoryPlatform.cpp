#include "bench/MemoryPlatform.h"

#include <algorithm>

#include "platform/Platform.h"

namespace {

std::span<const std::uint8_t> waiting;
std::uint32_t readTimeoutMs = 0;  // the only timeout that is kept; nothing ever waits

}  // namespace

void serve(std::span<const std::uint8_t> bytes)
{
  waiting = bytes;
}

namespace platform {

namespace {

constexpr PortHandle thePort = 7;

PortResult resultFor(PortHandle port)
{
  return port == thePort ? PortResult{} : PortResult{.error = invalidHandle};
}

}  // namespace

std::optional<std::vector<std::string>> presentPorts()
{
  return std::vector<std::string>{"Bluegiga Bluetooth Low Energy (COM7)"};
}

PortHandle openPort(const char*)
{
  return thePort;
}

void closePort(PortHandle) {}

PortResult purgeReceived(PortHandle port)
{
  return resultFor(port);
}

PortResult getTimeouts(PortHandle port, PortTimeouts& timeouts)
{
  timeouts = {.readTotalConstant = readTimeoutMs};
  return resultFor(port);
}

PortResult setTimeouts(PortHandle port, const PortTimeouts& timeouts)
{
  readTimeoutMs = timeouts.readTotalConstant;
  return resultFor(port);
}

PortResult readPort(PortHandle port, std::span<std::uint8_t> buffer)
{
  PortResult result = resultFor(port);
  if (!result.ok()) return result;
  const std::size_t count = std::min(buffer.size(), waiting.size());
  std::copy_n(waiting.begin(), count, buffer.begin());
  waiting = waiting.subspan(count);
  result.count = count;
  return result;
}

std::size_t receivedInProcess(PortHandle)
{
  return waiting.size();
}

PortResult writePort(PortHandle port, std::span<const std::uint8_t> bytes)
{
  PortResult result = resultFor(port);
  result.count = bytes.size();
  return result;
}

// Advances by a second with each call, so that every wait ends.
std::uint32_t tickCount()
{
  static std::uint32_t now = 0;
  return now += 1000;
}

void sleep(std::uint32_t) {}

// No capture.
std::int64_t uptimeNs()
{
  return 0;
}

std::int64_t wallClockNs()
{
  return 0;
}

CaptureOpening openCapture()
{
  return CaptureOpening::off;
}

std::string captureError()
{
  return {};
}

std::size_t writeCapture(std::span<const std::uint8_t>)
{
  return 0;
}

void closeCapture() {}

void debugOutput(const char*) {}

}  // namespace platform

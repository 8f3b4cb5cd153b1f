#include "serial/SerialPort.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <vector>

#include "platform/FriendlyText.h"
#include "serial/Capture.h"

namespace {

using platform::closedPort;
using platform::PortHandle;
using platform::PortResult;
using platform::PortTimeouts;

constexpr std::uint32_t writeTimeoutMs = 3000;

bool isRaised(const StopFlag& flag)
{
  return flag.load(std::memory_order_relaxed) != 0;
}

// After a short transfer the position advances by the bytes still missing, not by those transferred: a read
// of 10 that returns 3 continues at offset 7. Intentional: split data reaches the caller this way.
struct Progress {
  std::size_t position = 0;
  std::size_t wanted = 0;

  void advance(std::size_t moved)
  {
    wanted -= std::min(moved, wanted);
    position += wanted;
  }
};

// One read of the missing bytes. Those that fall beyond the buffer are read and discarded.
template <class Call>
PortResult readWanted(PortHandle handle, std::span<std::uint8_t> buffer, const Progress& progress, Call& call)
{
  call.beforeRead(handle, progress.wanted);
  if (progress.position + progress.wanted <= buffer.size()) {
    const auto piece = buffer.subspan(progress.position, progress.wanted);
    const PortResult result = platform::readPort(handle, piece);
    call.add(piece.first(result.count));
    return result;
  }
  std::vector<std::uint8_t> bytes(progress.wanted);
  const PortResult result = platform::readPort(handle, bytes);
  call.add(std::span(bytes).first(result.count));
  const std::size_t position = std::min(progress.position, buffer.size());
  const std::size_t kept = std::min<std::size_t>(result.count, buffer.size() - position);
  std::copy_n(bytes.begin(), kept, buffer.begin() + static_cast<std::ptrdiff_t>(position));
  return result;
}

// One write of the missing bytes. Those beyond the caller's buffer are sent as zeros.
template <class Call>
PortResult writeWanted(PortHandle handle, std::span<const std::uint8_t> bytes, const Progress& progress,
                       Call& call)
{
  if (progress.position + progress.wanted <= bytes.size()) {
    const auto piece = bytes.subspan(progress.position, progress.wanted);
    const PortResult result = platform::writePort(handle, piece);
    call.add(piece.first(result.count));
    return result;
  }
  std::vector<std::uint8_t> padded(progress.wanted);
  const auto rest = bytes.subspan(std::min(progress.position, bytes.size()));
  std::copy(rest.begin(), rest.end(), padded.begin());
  const PortResult result = platform::writePort(handle, padded);
  call.add(std::span(padded).first(result.count));
  return result;
}

// Two of each, so that without a capture a call costs one test more.
template <class Call>
[[gnu::always_inline]] inline ReadResult readAll(PortHandle handle, const StopFlag* stopFlag,
                                                 std::span<std::uint8_t> buffer, std::uint32_t timeoutMs,
                                                 Call call)
{
  if (handle == closedPort) return ReadResult::stopped;
  PortTimeouts timeouts;
  if (!platform::getTimeouts(handle, timeouts).ok()) return ReadResult::failed;
  timeouts.readInterval = platform::noInterval;
  timeouts.readTotalMultiplier = 0;
  timeouts.readTotalConstant = timeoutMs;
  platform::setTimeouts(handle, timeouts);  // Intentional: if this fails, the old timeouts apply

  Progress progress{.wanted = buffer.size()};
  while (progress.wanted > 0) {
    if (stopFlag != nullptr && isRaised(*stopFlag)) return ReadResult::stopped;
    const PortResult result = readWanted(handle, buffer, progress, call);
    if (!result.ok()) return result.error == 0 ? ReadResult::nothing : ReadResult::failed;
    if (result.count == 0) return ReadResult::nothing;
    progress.advance(result.count);
  }
  call.complete();
  return buffer.empty() ? ReadResult::nothing : ReadResult::filled;
}

template <class Call>
[[gnu::always_inline]] inline WriteResult writeAll(PortHandle handle, const StopFlag& stopFlag,
                                                   std::span<const std::uint8_t> bytes, Call call)
{
  if (handle == closedPort) return WriteResult::stopped;
  Progress progress{.wanted = bytes.size()};
  while (progress.wanted > 0) {
    if (isRaised(stopFlag)) return WriteResult::stopped;
    const PortResult result = writeWanted(handle, bytes, progress, call);
    if (!result.ok()) return static_cast<WriteResult>(result.error);
    progress.advance(result.count);
  }
  call.complete();
  return WriteResult::done;
}

[[gnu::noinline]] ReadResult captureRead(PortHandle handle, const StopFlag* stopFlag,
                                         std::span<std::uint8_t> buffer, std::uint32_t timeoutMs)
{
  return readAll(handle, stopFlag, buffer, timeoutMs, capture::Call(capture::Direction::received));
}

[[gnu::noinline]] WriteResult captureWrite(PortHandle handle, const StopFlag& stopFlag,
                                           std::span<const std::uint8_t> bytes)
{
  return writeAll(handle, stopFlag, bytes, capture::Call(capture::Direction::sent));
}

}  // namespace

std::int32_t serialFindPort(const std::string& friendlyName)
{
  const auto texts = platform::presentPorts();
  if (!texts) return -1;
  for (const std::string& text : *texts) {
    if (const auto number = platform::portNumber(text, friendlyName)) return *number;
  }
  return -1;
}

void serialListPorts()
{
  const auto texts = platform::presentPorts();
  if (!texts) return;
  for (const std::string& text : *texts) {
    if (platform::portNumber(text, platform::dongleName)) std::printf("%s\n", text.c_str());
  }
}

OpenResult serialOpen(const std::string& portName, PortHandle& handle)
{
  serialClose(handle);
  capture::open();
  std::array<char, 19> path{};
  std::snprintf(path.data(), path.size(), "\\\\.\\%s", portName.c_str());
  handle = platform::openPort(path.data());
  if (handle == closedPort) return OpenResult::failed;
  capture::note("open " + portName);
  capture::flush();
  if (!platform::purgeReceived(handle).ok()) {
    serialClose(handle);
    return OpenResult::purgeFailed;
  }
  const PortTimeouts timeouts{.readInterval = platform::noInterval, .writeTotalConstant = writeTimeoutMs};
  if (!platform::setTimeouts(handle, timeouts).ok()) {
    serialClose(handle);
    return OpenResult::timeoutsFailed;
  }
  return OpenResult::done;
}

ReadResult serialRead(PortHandle handle, const StopFlag* stopFlag, std::span<std::uint8_t> buffer,
                      std::uint32_t timeoutMs)
{
  if (capture::isOn()) [[unlikely]] {
    return captureRead(handle, stopFlag, buffer, timeoutMs);
  }
  return readAll(handle, stopFlag, buffer, timeoutMs, capture::NoCall());
}

WriteResult serialWrite(PortHandle handle, const StopFlag& stopFlag, std::span<const std::uint8_t> bytes)
{
  if (capture::isOn()) [[unlikely]] {
    return captureWrite(handle, stopFlag, bytes);
  }
  return writeAll(handle, stopFlag, bytes, capture::NoCall());
}

PortResult serialPurge(PortHandle handle)
{
  const PortResult result = platform::purgeReceived(handle);
  capture::note("purge");
  capture::flush();
  return result;
}

void serialClose(PortHandle& handle)
{
  if (handle == closedPort) return;
  platform::closePort(handle);
  handle = closedPort;
  capture::note("close");
  capture::flush();
}

bool serialIsAlive(PortHandle handle)
{
  PortTimeouts ignored;
  const PortResult result = platform::getTimeouts(handle, ignored);
  return result.ok() || result.error != platform::invalidHandle;
}

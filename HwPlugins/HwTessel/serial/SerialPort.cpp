#include "serial/SerialPort.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <vector>

#include "platform/FriendlyText.h"

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
PortResult readWanted(PortHandle handle, std::span<std::uint8_t> buffer, const Progress& progress)
{
  if (progress.position + progress.wanted <= buffer.size()) {
    return platform::readPort(handle, buffer.subspan(progress.position, progress.wanted));
  }
  std::vector<std::uint8_t> bytes(progress.wanted);
  const PortResult result = platform::readPort(handle, bytes);
  const std::size_t position = std::min(progress.position, buffer.size());
  const std::size_t kept = std::min<std::size_t>(result.count, buffer.size() - position);
  std::copy_n(bytes.begin(), kept, buffer.begin() + static_cast<std::ptrdiff_t>(position));
  return result;
}

// One write of the missing bytes. Those beyond the caller's buffer are sent as zeros.
PortResult writeWanted(PortHandle handle, std::span<const std::uint8_t> bytes, const Progress& progress)
{
  if (progress.position + progress.wanted <= bytes.size()) {
    return platform::writePort(handle, bytes.subspan(progress.position, progress.wanted));
  }
  std::vector<std::uint8_t> padded(progress.wanted);
  const auto rest = bytes.subspan(std::min(progress.position, bytes.size()));
  std::copy(rest.begin(), rest.end(), padded.begin());
  return platform::writePort(handle, padded);
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
  std::array<char, 19> path{};
  std::snprintf(path.data(), path.size(), "\\\\.\\%s", portName.c_str());
  handle = platform::openPort(path.data());
  if (handle == closedPort) return OpenResult::failed;
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
    const PortResult result = readWanted(handle, buffer, progress);
    if (!result.ok()) return result.error == 0 ? ReadResult::nothing : ReadResult::failed;
    if (result.count == 0) return ReadResult::nothing;
    progress.advance(result.count);
  }
  return buffer.empty() ? ReadResult::nothing : ReadResult::filled;
}

WriteResult serialWrite(PortHandle handle, const StopFlag& stopFlag, std::span<const std::uint8_t> bytes)
{
  if (handle == closedPort) return WriteResult::stopped;
  Progress progress{.wanted = bytes.size()};
  while (progress.wanted > 0) {
    if (isRaised(stopFlag)) return WriteResult::stopped;
    const PortResult result = writeWanted(handle, bytes, progress);
    if (!result.ok()) return static_cast<WriteResult>(result.error);
    progress.advance(result.count);
  }
  return WriteResult::done;
}

void serialClose(PortHandle& handle)
{
  if (handle == closedPort) return;
  platform::closePort(handle);
  handle = closedPort;
}

bool serialIsAlive(PortHandle handle)
{
  PortTimeouts ignored;
  const PortResult result = platform::getTimeouts(handle, ignored);
  return result.ok() || result.error != platform::invalidHandle;
}

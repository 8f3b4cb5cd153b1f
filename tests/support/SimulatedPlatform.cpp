#include "tests/support/SimulatedPlatform.h"

#include <algorithm>
#include <cstdlib>

namespace {

using std::chrono::milliseconds;

SimulatedPlatform* current = nullptr;

struct Simulating {
  Simulating() { ++platform.simulating; }
  ~Simulating() { --platform.simulating; }
  Simulating(const Simulating&) = delete;
  Simulating& operator=(const Simulating&) = delete;

  SimulatedPlatform& platform = *current;
};

}  // namespace

SimulatedPlatform::SimulatedPlatform()
{
  current = this;
}

SimulatedPlatform::~SimulatedPlatform()
{
  current = nullptr;
}

void SimulatedPlatform::use(SimulatedPlatform* platform)
{
  current = platform;
}

SimulatedPlatform::Port& SimulatedPlatform::addPort(const std::string& friendlyText)
{
  Port& port = ports.emplace_back();
  port.friendlyText = friendlyText;
  return port;
}

SimulatedPlatform::Port* SimulatedPlatform::find(platform::PortHandle handle)
{
  const auto entry = open.find(handle);
  return entry == open.end() ? nullptr : entry->second;
}

std::chrono::nanoseconds SimulatedPlatform::uptime()
{
  using std::chrono::nanoseconds;
  uptime_ = std::max(uptime_ + nanoseconds(1), nanoseconds(clock.now()));
  return uptime_;
}

namespace platform {

namespace {

void passOperation()
{
  if (current->operationTime.count() > 0) current->clock.advance(current->operationTime);
}

// The open port, or the reason why the operation fails.
struct Target {
  SimulatedPlatform::Port* port;
  PortResult refusal;
};

Target target(PortHandle handle, std::optional<std::uint32_t> SimulatedPlatform::Port::*error)
{
  passOperation();
  SimulatedPlatform::Port* const port = current->find(handle);
  if (port == nullptr) return {nullptr, {.error = invalidHandle}};
  if (const auto& number = port->*error) return {nullptr, {.error = *number}};
  return {port, {}};
}

void noteRead(PortHandle handle, std::size_t count)
{
  const auto* const port = current->find(handle);
  if (port != nullptr && port->onRead) port->onRead(count);
}

}  // namespace

std::optional<std::vector<std::string>> presentPorts()
{
  if (!current->hasDeviceList) return std::nullopt;
  std::vector<std::string> texts;
  for (const auto& port : current->ports) {
    if (port.present) texts.push_back(port.friendlyText);
  }
  return texts;
}

PortHandle openPort(const char* devicePath)
{
  passOperation();
  current->openedPath = devicePath;
  const std::string name = current->openedPath.substr(std::string("\\\\.\\").size());
  for (auto& port : current->ports) {
    if (!port.friendlyText.ends_with("(" + name + ")") || !port.present || port.busy) continue;
    if (std::ranges::any_of(current->open, [&](const auto& entry) { return entry.second == &port; }))
      continue;
    current->open[++current->lastHandle] = &port;
    return current->lastHandle;
  }
  return closedPort;
}

void closePort(PortHandle handle)
{
  if (auto* const port = current->find(handle)) ++port->closes;
  current->open.erase(handle);
}

PortResult purgeReceived(PortHandle handle)
{
  const auto [port, refusal] = target(handle, &SimulatedPlatform::Port::purgeError);
  if (port == nullptr) return refusal;
  port->waiting.clear();
  if (port->onPurge) port->onPurge();
  return {};
}

PortResult getTimeouts(PortHandle handle, PortTimeouts& timeouts)
{
  if (auto* const asked = current->find(handle)) ++asked->timeoutReads;
  const auto [port, refusal] = target(handle, &SimulatedPlatform::Port::getTimeoutsError);
  if (port == nullptr) noteRead(handle, 0);
  if (port != nullptr) timeouts = port->timeouts;
  return refusal;
}

PortResult setTimeouts(PortHandle handle, const PortTimeouts& timeouts)
{
  const auto [port, refusal] = target(handle, &SimulatedPlatform::Port::setTimeoutsError);
  if (port != nullptr) port->timeouts = timeouts;
  return refusal;
}

PortResult readPort(PortHandle handle, std::span<std::uint8_t> buffer)
{
  const Simulating simulating;
  const auto [port, refusal] = target(handle, &SimulatedPlatform::Port::readError);
  if (port == nullptr) {
    noteRead(handle, 0);
    return refusal;
  }
  ++port->reads;
  const std::size_t wanted = std::min(buffer.size(), port->maxPerRead);
  const auto timeout = milliseconds(port->timeouts.readTotalConstant);
  current->clock.advanceUntil(current->clock.now() + timeout,
                              [&, port = port] { return port->waiting.size() >= wanted || !port->present; });
  if (!port->present && port->waiting.empty()) {
    noteRead(handle, 0);
    return {.error = SimulatedPlatform::deviceGone};
  }
  const std::size_t count = std::min(wanted, port->waiting.size());
  const auto end = port->waiting.begin() + static_cast<std::ptrdiff_t>(count);
  std::copy(port->waiting.begin(), end, buffer.begin());
  port->waiting.erase(port->waiting.begin(), end);
  noteRead(handle, count);
  return {.count = count};
}

std::size_t receivedInProcess(PortHandle handle)
{
  const auto* const port = current->find(handle);
  return port == nullptr ? 0 : port->waiting.size();
}

PortResult writePort(PortHandle handle, std::span<const std::uint8_t> bytes)
{
  const Simulating simulating;
  if (auto* const asked = current->find(handle)) ++asked->writes;
  const auto [port, refusal] = target(handle, &SimulatedPlatform::Port::writeError);
  if (port == nullptr || !port->present) {
    const auto* const asked = current->find(handle);
    if (asked != nullptr && asked->onRefusedWrite) asked->onRefusedWrite(bytes);
    return port == nullptr ? refusal : PortResult{.error = SimulatedPlatform::deviceGone};
  }
  const auto piece = bytes.first(std::min(bytes.size(), port->maxPerWrite));
  port->written.insert(port->written.end(), piece.begin(), piece.end());
  if (port->onWrite) port->onWrite(piece);
  return {.count = piece.size()};
}

std::uint32_t tickCount()
{
  const auto now = std::chrono::duration_cast<milliseconds>(current->clock.now());
  return current->tickOffset + static_cast<std::uint32_t>(now.count());
}

void sleep(std::uint32_t durationMs)
{
  const Simulating simulating;
  current->clock.advance(milliseconds(durationMs));
}

std::int64_t uptimeNs()
{
  return current->uptime().count();
}

std::int64_t wallClockNs()
{
  return (SimulatedPlatform::wallClockAtStart + current->latestUptime()).count();
}

CaptureOpening openCapture()
{
  if (!current->capturing) return CaptureOpening::off;
  current->captureIsOpen = current->captureError.empty();
  return current->captureIsOpen ? CaptureOpening::open : CaptureOpening::failed;
}

std::string captureError()
{
  return current->captureError;
}

std::size_t writeCapture(std::span<const std::uint8_t> bytes)
{
  const Simulating simulating;
  ++current->captureWrites;
  auto& captured = current->captured;
  const std::size_t space = current->captureCapacity - std::min(current->captureCapacity, captured.size());
  const auto taken = bytes.first(std::min(bytes.size(), space));
  captured.insert(captured.end(), taken.begin(), taken.end());
  return taken.size();
}

void closeCapture()
{
  current->captureIsOpen = false;
}

void debugOutput(const char* text)
{
  const Simulating simulating;
  current->debugText += text;
}

}  // namespace platform

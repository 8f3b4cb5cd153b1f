#include "link/Connection.h"

#include <cassert>

#include "bgapi/Command.h"
#include "link/Gatt.h"
#include "link/Messages.h"
#include "platform/Platform.h"
#include "serial/Capture.h"

using namespace link_state;

namespace {

using enum DiscoveryState;

constexpr int portTries = 6;
constexpr std::uint32_t portPauseMs = 500;

constexpr std::uint32_t scanReceiveMs = 1000;

std::string portName(std::int32_t number)
{
  return "COM" + std::to_string(number);
}

OpeningResult openPort(Transport& transport, std::int32_t number)
{
  for (int attempt = 0; attempt < portTries; ++attempt) {
    if (serialOpen(portName(number), transport.port()) == OpenResult::done) return OpeningResult::done;
    platform::sleep(portPauseMs);
  }
  return OpeningResult::portRefused;
}

// The port number of the restarting dongle, or -1.
std::int32_t awaitPort()
{
  for (int look = 0; look < portTries; ++look) {
    platform::sleep(portPauseMs);
    const std::int32_t number = serialFindPort(platform::dongleName);
    if (number >= 0) return number;
  }
  return -1;
}

// Waits for the dongle to accept the discovery.
ScanResult awaitDiscovery()
{
  constexpr int receives = 3;
  for (int count = 0; count < receives; ++count) {
    const ReceiveResult received = ble_receive_message(scanReceiveMs);
    if (received == ReceiveResult::stopped) return ScanResult::linkLost;
    if (received != ReceiveResult::handled) continue;
    if (discoveryState == discovery_refused) return ScanResult::refused;
    if (discoveryState == discovery_running) return ScanResult::done;
  }
  return ScanResult::unanswered;
}

// Receives scan responses until enough modules are found. Intentional: the limit is a number of messages of
// any kind, not a time; the caller scans again for missing modules.
ScanResult receiveModules()
{
  constexpr int receives = 3;
  for (int count = 0; count < receives; ++count) {
    const ReceiveResult received = ble_receive_message(scanReceiveMs);
    if (received == ReceiveResult::stopped) return ScanResult::linkLost;
    if (received == ReceiveResult::handled && discoveryState == discovery_enough) break;
  }
  return ScanResult::done;
}

// Receives pending messages until the confirmation or a second of silence.
ScanResult awaitEnd()
{
  constexpr int receives = 10000;
  for (int count = 0; count < receives; ++count) {
    const ReceiveResult received = ble_receive_message(scanReceiveMs);
    if (received == ReceiveResult::stopped) return ScanResult::linkLost;
    if (received == ReceiveResult::nothing) break;
    if (received == ReceiveResult::handled && discoveryState == discovery_ended) break;
  }
  return discoveryState == discovery_ended ? ScanResult::done : ScanResult::notEnded;
}

}  // namespace

OpeningResult openDongle(Transport& transport)
{
  std::int32_t number = serialFindPort(platform::dongleName);
  if (number < 0) return OpeningResult::noDongle;
  if (openPort(transport, number) != OpeningResult::done) return OpeningResult::portRefused;
  ble_send_message(ble_cmd_system_reset, {0});
  capture::note("reset");
  serialClose(transport.port());

  number = awaitPort();
  return number < 0 ? OpeningResult::noDongle : openPort(transport, number);
}

ScanResult scanForModules()
{
  constexpr std::uint8_t genericDiscovery = 1;
  ble_send_message(ble_cmd_gap_discover, {genericDiscovery});
  discoveryState = discovery_requested;
  ScanResult result = awaitDiscovery();
  if (result == ScanResult::done) result = receiveModules();
  if (result != ScanResult::done) return result;

  ble_send_message(ble_cmd_gap_end_procedure, {});
  result = awaitEnd();
  if (result == ScanResult::linkLost) return result;
  serialPurge(currentDevice->port());
  return result;
}

OpeningResult connectModule(Transport& transport, std::uint32_t index)
{
  constexpr std::uint8_t publicAddress = 0;
  constexpr std::uint16_t interval = 8;               // 10 ms
  constexpr std::uint16_t supervisionTimeout = 1000;  // 10 s
  constexpr std::uint16_t latency = 0;
  constexpr std::int32_t responseMs = 1000;
  constexpr std::int32_t establishedMs = 2000;

  BleModule& module = modules[index];
  module.state = ConnectionState::connecting;
  ble_send_message(ble_cmd_gap_connect_direct,
                   {module.address, publicAddress, interval, interval, supervisionTimeout, latency});
  OpeningResult result = waitForState(transport, index, ConnectionState::connect_responded, responseMs);
  if (result != OpeningResult::done) return result;
  result = waitForState(transport, index, ConnectionState::finding_services, establishedMs);
  if (result != OpeningResult::done) return result;

  module.configHandle = gatt::configHandle;
  module.commandHandle = gatt::commandHandle;
  module.versionHandle = gatt::versionHandle;
  module.statusHandle = gatt::statusHandle;
  module.state = ConnectionState::connected;
  return OpeningResult::done;
}

OpeningResult countModule(std::uint32_t index)
{
  const BleModule& module = modules[index];
  if (module.state == ConnectionState::finish || module.configHandle == 0)
    return OpeningResult::notConfigurable;
  connectionHandles[index] = static_cast<std::int32_t>(index);
  ++connectedCount;
  return OpeningResult::done;
}

OpeningResult waitForState(Transport& transport, std::uint32_t index, ConnectionState wanted,
                           std::int32_t timeoutMs)
{
  assert(index < modules.size() && "connection < _countof(modules)");
  if (index >= modules.size()) return OpeningResult::portFailed;

  const auto slice = static_cast<std::uint32_t>(timeoutMs / 4);
  std::int64_t elapsed = 0;
  while (true) {
    const std::uint32_t before = platform::tickCount();
    const ReceiveResult received = ble_receive_message(slice);
    elapsed += platform::tickCount() - before;
    if (transport.isStopRaised()) return OpeningResult::stopped;
    if (received == ReceiveResult::handled && modules[index].state == wanted) return OpeningResult::done;
    if (received == ReceiveResult::stopped || received == ReceiveResult::failed)
      return OpeningResult::portFailed;
    if (elapsed > timeoutMs) return OpeningResult::moduleTimedOut;
  }
}

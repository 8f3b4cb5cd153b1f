#include "link/Connection.h"

#include <cassert>

#include "bgapi/Command.h"
#include "link/Gatt.h"
#include "link/Messages.h"
#include "platform/Platform.h"

namespace {

using enum DiscoveryState;

constexpr int portTries = 6;
constexpr std::uint32_t portPauseMs = 500;

constexpr std::uint32_t scanReceiveMs = 1000;

std::string portName(std::int32_t number)
{
  return "COM" + std::to_string(number);
}

std::int32_t openPort(BleDevice& device, std::int32_t number)
{
  for (int attempt = 0; attempt < portTries; ++attempt) {
    if (serialOpen(portName(number), device.port()) == serial::done) return opening::done;
    platform::sleep(portPauseMs);
  }
  return opening::portRefused;
}

// The port of a dongle that is restarting, or -1.
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
std::int32_t awaitDiscovery()
{
  constexpr int receives = 3;
  for (int count = 0; count < receives; ++count) {
    const std::int32_t received = ble_receive_message(scanReceiveMs);
    if (received == receiving::stopped) return scanning::linkLost;
    if (received != receiving::handled) continue;
    if (discoveryState == discovery_refused) return scanning::refused;
    if (discoveryState == discovery_running) return scanning::done;
  }
  return scanning::unanswered;
}

// Takes scan responses until enough modules are found. Meant so: messages count and not seconds, whatever
// they bring; the caller scans again for what is missing.
std::int32_t hearModules()
{
  constexpr int receives = 3;
  for (int count = 0; count < receives; ++count) {
    const std::int32_t received = ble_receive_message(scanReceiveMs);
    if (received == receiving::stopped) return scanning::linkLost;
    if (received == receiving::handled && discoveryState == discovery_enough) break;
  }
  return scanning::done;
}

// Takes what is still on its way, up to the confirmation or a second of silence.
std::int32_t awaitEnd()
{
  constexpr int receives = 10000;
  for (int count = 0; count < receives; ++count) {
    const std::int32_t received = ble_receive_message(scanReceiveMs);
    if (received == receiving::stopped) return scanning::linkLost;
    if (received == receiving::nothing) break;
    if (received == receiving::handled && discoveryState == discovery_ended) break;
  }
  return discoveryState == discovery_ended ? scanning::done : scanning::notEnded;
}

}  // namespace

std::int32_t openDongle(BleDevice& device)
{
  std::int32_t number = serialFindPort(platform::dongleName);
  if (number < 0) return opening::noDongle;
  if (openPort(device, number) != opening::done) return opening::portRefused;
  ble_send_message(ble_cmd_system_reset, {0});
  serialClose(device.port());

  number = awaitPort();
  return number < 0 ? opening::noDongle : openPort(device, number);
}

std::int32_t scanForModules()
{
  constexpr std::uint8_t genericDiscovery = 1;
  ble_send_message(ble_cmd_gap_discover, {genericDiscovery});
  discoveryState = discovery_requested;
  std::int32_t result = awaitDiscovery();
  if (result == scanning::done) result = hearModules();
  if (result != scanning::done) return result;

  ble_send_message(ble_cmd_gap_end_procedure, {});
  result = awaitEnd();
  if (result == scanning::linkLost) return result;
  platform::purgeReceived(currentDevice->port());
  return result;
}

std::int32_t connectModule(BleDevice& device, std::uint32_t index)
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
  std::int32_t result = waitForState(device, index, ConnectionState::connect_responded, responseMs);
  if (result != opening::done) return result;
  result = waitForState(device, index, ConnectionState::finding_services, establishedMs);
  if (result != opening::done) return result;

  module.configHandle = gatt::configHandle;
  module.commandHandle = gatt::commandHandle;
  module.versionHandle = gatt::versionHandle;
  module.statusHandle = gatt::statusHandle;
  module.state = ConnectionState::connected;
  return opening::done;
}

std::int32_t countModule(std::uint32_t index)
{
  const BleModule& module = modules[index];
  if (module.state == ConnectionState::finish || module.configHandle == 0) return opening::notConfigurable;
  connectionHandles[index] = static_cast<std::int32_t>(index);
  ++connectedCount;
  return opening::done;
}

std::int32_t waitForState(BleDevice& device, std::uint32_t index, ConnectionState wanted,
                          std::int32_t timeoutMs)
{
  assert(index < modules.size() && "connection < _countof(modules)");
  if (index >= modules.size()) return opening::portFailed;

  const auto slice = static_cast<std::uint32_t>(timeoutMs / 4);
  std::int64_t elapsed = 0;
  while (true) {
    const std::uint32_t before = platform::tickCount();
    const std::int32_t received = ble_receive_message(slice);
    elapsed += platform::tickCount() - before;
    if (device.isStopRaised()) return opening::stopped;
    if (received == receiving::handled && modules[index].state == wanted) return opening::done;
    if (received == receiving::stopped || received == receiving::failed) return opening::portFailed;
    if (elapsed > timeoutMs) return opening::moduleTimedOut;
  }
}

// BleDevice::open: from nothing to listening.

#include <algorithm>
#include <utility>

#include "bgapi/Command.h"
#include "link/Connection.h"
#include "link/Gatt.h"
#include "link/Messages.h"
#include "platform/Platform.h"
#include "shared/Log.h"

namespace {

constexpr std::int32_t valueTimeoutMs = 1000;

// Asks for an attribute's value and waits for it.
std::int32_t readAttribute(BleDevice& device, std::uint32_t index, std::uint16_t handle,
                           ConnectionState requested, ConnectionState received)
{
  modules[index].state = requested;
  ble_send_message(ble_cmd_attclient_read_by_handle, {connectionHandles[index], handle});
  return waitForState(device, index, received, valueTimeoutMs);
}

}  // namespace

std::int32_t BleDevice::open(std::int32_t wantedModules, const std::vector<std::int32_t>& wantedSerials,
                             bool skipSensorCheck)
{
  wantedCount = std::min(wantedModules, static_cast<std::int32_t>(MAX_DEVICES));
  const std::size_t serials = std::min(wantedSerials.size(), serialFilter.size());
  std::transform(wantedSerials.begin(), wantedSerials.begin() + static_cast<std::ptrdiff_t>(serials),
                 serialFilter.begin(),
                 [](std::int32_t number) { return static_cast<std::uint16_t>(number); });
  ble_output_hook = ble_output;

  std::int32_t result = openDongle(*this);
  if (result == opening::done) result = checkFirmware();
  if (result == opening::done) result = stopIfRaised();
  if (result == opening::done) result = findModules();
  if (result == opening::done) result = stopIfRaised();
  if (result == opening::done) result = connectModules();
  if (result == opening::done) result = stopIfRaised();
  for (std::uint32_t index = 0; result == opening::done && std::cmp_less(index, wantedCount); ++index) {
    if (connectionHandles[index] >= 0) result = startModule(index, skipSensorCheck);
  }
  if (result != opening::done) return result;
  currentLogManager->node(this, 1) << L"Successfully connected to device.\n";
  return opening::done;
}

std::int32_t BleDevice::stopIfRaised()
{
  if (!isStopRaised()) return opening::done;
  currentLogManager->node(this, 2) << L"Terminating.\n";
  return opening::stopped;
}

std::int32_t BleDevice::checkFirmware()
{
  constexpr std::uint32_t answerMs = 1000;
  ble_send_message(ble_cmd_system_get_info, {});
  // Meant so: a verdict of an earlier opening stands, and a dongle that does not answer passes.
  while (dongleVerdict == 0 && ble_receive_message(answerMs) == receiving::handled) {
  }
  return dongleVerdict < 0 ? opening::firmwareTooOld : opening::done;
}

std::int32_t BleDevice::findModules()
{
  constexpr int scans = 3;
  constexpr std::uint32_t pauseMs = 500;
  for (int scan = 0; scan < scans; ++scan) {
    // The table fills across the scans.
    if (scanForModules() == scanning::done && foundCount >= wantedCount) return opening::done;
    if (const std::int32_t result = stopIfRaised(); result != opening::done) return result;
    platform::sleep(pauseMs);
  }
  return opening::modulesMissing + foundCount;
}

std::int32_t BleDevice::connectModules()
{
  // The left glove comes first. Meant so: two right gloves change places all the same.
  if (foundCount == 2 && modules[0].isLeft == 0) std::swap(modules[0], modules[1]);

  std::int32_t result = opening::done;
  for (std::uint32_t index = 0; result == opening::done && std::cmp_less(index, wantedCount); ++index) {
    stores[index].setPacketFormat(0);
    result = connectModule(*this, index);
    if (result == opening::done) result = countModule(index);
  }
  return result;
}

std::int32_t BleDevice::startModule(std::uint32_t index, bool skipSensorCheck)
{
  using enum ConnectionState;
  BleModule& module = modules[index];
  // Meant so: without a version the module counts as of revision 0.
  readAttribute(*this, index, module.versionHandle, state_version_request, state_version_received);
  const bool confirms = module.version.revision() >= confirmingRevision;

  if (confirms && !skipSensorCheck) {
    if (readAttribute(*this, index, module.statusHandle, state_status_request, state_status_received) !=
        opening::done) {
      return opening::statusMissing;
    }
    if (std::ranges::any_of(module.sensorStatus, [](std::uint8_t status) { return status != 0; })) {
      return opening::sensorFault + static_cast<std::int32_t>(index);
    }
  }

  module.state = starting_notifications;
  ble_send_message(ble_cmd_attclient_attribute_write,
                   {connectionHandles[index], module.configHandle, gatt::notificationsOn});
  if (!confirms) {
    module.state = listening_measurements;
    return opening::done;
  }
  return waitForState(*this, index, listening_measurements, valueTimeoutMs) == opening::done
             ? opening::done
             : opening::startFailed;
}

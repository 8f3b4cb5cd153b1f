// BleDevice::open and its steps.

#include <algorithm>
#include <tuple>
#include <utility>

#include "bgapi/Command.h"
#include "link/BleDevice.h"
#include "link/Connection.h"
#include "link/Gatt.h"
#include "link/Messages.h"
#include "platform/Platform.h"
#include "serial/Capture.h"
#include "shared/Log.h"

using namespace link_state;

namespace {

constexpr std::int32_t valueTimeoutMs = 1000;

// Requests an attribute's value and waits for it.
OpeningResult readAttribute(BleDevice& device, std::uint32_t index, std::uint16_t handle,
                            ConnectionState requested, ConnectionState received)
{
  modules[index].state = requested;
  ble_send_message(ble_cmd_attclient_read_by_handle, {connectionHandles[index], handle});
  return waitForState(device, index, received, valueTimeoutMs);
}

}  // namespace

OpeningResult BleDevice::open(std::int32_t wantedModules, const std::vector<std::int32_t>& wantedSerials,
                              bool skipSensorCheck)
{
  wantedCount = std::min(wantedModules, static_cast<std::int32_t>(MAX_DEVICES));
  const std::size_t serials = std::min(wantedSerials.size(), serialFilter.size());
  std::transform(wantedSerials.begin(), wantedSerials.begin() + static_cast<std::ptrdiff_t>(serials),
                 serialFilter.begin(),
                 [](std::int32_t number) { return static_cast<std::uint16_t>(number); });
  ble_output_hook = ble_output;

  OpeningResult result = openDongle(*this);
  logCaptureError();
  if (result == OpeningResult::done) result = checkFirmware();
  if (result == OpeningResult::done) result = stopIfRaised();
  if (result == OpeningResult::done) result = findModules();
  if (result == OpeningResult::done) result = stopIfRaised();
  if (result == OpeningResult::done) result = connectModules();
  if (result == OpeningResult::done) result = stopIfRaised();
  for (std::uint32_t index = 0; result == OpeningResult::done && std::cmp_less(index, wantedCount); ++index) {
    if (connectionHandles[index] >= 0) result = startModule(index, skipSensorCheck);
  }
  if (result != OpeningResult::done) return result;
  currentLogManager->node(this, 1) << L"Successfully connected to device.\n";
  return OpeningResult::done;
}

void BleDevice::logCaptureError() const
{
  const std::string error = capture::takeError();
  if (error.empty()) return;
  // One character that the locale can't narrow would lose the whole line.
  std::wstring line;
  for (const char character : error) {
    line += static_cast<unsigned char>(character) < 0x80 ? static_cast<wchar_t>(character) : L'?';
  }
  currentLogManager->node(this, 1) << line << L"\n";
}

OpeningResult BleDevice::stopIfRaised()
{
  if (!isStopRaised()) return OpeningResult::done;
  currentLogManager->node(this, 2) << L"Terminating.\n";
  return OpeningResult::stopped;
}

OpeningResult BleDevice::checkFirmware()
{
  constexpr std::uint32_t answerMs = 1000;
  ble_send_message(ble_cmd_system_get_info, {});
  // Intentional: the verdict of an earlier opening is kept, and a dongle that does not answer is accepted.
  while (dongleVerdict == 0 && ble_receive_message(answerMs) == ReceiveResult::handled) {
  }
  return dongleVerdict < 0 ? OpeningResult::firmwareTooOld : OpeningResult::done;
}

OpeningResult BleDevice::findModules()
{
  constexpr int scans = 3;
  constexpr std::uint32_t pauseMs = 500;
  for (int scan = 0; scan < scans; ++scan) {
    // The table fills across the scans.
    if (scanForModules() == ScanResult::done && foundCount >= wantedCount) return OpeningResult::done;
    if (const OpeningResult result = stopIfRaised(); result != OpeningResult::done) return result;
    platform::sleep(pauseMs);
  }
  return OpeningResult::modulesMissing + foundCount;
}

OpeningResult BleDevice::connectModules()
{
  // The left glove comes first. Intentional: two right gloves are swapped, too.
  if (foundCount == 2 && modules[0].isLeft == 0) std::swap(modules[0], modules[1]);

  OpeningResult result = OpeningResult::done;
  for (std::uint32_t index = 0; result == OpeningResult::done && std::cmp_less(index, wantedCount); ++index) {
    stores[index].setPacketFormat(0);
    result = connectModule(*this, index);
    if (result == OpeningResult::done) result = countModule(index);
  }
  return result;
}

OpeningResult BleDevice::startModule(std::uint32_t index, bool skipSensorCheck)
{
  using enum ConnectionState;
  BleModule& module = modules[index];
  // Intentional: without a version the module counts as revision 0.
  std::ignore =
      readAttribute(*this, index, module.versionHandle, state_version_request, state_version_received);
  const bool confirms = module.version.revision() >= confirmingRevision;

  if (confirms && !skipSensorCheck) {
    if (readAttribute(*this, index, module.statusHandle, state_status_request, state_status_received) !=
        OpeningResult::done) {
      return OpeningResult::statusMissing;
    }
    if (std::ranges::any_of(module.sensorStatus, [](std::uint8_t status) { return status != 0; })) {
      return OpeningResult::sensorFault + static_cast<std::int32_t>(index);
    }
  }

  module.state = starting_notifications;
  ble_send_message(ble_cmd_attclient_attribute_write,
                   {connectionHandles[index], module.configHandle, gatt::notificationsOn});
  if (!confirms) {
    module.state = listening_measurements;
    return OpeningResult::done;
  }
  return waitForState(*this, index, listening_measurements, valueTimeoutMs) == OpeningResult::done
             ? OpeningResult::done
             : OpeningResult::startFailed;
}

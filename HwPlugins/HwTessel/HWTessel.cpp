// Construction, settings, opening and closing of the hardware object.

#include "HWTessel.h"

#include <algorithm>
#include <array>
#include <numeric>
#include <sstream>
#include <utility>

#include "platform/Platform.h"
#include "shared/Log.h"
#include "shared/MachineText.h"
#include "shared/Parameter.h"

HWTessel::HWTessel(const wchar_t* configFile, ClockFunction clock, const wchar_t* hostText)
    : HwInterface(configFile, clock, hostText)
{
  currentLogManager->add(this, name);
  currentLogManager->node(this, 1) << L"Creating Tessel: " << configFile_ << L"\n";
  loadSettings();
}

void HWTessel::loadSettings()
{
  settings::current.fileVersion.clear();
  // Intentional: without the file the variables keep the values that an earlier object left.
  parameter::readFile(configFile_);

  settings_ = settings::current;
  metaData_ = settings_.metaData;
  const auto isSerialNumber = [](std::int32_t number) { return number >= 1 && number <= 65534; };
  std::ranges::copy_if(settings_.serialNumber, std::back_inserter(serialFilter_), isSerialNumber);

  // 64-bit division cannot overflow here. Without modules there are no elements for one.
  if (settings_.numBleModules != 0) {
    const std::int64_t quotient = std::int64_t{settings_.elementCount} / settings_.numBleModules;
    moduleElemCount_ = std::in_range<std::int32_t>(quotient) ? static_cast<std::int32_t>(quotient) : 0;
  }
  const std::int64_t channels = std::int64_t{settings_.elementCount} + settings_.auxCount;
  channels_.resize(static_cast<std::size_t>(std::max<std::int64_t>(channels, 0)));
  std::iota(channels_.begin(), channels_.end(), 0);
  elemCount_ = static_cast<std::int32_t>(static_cast<std::int64_t>(channels_.size()) - settings_.auxCount);
  currentLogManager->node(this, 1) << L"After all that, elemCount_ = " << elemCount_ << L" and auxCount_ = "
                                   << settings_.auxCount << L"\n";
}

HWTessel::~HWTessel()
{
  try {
    HWTessel::close();
  } catch (...) {
    // The link is closed in any case, and a destructor must not terminate the host.
  }
  // Intentional: the base class logs one more line, which finds no log any more.
  currentLogManager->remove(this);
  delete bleDevice_.load();
}

std::int32_t HWTessel::getMaxValue()
{
  return 65535;
}

void HWTessel::makeDevice()
{
  // Intentional: the new link is created before the old one is destroyed, which leaves no current device. The
  // host gets a working link again by creating a new object.
  auto device = std::make_unique<BleDevice>();
  const std::unique_ptr<BleDevice> previous(bleDevice_.exchange(device.release()));
  // This process would keep an open port claimed, and no later object could open it.
  if (previous) previous->abandonPort();
}

std::int32_t HWTessel::configure()
{
  constexpr std::uint32_t settleMs = 100;

  currentLogManager->node(this, 1) << L"In HWTessel::configure()\n";
  try {
    makeDevice();
  } catch (const std::wstring& reason) {
    return reportError(reason);
  }
  try {
    currentLogManager->node(this, 2) << L"Trying to open BLE sensor\n";
    const OpeningResult result =
        bleDevice_.load()->open(settings_.numBleModules, serialFilter_, settings_.skipSensorStartupCheck);
    if (result == OpeningResult::done) {
      platform::sleep(settleMs);
      currentLogManager->node(this, 1) << L"Done setting up Tessel sensor\n";
      return 0;
    }
    const auto code = static_cast<std::int32_t>(result);
    currentLogManager->node(this, 1) << L"Error " << code << L" opening BLE Device.\n";
    return reportError(openingError(code));
  } catch (...) {
    currentLogManager->node(this, 1) << L"Caught exception trying to open device\n";
    return reportError(L"Unhandled exception trying to connect over BLE");
  }
}

std::wstring HWTessel::openingError(std::int32_t code) const
{
  using enum OpeningResult;
  switch (static_cast<OpeningResult>(code)) {
    case noDongle:
      return L"No BLE USB dongle detected.\nPlease insert the BLE USB dongle and retry.";
    case portRefused:
      return L"The BLE USB dongle is currently being used by another program.";
    case firmwareTooOld:
      return L"The BLE USB dongle firmware is out of date.\n"
             L"Please update the BLE USB dongle firmware to version 1.4.2.130 or later.";
    case stopped:
      return L"Abandoned connection during program shutdown.\n";
    case startFailed:
      return L"Failed to enable notifications from remote module.\n";
    case portFailed:
      return L"Communication error.\n";
    case wrongResponse:
      return L"A remote BLE module responded incorrectly.\n";
    case signalled:
      return L"The BLE library was signalled to shut down.\n";
    case moduleTimedOut:
      return L"A remote BLE module timed out.\n";
    case notConfigurable:
      return L"A remote BLE module's service is unavailable.\n";
    case statusMissing:
      return L"Failed to read status for a remote module's sensors.\n";
    default:
      break;
  }
  const auto isWithin = [code](OpeningResult base, OpeningResult end) {
    return code >= static_cast<std::int32_t>(base) && code < static_cast<std::int32_t>(end);
  };
  const auto beyond = [code](OpeningResult base) { return code - static_cast<std::int32_t>(base); };
  if (isWithin(sensorFault, statusMissing)) {
    return sensorFaultReport(static_cast<std::uint32_t>(beyond(sensorFault)));
  }
  std::wostringstream message;
  machine::throwWithoutMemory(message);
  if (isWithin(modulesMissing, modulesMissing + 10)) {
    message << L"Not enough remote BLE modules detected.\nExpected: " << settings_.numBleModules
            << L"; detected: " << beyond(modulesMissing);
  } else {
    message << L"Unknown error (code " << code << L") occurred.\n";
  }
  return message.str();
}

std::wstring HWTessel::sensorFaultReport(std::uint32_t module) const
{
  constexpr std::array sensors{L"Palm",          L"Thumb",       L"Index Finger",
                               L"Middle Finger", L"Ring Finger", L"Pinky"};

  const BleDevice& device = *bleDevice_.load();
  std::wstring report = L"Faulty sensor(s) on ";
  if (settings_.numBleModules > 1) report += device.sideText(module) + L" ";
  report += L"Glove:\n\n";
  for (std::uint32_t position = 0; position < sensors.size(); ++position) {
    const std::wstring status = device.sensorStatusText(module, position);
    if (status != L"OK") report += std::wstring(sensors[position]) + L": " + status + L"\n";
  }
  return report;
}

void HWTessel::signalShutdown()
{
  shutdownSignalled_ = true;
  if (BleDevice* const device = bleDevice_.load()) device->raiseStop();
}

std::int32_t HWTessel::close()
{
  if (BleDevice* const device = bleDevice_.load()) device->close();
  return 0;
}

void HWTessel::syncParameters(std::wstring, std::wstring)
{
  settings::Values own = settings_;
  own.fileVersion = settings::current.fileVersion;
  own.elementCount = elemCount_;
  own.metaData = metaData_;
  own.serialNumber = serialFilter_;
  settings::current = std::move(own);
}

// The texts of the link for the user.

#include <algorithm>
#include <array>
#include <chrono>
#include <cwchar>
#include <sstream>

#include "link/BleDevice.h"
#include "link/Modules.h"
#include "shared/MachineText.h"

using namespace link_state;

namespace {

constexpr const wchar_t* invalid = L"Invalid";

// The date in UTC as year-month-day.
std::wstring dateText(std::uint32_t secondsSince1970)
{
  using namespace std::chrono;
  const year_month_day date{floor<days>(sys_seconds{seconds{secondsSince1970}})};
  std::array<wchar_t, 32> text{};
  std::swprintf(text.data(), text.size(), L"%04d-%02u-%02u", static_cast<int>(date.year()),
                static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()));
  return text.data();
}

const wchar_t* faultText(std::uint8_t status)
{
  switch (status) {
    case 0:
      return L"OK";
    case 246:
      return L"Wrong size";
    case 247:
      return L"Unexpected data or sync fault";
    case 248:
      return L"Busy";
    case 249:
      return L"Absent or not ready";
    case 250:
      return L"Parameter fault";
    case 251:
      return L"Checksum fault";
    case 252:
      return L"Response fault 2";
    case 253:
      return L"Response fault 1";
    case 254:
      return L"Length fault";
    case 255:
      return L"Command fault";
    default:
      return L"Unknown fault";
  }
}

}  // namespace

std::wstring BleDevice::versionText() const
{
  std::wostringstream text = machine::writer();
  for (std::size_t index = 0; index < static_cast<std::size_t>(foundCount); ++index) {
    const VersionRecord& version = modules[index].version;
    if (index > 0) text << L",";
    text << L"PN" << version.partNumber() << L"R" << version.revision();
    if (version.buildTime() != 0) text << L"  ( " << dateText(version.buildTime()) << L" )  ";
    // Intentional: the base stays hexadecimal, so all numbers of the second module are hexadecimal.
    text << L":Build " << version.build() << L" from commit " << std::hex << version.commit();
  }
  return text.str();
}

std::wstring BleDevice::moduleMapText() const
{
  std::wostringstream text = machine::writer();
  text << foundCount;
  for (std::size_t index = 0; index < static_cast<std::size_t>(foundCount); ++index) {
    const BleModule& module = modules[index];
    std::wstring name(static_cast<std::size_t>(module.nameLength), L'\0');
    std::transform(
        module.name.begin(), module.name.begin() + module.nameLength, name.begin(),
        [](char character) { return static_cast<wchar_t>(static_cast<unsigned char>(character)); });
    text << L":" << name;
  }
  return text.str();
}

std::wstring BleDevice::sideText(std::uint32_t module) const
{
  if (module >= modules.size()) return invalid;
  return modules[module].isLeft != 0 ? L"Left" : L"Right";
}

std::wstring BleDevice::sensorStatusText(std::uint32_t module, std::uint32_t position) const
{
  const std::size_t positions = modules[0].sensorStatus.size();
  if (module >= modules.size() || position > positions) return invalid;
  // Intentional: the position after the last one reports what follows the status, the low byte of the state.
  if (position == positions) return faultText(static_cast<std::uint8_t>(modules[module].state));
  return faultText(modules[module].sensorStatus[position]);
}

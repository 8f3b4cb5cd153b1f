#include <windows.h>
// Needs the types declared above.
#include <setupapi.h>

#include "platform/Platform.h"

namespace platform {

namespace {

// The device setup class of ports.
constexpr GUID portsClass = {0x4D36E978, 0xE325, 0x11CE, {0xBF, 0xC1, 0x08, 0x00, 0x2B, 0xE1, 0x03, 0x18}};

std::optional<std::string> friendlyName(HDEVINFO devices, SP_DEVINFO_DATA& device)
{
  DWORD size = 0;
  // Called without a buffer, the function fails and returns the size needed.
  SetupDiGetDeviceRegistryPropertyA(devices, &device, SPDRP_FRIENDLYNAME, nullptr, nullptr, 0, &size);
  std::vector<char> text(std::size_t{size} + 1);
  if (SetupDiGetDeviceRegistryPropertyA(devices, &device, SPDRP_FRIENDLYNAME, nullptr,
                                        reinterpret_cast<BYTE*>(text.data()), static_cast<DWORD>(text.size()),
                                        nullptr) == 0) {
    return std::nullopt;
  }
  text.back() = '\0';
  return text.data();
}

}  // namespace

std::optional<std::vector<std::string>> presentPorts()
{
  const HDEVINFO devices = SetupDiGetClassDevsW(&portsClass, nullptr, nullptr, DIGCF_PRESENT);
  if (devices == INVALID_HANDLE_VALUE) return std::nullopt;
  std::vector<std::string> texts;
  SP_DEVINFO_DATA device{};
  device.cbSize = sizeof device;
  for (DWORD index = 0; SetupDiEnumDeviceInfo(devices, index, &device) != 0; ++index) {
    if (auto text = friendlyName(devices, device)) texts.push_back(std::move(*text));
  }
  SetupDiDestroyDeviceInfoList(devices);
  return texts;
}

}  // namespace platform

#include "host/gloves/Ports.h"

#include <windows.h>

#include <system_error>
#include <utility>

#include "HwPlugins/HwTessel/platform/FriendlyText.h"
#include "HwPlugins/HwTessel/platform/Platform.h"

namespace {

PortState stateFor(DWORD error)
{
  switch (error) {
    case ERROR_SUCCESS:
      return PortState::free;
    case ERROR_ACCESS_DENIED:  // the port is already open
    case ERROR_SHARING_VIOLATION:
      return PortState::inUse;
    case ERROR_TOO_MANY_OPEN_FILES:
      return PortState::tooManyFiles;
    case ERROR_FILE_NOT_FOUND:
    case ERROR_PATH_NOT_FOUND:
      return PortState::gone;
    default:
      return PortState::failing;
  }
}

void tryToOpen(Port& port)
{
  const HANDLE handle =
      CreateFileA(port.path.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr);
  const DWORD error = handle == INVALID_HANDLE_VALUE ? GetLastError() : ERROR_SUCCESS;
  if (handle != INVALID_HANDLE_VALUE) CloseHandle(handle);
  port.state = stateFor(error);
  if (port.state == PortState::failing || port.state == PortState::tooManyFiles)
    port.detail = std::system_category().message(static_cast<int>(error));
}

}  // namespace

std::optional<std::string> portsVariable()
{
  return std::nullopt;
}

std::vector<Port> listPorts()
{
  bool isFound = false;  // the plug-in uses the first dongle
  std::vector<Port> ports;
  for (const std::string& text : platform::presentPorts().value_or(std::vector<std::string>())) {
    Port& port = ports.emplace_back();
    port.friendlyText = text;
    port.isUsbDevice = true;
    const auto number = platform::portNumber(text, platform::dongleName);
    if (!number) continue;
    port.isDongle = true;
    port.isUsed = !std::exchange(isFound, true);
    port.path = "\\\\.\\COM" + std::to_string(*number);
    tryToOpen(port);
  }
  return ports;
}

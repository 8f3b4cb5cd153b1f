// Serial ports by the Windows functions of the same names.

#include <windows.h>

#include "platform/Platform.h"

namespace platform {

namespace {

HANDLE native(PortHandle handle)
{
  return reinterpret_cast<HANDLE>(static_cast<std::uintptr_t>(handle));
}

PortResult outcome(BOOL done, DWORD count = 0)
{
  if (done != 0) return {.count = count};
  return {.error = GetLastError()};
}

}  // namespace

PortHandle openPort(const char* devicePath)
{
  const HANDLE port = CreateFileA(devicePath, GENERIC_READ | GENERIC_WRITE,
                                  FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING, 0, nullptr);
  return static_cast<PortHandle>(reinterpret_cast<std::uintptr_t>(port));
}

void closePort(PortHandle handle)
{
  CloseHandle(native(handle));
}

PortResult purgeReceived(PortHandle handle)
{
  return outcome(PurgeComm(native(handle), PURGE_RXABORT | PURGE_RXCLEAR));
}

PortResult getTimeouts(PortHandle handle, PortTimeouts& timeouts)
{
  COMMTIMEOUTS found{};
  const PortResult result = outcome(GetCommTimeouts(native(handle), &found));
  if (result.ok()) {
    timeouts = {.readInterval = found.ReadIntervalTimeout,
                .readTotalMultiplier = found.ReadTotalTimeoutMultiplier,
                .readTotalConstant = found.ReadTotalTimeoutConstant,
                .writeTotalMultiplier = found.WriteTotalTimeoutMultiplier,
                .writeTotalConstant = found.WriteTotalTimeoutConstant};
  }
  return result;
}

PortResult setTimeouts(PortHandle handle, const PortTimeouts& timeouts)
{
  COMMTIMEOUTS wanted{.ReadIntervalTimeout = timeouts.readInterval,
                      .ReadTotalTimeoutMultiplier = timeouts.readTotalMultiplier,
                      .ReadTotalTimeoutConstant = timeouts.readTotalConstant,
                      .WriteTotalTimeoutMultiplier = timeouts.writeTotalMultiplier,
                      .WriteTotalTimeoutConstant = timeouts.writeTotalConstant};
  return outcome(SetCommTimeouts(native(handle), &wanted));
}

PortResult readPort(PortHandle handle, std::span<std::uint8_t> buffer)
{
  DWORD count = 0;
  const BOOL done =
      ReadFile(native(handle), buffer.data(), static_cast<DWORD>(buffer.size()), &count, nullptr);
  return outcome(done, count);
}

std::size_t receivedInProcess(PortHandle)
{
  return 0;
}

PortResult writePort(PortHandle handle, std::span<const std::uint8_t> bytes)
{
  DWORD count = 0;
  const BOOL done =
      WriteFile(native(handle), bytes.data(), static_cast<DWORD>(bytes.size()), &count, nullptr);
  // Intentional: the operating system reports a write that timed out as a success; here it fails, because a
  // device that accepts nothing must not block the host.
  if (done != 0 && count == 0 && !bytes.empty()) return {.error = ERROR_TIMEOUT};
  return outcome(done, count);
}

}  // namespace platform

// The target of a capture as a named pipe or a file, and its clocks.

#include <windows.h>

#include <algorithm>
#include <array>
#include <chrono>

#include "platform/Platform.h"

namespace platform {

namespace {

constinit HANDLE target = nullptr;
constinit bool isPipe = false;
constinit DWORD openingError = 0;

// The write that the pipe has not finished yet, with the memory that it needs until then.
constinit OVERLAPPED pending{};
constinit bool isPending = false;
constinit std::array<std::uint8_t, 4096> pendingBytes{};

std::wstring targetPath()
{
  std::wstring path(32768, L'\0');  // the maximum length of a variable
  path.resize(GetEnvironmentVariableW(L"TESSEL_CAPTURE", path.data(), static_cast<DWORD>(path.size())));
  return path;
}

std::string utf8(const std::wstring& text)
{
  const auto length = static_cast<int>(text.size());
  std::string bytes(text.size() * 3, '\0');
  bytes.resize(static_cast<std::size_t>(WideCharToMultiByte(
      CP_UTF8, 0, text.data(), length, bytes.data(), static_cast<int>(bytes.size()), nullptr, nullptr)));
  return bytes;
}

// False while the pipe is busy. A write that failed has lost its bytes: the reader is gone.
bool isIdle()
{
  if (!isPending) return true;
  DWORD written = 0;
  isPending =
      GetOverlappedResult(target, &pending, &written, FALSE) == 0 && GetLastError() == ERROR_IO_INCOMPLETE;
  return !isPending;
}

std::size_t writePipe(std::span<const std::uint8_t> bytes)
{
  if (!isIdle()) return 0;
  const std::size_t count = std::min(bytes.size(), pendingBytes.size());
  std::copy_n(bytes.begin(), count, pendingBytes.begin());
  const BOOL done = WriteFile(target, pendingBytes.data(), static_cast<DWORD>(count), nullptr, &pending);
  isPending = done == 0 && GetLastError() == ERROR_IO_PENDING;
  return done != 0 || isPending ? count : 0;
}

}  // namespace

std::int64_t uptimeNs()
{
  using std::chrono::steady_clock;
  return std::chrono::nanoseconds(steady_clock::now().time_since_epoch()).count();
}

std::int64_t wallClockNs()
{
  using std::chrono::system_clock;
  return std::chrono::nanoseconds(system_clock::now().time_since_epoch()).count();
}

CaptureOpening openCapture()
{
  const std::wstring path = targetPath();
  if (path.empty()) return CaptureOpening::off;
  isPipe = path.starts_with(L"\\\\.\\pipe\\");
  // A file is opened for appending; nobody else may write it, but a reader may follow it.
  target = isPipe ? CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, FILE_FLAG_OVERLAPPED,
                                nullptr)
                  : CreateFileW(path.c_str(), FILE_APPEND_DATA, FILE_SHARE_READ | FILE_SHARE_DELETE, nullptr,
                                OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (target != INVALID_HANDLE_VALUE) return CaptureOpening::open;
  openingError = GetLastError();
  return CaptureOpening::failed;
}

std::string captureError()
{
  return "The capture TESSEL_CAPTURE=" + utf8(targetPath()) + " can't be opened: error " +
         std::to_string(openingError) + ".";
}

std::size_t writeCapture(std::span<const std::uint8_t> bytes)
{
  if (isPipe) return writePipe(bytes);
  DWORD written = 0;
  WriteFile(target, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr);
  return written;
}

void closeCapture()
{
  if (isPending) {
    DWORD written = 0;
    CancelIoEx(target, &pending);
    GetOverlappedResult(target, &pending, &written, TRUE);
    isPending = false;
  }
  CloseHandle(target);
}

}  // namespace platform

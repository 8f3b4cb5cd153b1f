#include "host/capture/CapturePipe.h"

#include <fmt/format.h>
#include <windows.h>

#include <algorithm>
#include <utility>

#include "host/base/Failure.h"

namespace {

HANDLE native(std::intptr_t handle)
{
  return reinterpret_cast<HANDLE>(handle);
}

HANDLE makePipe(const std::string& name)
{
  constexpr DWORD size = 1024 * 1024;
  const HANDLE pipe =
      CreateNamedPipeA(name.c_str(), PIPE_ACCESS_INBOUND | FILE_FLAG_FIRST_PIPE_INSTANCE,
                       PIPE_TYPE_BYTE | PIPE_WAIT | PIPE_REJECT_REMOTE_CLIENTS, 1, 0, size, 0, nullptr);
  if (pipe == INVALID_HANDLE_VALUE) {
    throw Failure(ExitCode::output, fmt::format("the pipe {} can't be made: error {}.", name, GetLastError()),
                  "End other instances of this program and try again.");
  }
  return pipe;
}

}  // namespace

CapturePipe::CapturePipe(const std::filesystem::path&)
{
  static DWORD count = 0;
  name_ = fmt::format(R"(\\.\pipe\tessel-{}-{})", GetCurrentProcessId(), ++count);
  handle_ = reinterpret_cast<std::intptr_t>(makePipe(name_));
}

void CapturePipe::renew()
{
  // Only a new pipe can be opened without anybody waiting for it.
  CloseHandle(native(std::exchange(handle_, reinterpret_cast<std::intptr_t>(INVALID_HANDLE_VALUE))));
  handle_ = reinterpret_cast<std::intptr_t>(makePipe(name_));
}

CapturePipe::~CapturePipe()
{
  CloseHandle(native(handle_));
}

std::size_t CapturePipe::read(std::span<std::uint8_t> buffer)
{
  // Reading would wait for the first byte.
  DWORD waiting = 0;
  if (PeekNamedPipe(native(handle_), nullptr, 0, nullptr, &waiting, nullptr) == 0 || waiting == 0) return 0;
  DWORD count = 0;
  ReadFile(native(handle_), buffer.data(), std::min(waiting, static_cast<DWORD>(buffer.size())), &count,
           nullptr);
  return count;
}

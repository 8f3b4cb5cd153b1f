#include "host/session/windows/MarkerPipe.h"

#include <fmt/format.h>

#include <string_view>

#include "host/base/Failure.h"
#include "host/base/System.h"
#include "host/base/Text.h"

MarkerPipe::MarkerPipe(MarkerQueue& markers, const std::filesystem::path& path) : lines_(markersInto(markers))
{
  if (path.empty()) return;
  if (!path.native().starts_with(LR"(\\.\pipe\)")) {
    throw Failure(ExitCode::usage, fmt::format("{} can't be a pipe for markers.", utf8(path)),
                  R"(On Windows, use a name like --markers \\.\pipe\trial)");
  }
  pipe_ = CreateNamedPipeW(path.c_str(),
                           PIPE_ACCESS_INBOUND | FILE_FLAG_OVERLAPPED | FILE_FLAG_FIRST_PIPE_INSTANCE,
                           PIPE_TYPE_BYTE | PIPE_WAIT | PIPE_REJECT_REMOTE_CLIENTS, 1, 0, 65536, 0, nullptr);
  if (pipe_ != INVALID_HANDLE_VALUE) event_ = CreateEventW(nullptr, TRUE, FALSE, nullptr);
  if (event_ == nullptr) {
    const DWORD error = GetLastError();
    if (pipe_ != INVALID_HANDLE_VALUE) CloseHandle(pipe_);
    throw Failure(ExitCode::output,
                  fmt::format("the markers' pipe {} can't be made: error {}.", utf8(path), error),
                  "Choose another name with --markers: another program may have a pipe of this one.");
  }
  listen();
}

MarkerPipe::~MarkerPipe()
{
  if (event_ == nullptr) return;
  DWORD count = 0;
  CancelIoEx(pipe_, &operation_);
  GetOverlappedResult(pipe_, &operation_, &count, TRUE);
  CloseHandle(pipe_);
  CloseHandle(event_);
}

void MarkerPipe::proceed()
{
  DWORD count = 0;
  if (GetOverlappedResult(pipe_, &operation_, &count, FALSE) != 0) {
    lines_.add(host::uptime(), std::string_view(buffer_.data(), count));
    begin();
    const bool isReading =
        ReadFile(pipe_, buffer_.data(), static_cast<DWORD>(buffer_.size()), nullptr, &operation_) != 0 ||
        GetLastError() == ERROR_IO_PENDING;
    if (isReading) return;
  }
  // The writer closed it.
  lines_.finish(host::uptime());
  DisconnectNamedPipe(pipe_);
  listen();
}

void MarkerPipe::finish()
{
  // A writer that never pauses must not delay the end.
  constexpr int maxSteps = 32;
  for (int step = 0; step < maxSteps && WaitForSingleObject(event_, 0) == WAIT_OBJECT_0; ++step) {
    proceed();
  }
  lines_.finish(host::uptime());
}

void MarkerPipe::listen()
{
  begin();
  while (ConnectNamedPipe(pipe_, &operation_) == 0) {
    const DWORD error = GetLastError();
    if (error == ERROR_PIPE_CONNECTED) SetEvent(event_);
    if (error != ERROR_NO_DATA) return;
    // A writer has come and gone.
    DisconnectNamedPipe(pipe_);
  }
}

void MarkerPipe::begin()
{
  operation_ = {};
  operation_.hEvent = event_;
  ResetEvent(event_);
}

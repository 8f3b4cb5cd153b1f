// The named pipe that programs write markers to, a line each, one program at a time.
// Threads: one at a time. Errors: the constructor throws a Failure.
#pragma once

#include <windows.h>

#include <array>
#include <filesystem>

#include "host/session/Markers.h"

class MarkerPipe {
 public:
  // None if the path is empty.
  MarkerPipe(MarkerQueue& markers, const std::filesystem::path& path);
  ~MarkerPipe();
  MarkerPipe(const MarkerPipe&) = delete;
  MarkerPipe& operator=(const MarkerPipe&) = delete;

  // Set while proceed() has something to do; null if there is no pipe.
  HANDLE event() const { return event_; }
  // Takes what a writer did, and waits for more of it, or for the next one. Never blocks.
  void proceed();
  // Takes what is there; at the end.
  void finish();

 private:
  void listen();
  void begin();

  HANDLE pipe_ = INVALID_HANDLE_VALUE;
  HANDLE event_ = nullptr;
  OVERLAPPED operation_{};  // the connection of a writer, or a read
  std::array<char, 4096> buffer_{};
  MarkerLines lines_;
};

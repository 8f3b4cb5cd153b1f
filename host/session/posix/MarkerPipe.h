// The FIFO that programs write markers to, a line each: made with its object, and removed with it.
// One that a killed run left behind is taken over. Threads: one at a time.
// Errors: the constructor throws a Failure with ExitCode::output.
#pragma once

#include <sys/types.h>

#include <filesystem>

class MarkerPipe {
 public:
  // None if the path is empty.
  explicit MarkerPipe(const std::filesystem::path& path);
  ~MarkerPipe();
  MarkerPipe(const MarkerPipe&) = delete;
  MarkerPipe& operator=(const MarkerPipe&) = delete;

  // Never blocks, and has no end: writers may come and go. -1 if there is none.
  int descriptor() const { return descriptor_; }

 private:
  const std::filesystem::path path_;
  int descriptor_ = -1;
};

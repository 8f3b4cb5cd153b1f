// The FIFO that programs write markers to, a line each: made with its object, and removed with it.
// One that a killed run left behind is taken over. Threads: one at a time.
// Errors: the constructor throws a Failure with ExitCode::output.
#pragma once

#include <sys/types.h>

#include <filesystem>

class MarkerFifo {
 public:
  // None if the path is empty.
  explicit MarkerFifo(const std::filesystem::path& path);
  ~MarkerFifo();
  MarkerFifo(const MarkerFifo&) = delete;
  MarkerFifo& operator=(const MarkerFifo&) = delete;

  // Never blocks, and has no end: writers may come and go. -1 if there is none.
  int descriptor() const { return descriptor_; }

 private:
  const std::filesystem::path path_;
  int descriptor_ = -1;
};

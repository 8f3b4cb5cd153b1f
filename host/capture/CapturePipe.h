// The receiving end of the pipe into which the plug-in writes its capture: a FIFO, or a Windows named pipe.
// Large enough for more than a second at the highest rate. Threads: one at a time. Errors: a Failure if no
// pipe can be made; reading never fails and never waits.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <span>
#include <string>

class CapturePipe {
 public:
  // In this private folder, if the system keeps its pipes in folders.
  explicit CapturePipe(const std::filesystem::path& folder);
  ~CapturePipe();
  CapturePipe(const CapturePipe&) = delete;
  CapturePipe& operator=(const CapturePipe&) = delete;

  // The value of TESSEL_CAPTURE.
  const std::string& name() const { return name_; }
  // What has arrived: 0 if nothing, or if there is no writer.
  std::size_t read(std::span<std::uint8_t> buffer);
  // Lets the next writer in, once the earlier one is gone and all it wrote has been read.
  void renew();

 private:
  std::string name_;
  std::intptr_t handle_ = -1;
};

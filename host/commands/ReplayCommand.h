// `tessel sim --replay`: plays the dongle's side of a capture at a simulated port.
#pragma once

#include <filesystem>

struct ReplayOptions {
  std::filesystem::path capture;
  std::filesystem::path port;  // empty: in a temporary folder
  double speed = 1;
};

// Until it is over, or the user ends it.
void replay(const ReplayOptions& options);

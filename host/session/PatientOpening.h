// Opens gloves again and again until it succeeds or the time is over. The plug-in's search counts three
// advertisements, whatever they bring, so it misses gloves where many other devices advertise.
// Threads: one. Errors: the Failure of the latest attempt.
#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <string>

#include "host/base/Failure.h"
#include "host/session/GloveConnector.h"

// The program's clock, or that of a test.
struct HostTime {
  std::function<std::chrono::nanoseconds()> now;  // as host::uptime()
  std::function<void(std::chrono::nanoseconds)> sleep;

  static HostTime real();
};

struct OpeningRules {
  double seconds = 0;           // an attempt that has begun by then is finished
  bool isReconnection = false;  // whatever fails is tried again; otherwise only what fails by chance
};

struct FailedAttempt {
  const Failure& failure;
  std::optional<HeardDevices> heard;
  double secondsLeft;
};

// Returns the number of attempts besides the source.
struct OpenedGloves {
  RecordSource& source;
  unsigned attempts;
};
OpenedGloves openPatiently(GloveConnector& gloves, const OpeningRules& rules, const HostTime& time,
                           const GloveConnector::GoesOn& goesOn,
                           const std::function<void(const FailedAttempt&)>& onFailed);

// "no gloves were found. Heard: 12 other devices. Trying again for up to 50 s."
std::string attemptText(const FailedAttempt& attempt);

// "left glove KVXGL00017 (-50 dBm) and 12 other devices"
std::string heardText(const HeardDevices& heard);

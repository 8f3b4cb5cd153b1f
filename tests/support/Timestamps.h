// A recording in memory that has only the plug-in's timestamps.
#pragma once

#include <cstdint>
#include <vector>

#include "host/recording/RecordTimes.h"
#include "host/recording/Recording.h"

// Adds a record for each of them, whose samples the caller adds. Returns how many step back.
inline std::uint64_t setTimestamps(Recording& recording, const std::vector<std::uint32_t>& timestamps)
{
  RecordTimes times;
  for (const std::uint32_t timestamp : timestamps) {
    recording.add(times.next({.pluginMs = timestamp, .frames = {}, .elements = {}}), {});
  }
  return times.backwardSteps();
}

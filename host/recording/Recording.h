// A whole recording in memory, read from any format. Threads: one. Errors: those of RecordReader. Samples are
// the gloves' raw counts.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <span>
#include <string>
#include <vector>

#include "host/recording/GapDetector.h"
#include "host/recording/Layout.h"

struct Recording {
  struct Event {
    double seconds = 0;  // as those of the records
    std::string name, glove, detail;
  };

  std::vector<ElementGroup> groups;
  std::size_t elements = 0;            // of a record, all groups together
  std::vector<double> seconds;         // of each record since the first; never decreases
  double zeroMs = 0;                   // the recording's own time at 0 s
  GapDetector gaps;                    // of these times, in ms
  std::vector<std::uint16_t> samples;  // record after record
  std::string started;                 // date and time according to the recording, or empty
  std::vector<Event> events;           // by time
  std::vector<std::string> notes;      // for the user: what was skipped or adjusted

  std::size_t records() const { return seconds.size(); }
  std::span<const std::uint16_t> samplesOf(std::size_t record, const ElementGroup& group) const
  {
    return std::span(samples).subspan(record * elements + group.first, group.count);
  }
  // `ms`: by RecordTimes.
  void add(double ms, std::span<const std::uint16_t> record);
};

// Has at least one record. It may still be recorded.
Recording readRecording(const std::filesystem::path& path);

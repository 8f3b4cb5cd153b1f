// A recording in virtual time: a simulated dongle with gloves, the plug-in loaded and driven as a host does
// it, and the simulator's ledger. Each object is one recording, from loading to unloading.
// Errors: std::runtime_error if the gloves can't be opened, or if the plug-in does not deliver what the
// ledger expects; std::invalid_argument for an invalid control command.
#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <vector>

#include "tests/support/VirtualGloves.h"
#include "tests/support/VirtualPlugin.h"

struct RecordingPlan {
  std::vector<simulator::GloveConfig> gloves = {};  // commands know them as left and right, in this order
  std::size_t elements = 125;                       // of each glove in a record
  std::vector<std::string> setup;                   // control commands before the gloves are opened
  std::vector<VirtualGloves::Step> scenario = {};   // seconds after the gloves were opened, as below
  double seconds = 10;
  std::uint64_t seed = 1;  // of random packet faults
};

class VirtualRecording {
 public:
  using Time = std::chrono::nanoseconds;

  struct Record {
    Time before, after;  // the read that delivered it; all times of a recording differ
    const Ledger::Record& truth;
    std::span<const std::uint16_t> elements;
  };

  explicit VirtualRecording(const RecordingPlan& plan);

  std::function<void(std::span<const std::uint8_t>)> onCapture;  // the bytes that the plug-in wrote
  std::function<void(Time)> onBegin, onEnd;                      // of the reading
  std::function<void(const Record&)> onRecord;

  void run();

  const Ledger& ledger() const { return gloves_.ledger(); }
  std::uint64_t records() const { return records_; }
  double now() const { return gloves_.now(); }

 private:
  void read(VirtualPlugin& plugin);
  void takeCapture();

  const RecordingPlan plan_;
  VirtualGloves gloves_;
  std::uint64_t records_ = 0;
};

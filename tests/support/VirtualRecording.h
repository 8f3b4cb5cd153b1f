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

#include "shared/HwInterface.h"
#include "shared/RecordStore.h"
#include "simulator/Control.h"
#include "simulator/Dongle.h"
#include "tests/support/Ledger.h"
#include "tests/support/SimulatedPlatform.h"

struct RecordingPlan {
  // Seconds after the gloves were opened.
  struct Step {
    double at;
    std::string command;  // of the simulator's control
  };
  struct Pause {
    double at;
    double seconds;
  };

  std::vector<simulator::GloveConfig> gloves = {};  // commands know them as left and right, in this order
  std::size_t elements = 125;                       // of each glove in a record
  std::vector<std::string> setup;                   // control commands before the gloves are opened
  std::vector<Step> scenario = {};
  std::vector<Pause> pauses = {};    // of the host, in order
  std::vector<double> repeats = {};  // times at which the first glove's next frame comes again
  double seconds = 10;
  double writtenSeconds = 1e9;  // the host drops later records
  std::uint64_t seed = 1;       // of random packet faults

  static simulator::GloveConfig glove(const std::string& name, std::uint8_t address);
  static std::vector<simulator::GloveConfig> leftAndRight();
};

class VirtualRecording {
 public:
  using Time = std::chrono::nanoseconds;

  struct Record {
    Time before, after;  // the read that delivered it; all times of a recording differ
    bool isWritten;
    const Ledger::Record& truth;
    std::span<const std::uint16_t> elements;
  };

  explicit VirtualRecording(const RecordingPlan& plan);
  VirtualRecording(const VirtualRecording&) = delete;
  VirtualRecording& operator=(const VirtualRecording&) = delete;

  std::function<void(std::span<const std::uint8_t>)> onCapture;  // the bytes that the plug-in wrote
  std::function<void(Time)> onBegin, onEnd;                      // of the reading
  std::function<void(const Record&)> onRecord;

  void run();

  const Ledger& ledger() const { return ledger_; }
  std::uint64_t records() const { return records_; }
  double now() const;  // virtual seconds

 private:
  void receive(std::span<const std::uint8_t> message);
  void repeatFrame(const Ledger::Packet& packet, std::span<const std::uint8_t> message);
  void record();
  void read(HwInterface& hardware, plugin::RecordStore& store);
  void accept(plugin::RecordStore& store, bool isNew, Time before, double second);
  void noteConsumed() { ledger_.consume(ledger_.delivered() - port_.waiting.size()); }
  void takeCapture();

  const RecordingPlan plan_;
  SimulatedPlatform platform_;
  SimulatedPlatform::Port& port_;
  simulator::Dongle dongle_;
  simulator::Control control_;
  Ledger ledger_;
  std::uint64_t records_ = 0;
  std::uint64_t latestNumber_ = 0;                      // of the first glove's frame
  std::vector<std::vector<std::uint8_t>> latestFrame_;  // its messages
  bool repeatsFrame_ = false;
};

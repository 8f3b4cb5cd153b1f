// Openings among other Bluetooth devices, in virtual time. CONTRIBUTING.md says how to repeat the figures in
// docs/simulator.md.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

#include "simulator/Control.h"
#include "simulator/Dongle.h"
#include "tests/support/FromEnvironment.h"
#include "tests/support/VirtualPlugin.h"
#include "tests/support/VirtualRecording.h"

namespace {

// A simulated dongle with gloves and neighbours; at first nobody uses it.
class Room {
 public:
  Room(std::size_t gloves, const std::string& neighbours, std::uint64_t seed)
      : gloves_(gloves), control_(dongle_, seed)
  {
    const auto configs = RecordingPlan::leftAndRight();
    for (std::size_t glove = 0; glove < gloves; ++glove) {
      dongle_.addGlove(configs[glove]);
    }
    dongle_.onPresence = [this](bool isPresent) { port_.present = isPresent; };
    dongle_.onSend = [this](std::span<const std::uint8_t> message) {
      port_.waiting.insert(port_.waiting.end(), message.begin(), message.end());
    };
    port_.onWrite = [this](std::span<const std::uint8_t> bytes) { dongle_.receive(bytes); };
    control_.execute("neighbours " + neighbours);
  }

  // Seconds.
  double now() const { return std::chrono::duration<double>(platform_.clock.now()).count(); }
  // With a plug-in that is loaded for it and unloaded afterwards.
  bool open() { return VirtualPlugin(platform_, gloves_, 125).hardware().configure() == 0; }

 private:
  const std::size_t gloves_;
  SimulatedPlatform platform_;
  SimulatedPlatform::Port& port_ = platform_.addPort("Bluegiga Bluetooth Low Energy (COM7)");
  simulator::Dongle dongle_{platform_.clock};
  simulator::Control control_;
};

// Of hosts that open the gloves again and again for a minute.
struct Outcome {
  std::size_t first = 0;      // hosts whose first opening succeeded
  std::vector<double> waits;  // of those that succeeded: seconds until the gloves were open, in order
};

Outcome openAll(std::size_t gloves, const std::string& neighbours, std::size_t hosts)
{
  constexpr double patience = 60;
  Outcome outcome;
  for (std::size_t host = 0; host < hosts; ++host) {
    Room room(gloves, neighbours, host + 1);
    bool isOpen = false;
    for (bool isFirst = true; !isOpen && room.now() < patience; isFirst = false) {
      isOpen = room.open();
      if (isOpen && isFirst) ++outcome.first;
    }
    if (isOpen) outcome.waits.push_back(room.now());
  }
  std::ranges::sort(outcome.waits);
  return outcome;
}

TEST(CrowdedRoom, APatientHostOpensTheGlovesWhereOneOpeningFails)
{
  const auto hosts = static_cast<std::size_t>(fromEnvironment("TESSEL_ROOM_OPENINGS", TESSEL_ROOM_OPENINGS));
  const auto percentOf = [hosts](std::size_t count) {
    return 100 * static_cast<double>(count) / static_cast<double>(hosts);
  };
  struct Row {
    const char* neighbours;
    std::size_t gloves;
    double minFirst, maxFirst, minPercent;
  };
  std::printf("neighbours, gloves, %% opened at first and in the end, seconds for half and 90 %% of these\n");
  for (const auto& [neighbours, gloves, minFirst, maxFirst, minPercent] : {
           Row{"0", 2, 100, 100, 100},
           Row{"3", 2, 0, 90, 100},
           Row{"6", 2, 0, 70, 100},
           Row{"12", 2, 0, 30, 95},
           Row{"30", 2, 0, 15, 30},
           Row{"12 2", 2, 0, 100, 100},
           Row{"12 5", 2, 0, 90, 100},
           Row{"12 10", 2, 0, 60, 95},
           Row{"0", 1, 100, 100, 100},
           Row{"12", 1, 0, 60, 95},
           Row{"30", 1, 0, 40, 90},
       }) {
    const Outcome outcome = openAll(gloves, neighbours, hosts);
    const double first = percentOf(outcome.first), percent = percentOf(outcome.waits.size());
    const auto waited = [&waits = outcome.waits](double share) {
      return waits[static_cast<std::size_t>(share * static_cast<double>(waits.size() - 1))];
    };
    ASSERT_FALSE(outcome.waits.empty()) << neighbours;
    std::printf("%-5s %zu  %5.1f %5.1f  %4.1f %4.1f\n", neighbours, gloves, first, percent, waited(0.5),
                waited(0.9));
    EXPECT_GE(first, minFirst) << neighbours;
    EXPECT_LE(first, maxFirst) << neighbours;
    EXPECT_GE(percent, minPercent) << neighbours;
  }
}

}  // namespace

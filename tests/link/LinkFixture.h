// A BleDevice on a simulated platform with one dongle's port, COM7. What lasts for the process is as at its
// start.
#pragma once

#include <gtest/gtest.h>

#include "link/BleDevice.h"
#include "link/Messages.h"
#include "link/Modules.h"
#include "simulator/Dongle.h"
#include "tests/support/Hex.h"
#include "tests/support/HostLog.h"
#include "tests/support/SimulatedPlatform.h"

using namespace link_state;

// The published value of a result.
constexpr std::int32_t code(OpeningResult result)
{
  return static_cast<std::int32_t>(result);
}

struct FreshStatics {
  FreshStatics()
  {
    dongleVerdict = 0;
    serialFilter.fill(noSerialFilter);
    discoveryState = DiscoveryState::discovery_idle;
    intervalToggle = 0;
    stores = {};
  }
};

class LinkTest : public testing::Test {
 public:
  static constexpr const char* dongleText = "Bluegiga Bluetooth Low Energy (COM7)";

  // Opens the port without a dialogue.
  void openPort()
  {
    ble_output_hook = ble_output;
    ASSERT_EQ(serialOpen("COM7", device_.port()), OpenResult::done);
  }

  // Bytes that the dongle has sent.
  void arrive(const Bytes& bytes) { port_.waiting.insert(port_.waiting.end(), bytes.begin(), bytes.end()); }

  std::int64_t nowMs() const
  {
    return std::chrono::duration_cast<std::chrono::milliseconds>(platform_.clock.now()).count();
  }

  FreshStatics fresh_;
  SimulatedPlatform platform_;
  SimulatedPlatform::Port& port_ = platform_.addPort(dongleText);
  HostLog log_{0};
  BleDevice device_;
};

// With a simulated dongle at the port.
class DongleTest : public LinkTest {
 public:
  DongleTest()
  {
    dongle_.onPresence = [this](bool isPresent) {
      port_.present = isPresent;
      port_.waiting.clear();
      transcript_.emplace_back(!isPresent               ? "port gone"
                               : platform_.open.empty() ? "port back"
                                                        : "still held");
    };
    dongle_.onSend = [this](std::span<const std::uint8_t> message) {
      arrive({message.begin(), message.end()});
      note("< ", message);
    };
    port_.onWrite = [this](std::span<const std::uint8_t> bytes) {
      note("> ", bytes);
      dongle_.receive(bytes);
    };
  }

  // A glove in range; `address` tells it from others.
  simulator::Glove& addGlove(const std::string& name, std::uint8_t address = 1)
  {
    simulator::GloveConfig config;
    config.name = name;
    config.address = {address, 2, 3, 4, 5, 6};
    return dongle_.addGlove(config);
  }

  // A stray response to a discovery, and behind it the advertising of a third glove, KVXGL00099: with two
  // gloves in the table it fails the handler's assertion.
  void arriveThirdGlove()
  {
    arrive(hex("00 02 06 02 00 00"));
    arrive(hex("80 18 06 00 C0 04 09 02 03 04 05 06 00 FF 0D 0C 09 4B 56 58 47 4C 30 30 30 39 39"));
  }

  // Calls the action once, when the transcript's next line that begins with this is noted.
  void when(const std::string& beginning, std::function<void()> action)
  {
    awaited_ = beginning;
    action_ = std::move(action);
  }

  void note(const char* direction, std::span<const std::uint8_t> bytes)
  {
    transcript_.push_back(direction + toHex(bytes));
    if (awaited_.empty() || !transcript_.back().starts_with(awaited_)) return;
    awaited_.clear();
    action_();
  }

  // How many lines of the transcript begin with this.
  std::ptrdiff_t noted(const std::string& beginning) const
  {
    return std::ranges::count_if(transcript_,
                                 [&](const std::string& line) { return line.starts_with(beginning); });
  }

  simulator::Dongle dongle_{platform_.clock};
  std::vector<std::string> transcript_;  // what the host wrote (>) and the dongle sent (<)

 private:
  std::string awaited_;
  std::function<void()> action_;
};

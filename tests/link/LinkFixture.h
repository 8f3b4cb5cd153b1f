// A BleDevice on a simulated platform with one dongle's port, COM7. State that lives as long as the process
// is reset.
#pragma once

#include <gtest/gtest.h>

#include "link/BleDevice.h"
#include "link/Messages.h"
#include "link/Modules.h"
#include "simulator/Dongle.h"
#include "tests/link/FreshStatics.h"
#include "tests/support/Hex.h"
#include "tests/support/HostLog.h"
#include "tests/support/SimulatedPlatform.h"

using namespace link_state;

// The numeric value of a result.
constexpr std::int32_t code(OpeningResult result)
{
  return static_cast<std::int32_t>(result);
}

class LinkTest : public testing::Test {
 public:
  static constexpr const char* dongleText = "Bluegiga Bluetooth Low Energy (COM7)";

  // Opens the port without a dialogue.
  void openPort()
  {
    ble_output_hook = ble_output;
    ASSERT_EQ(serialOpen("COM7", device_.port()), OpenResult::done);
  }

  // Adds bytes from the dongle to the receive buffer.
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

// Adds a simulated dongle at the port.
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

  // Adds a glove in range; `address` distinguishes it from others.
  simulator::Glove& addGlove(const std::string& name, std::uint8_t address = 1)
  {
    simulator::GloveConfig config;
    config.name = name;
    config.address = {address, 2, 3, 4, 5, 6};
    return dongle_.addGlove(config);
  }

  // Adds a stray response to a discovery, followed by an advertisement of a third glove, KVXGL00099: with two
  // gloves in the table it fails the handler's assertion.
  void arriveThirdGlove()
  {
    arrive(hex("00 02 06 02 00 00"));
    arrive(hex("80 18 06 00 C0 04 09 02 03 04 05 06 00 FF 0D 0C 09 4B 56 58 47 4C 30 30 30 39 39"));
  }

  // Calls the action once, at the next line of the transcript that begins with this text.
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

  // Number of transcript lines that begin with this text.
  std::ptrdiff_t noted(const std::string& beginning) const
  {
    return std::ranges::count_if(transcript_,
                                 [&](const std::string& line) { return line.starts_with(beginning); });
  }

  simulator::Dongle dongle_{platform_.clock};
  std::vector<std::string> transcript_;  // bytes from the host (>) and from the dongle (<)

 private:
  std::string awaited_;
  std::function<void()> action_;
};

// A script of what happens to a plug-in with simulated gloves: calls of its host, messages that the dongle
// did not mean to send, faults of dongle, gloves and port, and pauses, each at once or while a call goes on.

#include <deque>
#include <stdexcept>
#include <utility>

#include "fuzz/LinkMessages.h"
#include "fuzz/PluginHost.h"
#include "simulator/Control.h"
#include "simulator/Dongle.h"

using simulator::Duration;

namespace {

constexpr Duration longest = std::chrono::seconds(40);  // of a script, in virtual time

constexpr const char* simulatorCommands[] = {
    "drop both",
    "drop left 19",
    "leave left",
    "back both",
    "silent both",
    "hide left",
    "show both",
    "refuse left on",
    "refuse both off",
    "unplug",
    "plug",
    "mute on",
    "mute off",
    "packets left 2",
    "packets both 4",
    "loss both 20",
    "loss both 0",
    "swap both 20",
    "double both 20",
    "battery left 3",
    "rate left 100",
    "stay-away on",
    "restart-time 4",
    "noise 12",
    "sensor left thumb 249",
    "firmware 1.4.2.129",
    "neighbours 5",
    "name left Lamp",
    "name right KVXGL00019",
    "restart left",
};

constexpr const wchar_t* hostCommands[] = {
    L"BatteryLevel", L"GetModuleMap",   L"GetFirmwareVersion",
    L"AutoTune",     L"SensorSelect 2", L"SetSerialNumber,1,777",
};

std::optional<std::uint32_t> SimulatedPlatform::Port::*const portErrors[] = {
    &SimulatedPlatform::Port::readError,        &SimulatedPlatform::Port::writeError,
    &SimulatedPlatform::Port::purgeError,       &SimulatedPlatform::Port::getTimeoutsError,
    &SimulatedPlatform::Port::setTimeoutsError,
};

class Script {
 public:
  explicit Script(fuzz::Input input) : input_(input)
  {
    dongle_.onPresence = [this](bool isPresent) {
      host_.port.present = isPresent;
      host_.port.waiting.clear();
    };
    dongle_.onSend = [this](std::span<const std::uint8_t> bytes) { arrive(bytes); };
    host_.port.onWrite = [this](std::span<const std::uint8_t> bytes) {
      for (const Bytes& message : std::exchange(atNextWrite_, {})) {
        arrive(message);
      }
      dongle_.receive(bytes);
    };
    const std::uint8_t choice = input_.byte();
    addGlove("left", "KVXGL00017", 1, choice);
    if ((choice & 1) != 0) addGlove("right", "KVXGR00018", 2, choice);
  }

  void run()
  {
    while (!input_.atEnd() && clock().now() < longest) {
      step();
    }
    host_.release();
  }

 private:
  VirtualClock& clock() { return host_.platform.clock; }

  void addGlove(std::string_view side, const char* name, std::uint8_t address, std::uint8_t choice)
  {
    simulator::GloveConfig config;
    config.name = name;
    config.address = {address, 2, 3, 4, 5, 6};
    config.packetsPerFrame = 3;
    config.framesPerSecond = 10;
    config.revision = (choice & 2) != 0 ? 4 : 5;  // the older one has no status
    config.firstClock = (choice & 4) != 0 ? 65'530 : 1;
    control_.addGlove(side, dongle_.addGlove(config));
  }

  void arrive(std::span<const std::uint8_t> bytes)
  {
    host_.port.waiting.insert(host_.port.waiting.end(), bytes.begin(), bytes.end());
  }
  // Also while a call goes on.
  void later(std::function<void()> action)
  {
    clock().after(std::chrono::milliseconds(input_.word() % 8192), std::move(action));
  }
  std::function<void()> command()
  {
    return [this, text = input_.oneOf(simulatorCommands)] {
      try {
        control_.execute(text);
      } catch (const std::invalid_argument&) {  // there is no such glove
      }
    };
  }
  std::function<void()> portFault()
  {
    const std::size_t which = input_.below(std::size(portErrors) + 3);
    return [this, which, value = input_.byte()] {
      SimulatedPlatform::Port& port = host_.port;
      if (which < std::size(portErrors)) {
        port.*portErrors[which] = 1U + value;
      } else if (which == std::size(portErrors)) {
        port.maxPerRead = port.maxPerWrite = 1 + value % 8;
      } else if (which == std::size(portErrors) + 1) {
        port.busy = true;
      } else {
        for (const auto error : portErrors) {
          (port.*error).reset();
        }
        port.maxPerRead = port.maxPerWrite = std::numeric_limits<std::size_t>::max();
        port.busy = false;
      }
    };
  }

  void step()
  {
    using Step = void (*)(Script & my);
    static constexpr Step steps[] = {
        [](Script& my) { my.host_.configure(); },
        [](Script& my) {
          for (std::size_t reads = 1 + my.input_.below(64); reads > 0; --reads) {
            my.host_.read();
          }
        },
        [](Script& my) { my.host_.read(); },
        [](Script& my) { my.host_.send(my.input_.oneOf(hostCommands)); },
        [](Script& my) { my.host_.close(); },
        [](Script& my) { my.host_.make(my.input_.oneOf(fuzz::pluginSettings)); },
        [](Script& my) { my.later([&my] { my.host_.stop(); }); },
        [](Script& my) { my.arrive(fuzz::nextMessage(my.input_)); },
        [](Script& my) { my.atNextWrite_.push_back(fuzz::nextMessage(my.input_)); },
        [](Script& my) { my.later([&my, message = fuzz::nextMessage(my.input_)] { my.arrive(message); }); },
        [](Script& my) { my.command()(); },
        [](Script& my) { my.later(my.command()); },
        [](Script& my) { my.portFault()(); },
        [](Script& my) { my.later(my.portFault()); },
        [](Script& my) { my.dongle_.cutNext(my.input_.byte()); },
        [](Script& my) { my.clock().advance(std::chrono::milliseconds(my.input_.word() % 8192)); },
    };
    input_.oneOf(steps)(*this);
  }

  fuzz::Input input_;
  fuzz::PluginHost host_;
  simulator::Dongle dongle_{clock()};
  simulator::Control control_{dongle_, 1};
  std::deque<Bytes> atNextWrite_;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
  Script(fuzz::Input(data, size)).run();
  return 0;
}

// Commands of the simulator, and scenarios of them: each is refused before anything changes, or has a reply;
// and dongle and gloves go on afterwards.

#include <sstream>
#include <stdexcept>

#include "fuzz/Fuzz.h"
#include "simulator/Scenario.h"

using fuzz::require;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
  constexpr int maxLines = 50;
  VirtualClock clock;
  simulator::Dongle dongle(clock);
  simulator::Control control(dongle, 1);
  for (const std::uint8_t hand : {std::uint8_t{1}, std::uint8_t{2}}) {
    simulator::GloveConfig config;
    config.name = hand == 1 ? "KVXGL00017" : "KVXGR00018";
    config.address = {hand, 2, 3, 4, 5, 6};
    control.addGlove(hand == 1 ? "left" : "right", dongle.addGlove(config));
  }
  std::size_t sent = 0;
  dongle.onSend = [&](std::span<const std::uint8_t> message) { sent += message.size(); };

  fuzz::Input input(data, size);
  if (input.below(2) == 0) {
    for (int line = 0; line < maxLines && !input.atEnd(); ++line) {
      const std::string_view command = input.part("\n");
      try {
        require(!control.execute(command).empty() || command.starts_with("quit"), "a command has a reply");
      } catch (const std::invalid_argument& error) {
        require(error.what()[0] != '\0', "a refusal has its reason");
      }
      clock.advance(std::chrono::milliseconds(20));
    }
  } else {
    std::istringstream text{std::string(input.rest())};
    try {
      simulator::Scenario scenario = simulator::readScenario(text, control);
      if (scenario.size() > maxLines) scenario.resize(maxLines);
      int replies = 0;
      const auto steps = static_cast<int>(scenario.size());
      simulator::schedule(std::move(scenario), clock,
                          [&](const std::string&, const std::string&) { ++replies; });
      while (replies < steps && clock.next() && *clock.next() < std::chrono::seconds(2)) {
        clock.advance(*clock.next() - clock.now());
      }
    } catch (const std::invalid_argument& error) {
      require(std::string_view(error.what()).starts_with("line "), "a refusal names its line");
    }
  }
  require(control.execute("status").find("left") != std::string::npos, "the gloves are still there");
  return 0;
}

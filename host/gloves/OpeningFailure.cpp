#include "host/gloves/OpeningFailure.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <string_view>

#include "host/gloves/Ports.h"

namespace {

struct Meaning {
  std::string_view words;  // of the plug-in, as they begin
  ExitCode code;
  const char* advice;
};
constexpr std::array meanings{
    Meaning{"No BLE USB dongle detected", ExitCode::noDongle, ""},
    Meaning{"The BLE USB dongle is currently being used", ExitCode::port,
            "End the program that holds the port, and see `tessel ports`."},
    Meaning{"The BLE USB dongle firmware is out of date", ExitCode::firmware,
            "Gloves can't be used with this dongle until it is updated."},
    Meaning{"Abandoned connection", ExitCode::interrupted, ""},
    Meaning{"Communication error", ExitCode::silence, "Check the dongle and its plug, then try again."},
    Meaning{"Not enough remote BLE modules", ExitCode::noGloves,
            "Switch the gloves on and bring them near. For one glove: --gloves 1, or settings of your own."},
    Meaning{"Failed to enable notifications", ExitCode::gloves,
            "Switch the glove off and on, then try again."},
    Meaning{"A remote BLE module timed out", ExitCode::gloves, "Switch the glove off and on; charge it."},
    Meaning{"A remote BLE module's service", ExitCode::gloves,
            "The glove's own firmware is too old or not a glove's."},
    Meaning{"Faulty sensor(s)", ExitCode::gloves,
            "Check the sensors. To record all the same: TesselSkipSensorStartupCheck 1 in a settings file."},
    Meaning{"Failed to read status", ExitCode::gloves, "Switch the glove off and on, then try again."},
    Meaning{"Unhandled exception", ExitCode::gloves,
            "More gloves are near than can be used: name yours by TesselSerialNumber in a settings file."},
    Meaning{"Could not create log file", ExitCode::output, "Choose another folder with --log."}};

}  // namespace

Failure openingFailure(const std::string& words, bool isSimulated)
{
  const auto meaning =
      std::ranges::find_if(meanings, [&](const Meaning& known) { return words.starts_with(known.words); });
  if (meaning == meanings.end())
    return {ExitCode::gloves, words, "Switch dongle and gloves off and on, then try again."};
  // The plug-in knows only that there is no port, or that it did not open; the system knows why.
  if (meaning->code == ExitCode::noDongle) {
    if (isSimulated) return {ExitCode::noDongle, words, "That is what the scenario says."};
    return noDongle(listPorts(), portsVariable());
  }
  if (meaning->code == ExitCode::port) {
    for (const Port& port : listPorts()) {
      if (port.isUsed && port.state != PortState::free) {
        return {ExitCode::port, fmt::format("{} can't be opened: {}", port.path, describe(port)),
                isSimulated ? "That is what the scenario says." : adviceFor(port)};
      }
    }
  }
  return {meaning->code, words, meaning->advice};
}

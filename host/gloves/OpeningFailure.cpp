#include "host/gloves/OpeningFailure.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <string_view>

#include "host/gloves/Ports.h"

namespace {

struct Meaning {
  std::string_view words;  // the beginning of the plug-in's message
  ExitCode code;
  const char* advice;
  bool isTransient = false;
};
constexpr std::array meanings{
    Meaning{"No BLE USB dongle detected", ExitCode::noDongle, ""},
    Meaning{"The BLE USB dongle is currently being used", ExitCode::port,
            "End the program that holds the port, and see `tessel ports`."},
    Meaning{"The BLE USB dongle firmware is out of date", ExitCode::firmware,
            "Gloves can't be used with this dongle until it is updated."},
    Meaning{"Abandoned connection", ExitCode::interrupted, ""},
    Meaning{"Communication error", ExitCode::silence,
            "Check the dongle and its USB connection, then try again."},
    Meaning{"Not enough remote BLE modules", ExitCode::noGloves,
            "Switch the gloves on and bring them closer. For one glove: --gloves 1, or a settings file.",
            true},
    Meaning{"Failed to enable notifications", ExitCode::gloves,
            "Switch the glove off and on, then try again.", true},
    Meaning{"A remote BLE module timed out", ExitCode::gloves, "Switch the glove off and on; charge it.",
            true},
    Meaning{"A remote BLE module's service", ExitCode::gloves,
            "The glove's firmware is too old, or the device is not a glove."},
    Meaning{"Faulty sensor(s)", ExitCode::gloves,
            "Check the sensors. To record anyway: TesselSkipSensorStartupCheck 1 in a settings file."},
    Meaning{"Failed to read status", ExitCode::gloves, "Switch the glove off and on, then try again.", true},
    Meaning{"Unhandled exception", ExitCode::gloves,
            "More gloves are in range than can be used: select yours with TesselSerialNumber in a settings "
            "file."},
    Meaning{"Could not create log file", ExitCode::output, "Choose another folder with --log."}};

}  // namespace

OpeningFailure openingFailure(const std::string& words, bool isSimulated)
{
  const auto meaning =
      std::ranges::find_if(meanings, [&](const Meaning& known) { return words.starts_with(known.words); });
  if (meaning == meanings.end())
    return {ExitCode::gloves, words, "Switch dongle and gloves off and on, then try again.", false};
  // The plug-in reports only that there is no port or that it did not open; the operating system knows why.
  if (meaning->code == ExitCode::noDongle) {
    if (isSimulated) return {ExitCode::noDongle, words, "The scenario causes this.", false};
    const Failure known = noDongle(listPorts(), portsVariable());
    return {known.code(), known.what(), known.advice(), false};
  }
  if (meaning->code == ExitCode::port) {
    for (const Port& port : listPorts()) {
      if (port.isUsed && port.state != PortState::free) {
        return {ExitCode::port, fmt::format("{} can't be opened: {}", port.path, describe(port)),
                isSimulated ? "The scenario causes this." : adviceFor(port), false};
      }
    }
  }
  return {meaning->code, words, meaning->advice, meaning->isTransient};
}

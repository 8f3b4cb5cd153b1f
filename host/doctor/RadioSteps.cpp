#include "host/doctor/RadioSteps.h"

#include <fmt/chrono.h>
#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <ctime>

#include "host/capture/GloveRecords.h"
#include "host/doctor/StepResults.h"
#include "host/gloves/ModuleNames.h"
#include "host/gloves/Ports.h"
#include "host/session/PatientOpening.h"

namespace {

using Result = Step::Result;

constexpr std::chrono::seconds listeningTime{5};
constexpr std::array<std::uint16_t, 4> minFirmware{1, 4, 2, 130};
// Below this, packets are lost at the next movement of a hand.
constexpr int weakRssi = -80;
// The plug-in's search counts three advertisements. From so many of others on it fails at times.
constexpr double manyReportsPerSecond = 20;
constexpr double reportsOfGlove = 10;  // in a second
// More gloves than anybody wears are not visited.
constexpr std::size_t maxVisits = 4;

std::string versionText(const std::array<std::uint16_t, 4>& version)
{
  return fmt::to_string(fmt::join(version, "."));
}

// "left glove KVXGL00017"
std::string nameOf(const HeardGlove& glove)
{
  const std::string side = sideOfModule(glove.name);
  return fmt::format("{}glove {}", side == "glove" ? "" : side + " ", glove.name);
}

std::string namesOf(const std::vector<HeardGlove>& gloves)
{
  std::vector<std::string> words;
  std::ranges::transform(gloves, std::back_inserter(words), nameOf);
  return fmt::to_string(fmt::join(words, ", "));
}

constexpr const char* replug = "Unplug the dongle and plug it in again, best without a hub.";

// The plug-in's port can't be opened: the system may know why.
Step unopenedPort(const std::string& text)
{
  for (const Port& port : listPorts()) {
    if (port.isUsed && port.state != PortState::free) return failed("dongle", unusable(port));
  }
  return failed("dongle", ExitCode::port, text, replug);
}

Step dongleStep(DongleProbe::Opening opening)
{
  switch (opening) {
    case DongleProbe::Opening::done:
      break;
    case DongleProbe::Opening::notFound:
      return failed("dongle", noDongle(listPorts(), portsVariable()));
    case DongleProbe::Opening::notBack:
      return failed("dongle", ExitCode::noDongle,
                    "the dongle did not come back within 3 s after its restart.", replug);
    case DongleProbe::Opening::notOpened:
      return unopenedPort("the dongle's port can't be opened.");
    case DongleProbe::Opening::notReopened:
      return unopenedPort("the dongle's port can't be opened again after its restart.");
  }
  return ok("dongle", "its port was opened, and it restarted");
}

Step firmwareStep(const std::optional<DongleInfo>& info)
{
  constexpr const char* name = "firmware";
  if (!info) {
    return failed(
        name, ExitCode::noGloves, "the dongle does not answer.",
        "Unplug the dongle and plug it in again. If that does not help, its firmware does not speak "
        "BGAPI over USB, or the port belongs to another device.");
  }
  if (info->firmware < minFirmware) {
    return failed(name, ExitCode::firmware,
                  fmt::format("the dongle's firmware {} is too old: {} is the oldest that works.",
                              versionText(info->firmware), versionText(minFirmware)),
                  "Gloves can't be used with this dongle until it is updated. Use another one meanwhile.");
  }
  return ok(name, fmt::format("firmware {}, protocol {}, hardware {}", versionText(info->firmware),
                              info->protocol, info->hardware));
}

Step radioStep(const std::optional<Reception>& reception)
{
  constexpr const char* name = "radio";
  if (!reception) {
    return failed(name, ExitCode::noGloves, "the dongle does not begin to listen for gloves.", replug);
  }
  const HeardDevices& devices = reception->devices;
  const double perSecond = static_cast<double>(reception->reports) / reception->seconds;
  const std::string text = fmt::format("heard in {:.0f} s: {}; {:.0f} reports a second", reception->seconds,
                                       heardText(devices), perSecond);
  std::vector<std::string> fixes;
  const auto weak =
      std::ranges::find_if(devices.gloves(), [](const HeardGlove& glove) { return glove.rssi < weakRssi; });
  if (weak != devices.gloves().end()) {
    fixes.push_back(
        fmt::format("The {} is hardly heard: bring it closer, and take the dongle from behind the "
                    "computer with a USB extension cable.",
                    nameOf(*weak)));
  }
  const double ofGloves = reportsOfGlove * static_cast<double>(devices.gloves().size());
  if (devices.others() > 0 && perSecond > manyReportsPerSecond + ofGloves) {
    fixes.emplace_back(
        "Among so many devices the plug-in, whose search counts three advertisements, finds gloves only by "
        "chance. Opening is repeated until it succeeds: allow for it with --wait 180, or switch other "
        "Bluetooth "
        "devices off.");
  }
  return fixes.empty() ? ok(name, text) : warning(name, text, fmt::to_string(fmt::join(fixes, "\n")));
}

bool isAccepted(const HeardGlove& glove, const WantedGloves& wanted)
{
  if (!wanted.side.empty() && sideOfModule(glove.name) != wanted.side) return false;
  return wanted.serialNumbers.empty() ||
         std::ranges::find(wanted.serialNumbers, serialNumberOfModule(glove.name)) !=
             wanted.serialNumbers.end();
}

std::vector<HeardGlove> acceptedGloves(const Reception& reception, const WantedGloves& wanted)
{
  std::vector<HeardGlove> accepted;
  std::ranges::copy_if(reception.devices.gloves(), std::back_inserter(accepted),
                       [&](const HeardGlove& glove) { return isAccepted(glove, wanted); });
  return accepted;
}

// "2 gloves", "1 right glove", "the serial numbers 17 and 18"
std::string textOf(const WantedGloves& wanted)
{
  std::string text = fmt::format("{}{} glove{}", wanted.count, wanted.side.empty() ? "" : " " + wanted.side,
                                 wanted.count == 1 ? "" : "s");
  if (!wanted.serialNumbers.empty()) {
    text += fmt::format(" of serial number {}", fmt::join(wanted.serialNumbers, " or "));
  }
  return text;
}

Step glovesStep(const Reception& reception, const WantedGloves& wanted,
                const std::vector<HeardGlove>& accepted)
{
  constexpr const char* name = "gloves";
  std::string text = fmt::format("{} wanted, {} heard", textOf(wanted), accepted.size());
  if (accepted.size() > wanted.count) {
    return warning(name, text + ": " + namesOf(accepted),
                   "The plug-in takes those that it hears first. Switch the others off, or select yours with "
                   "TesselSerialNumber in a settings file.");
  }
  if (accepted.size() == wanted.count) return ok(name, text);
  std::string fix =
      "Switch the gloves on, charge them, and bring them closer. A glove that is connected to another "
      "computer is "
      "not heard.";
  std::vector<HeardGlove> others;
  std::ranges::copy_if(reception.devices.gloves(), std::back_inserter(others),
                       [&](const HeardGlove& glove) { return !isAccepted(glove, wanted); });
  if (!others.empty()) {
    text += fmt::format("; heard but not wanted: {}", namesOf(others));
    fix += wanted.serialNumbers.empty()
               ? "\nTo use the other one: --gloves 1"
               : "\nTo use what is heard, change TesselSerialNumber in the settings file.";
  } else if (!accepted.empty()) {
    fix += "\nTo record with one glove: --gloves 1";
  }
  return failed(name, ExitCode::noGloves, text, fix);
}

struct Visited {
  HeardGlove glove;
  GloveVisit visit;
};

Step connectionStep(const std::vector<Visited>& visits)
{
  Step step{.name = "connection", .text = ""};
  for (const auto& [glove, visit] : visits) {
    const bool isConnected = visit.reached >= GloveVisit::Reached::connection;
    const std::string outcome =
        isConnected     ? fmt::format("connected in {:.0f} ms", visit.connectMs)
        : visit.refusal ? fmt::format("was not connected: the dongle refused (0x{:04x})", *visit.refusal)
                        : fmt::format("is heard ({} dBm) but can't be connected to", glove.rssi);
    step.text += fmt::format("{}{} {}", step.text.empty() ? "" : ", ", nameOf(glove), outcome);
    if (isConnected) continue;
    step.result = Result::failed;
    step.code = ExitCode::gloves;
    step.fix =
        "Switch the glove off and on, and bring it closer; another computer may be connecting to it. "
        "Charge it if that does not help.";
  }
  return step;
}

std::string versionText(const GloveVersion& version)
{
  std::string text = fmt::format("part {} revision {}, firmware build {} from commit {:x}",
                                 version.partNumber, version.revision, version.build, version.commit);
  const std::time_t built = version.buildTime;
  if (built > 0) text += fmt::format(", dated {:%Y-%m-%d}", fmt::gmtime(built));
  return text;
}

Step versionsStep(const std::vector<Visited>& visits)
{
  Step step{.name = "versions", .text = ""};
  for (const auto& [glove, visit] : visits) {
    const auto version = parseVersion(visit.version);
    step.text += fmt::format("{}{}: {}", step.text.empty() ? "" : "; ", glove.name,
                             version                 ? versionText(*version)
                             : visit.version.empty() ? "no version record was received"
                                                     : "its version record is damaged");
    if (version) continue;
    step.result = Result::warning;
    step.fix =
        "The plug-in takes such a glove for one of revision 0, whose sensors it does not check. Switch "
        "the glove off and on.";
  }
  return step;
}

Step sensorsStep(const std::vector<Visited>& visits, bool areChecked)
{
  Step step{.name = "sensors", .text = ""};
  for (const auto& [glove, visit] : visits) {
    const auto version = parseVersion(visit.version);
    const bool hasStatus = version && version->revision >= confirmingRevision;
    const std::string faults = sensorFaults(visit.status);
    const bool isMissing = hasStatus && visit.reached != GloveVisit::Reached::status;
    step.text += fmt::format("{}{}: {}", step.text.empty() ? "" : "; ", glove.name,
                             !hasStatus       ? "reports no sensor status"
                             : isMissing      ? "did not answer"
                             : faults.empty() ? "all good"
                                              : faults);
    if (!isMissing && faults.empty()) continue;
    step.result = areChecked ? Result::failed : Result::warning;
    step.code = areChecked ? ExitCode::gloves : ExitCode::done;
    step.fix = isMissing ? "Switch the glove off and on."
                         : "Check the cables and sensors of the glove. To record without them: "
                           "TesselSkipSensorStartupCheck 1 in a settings file.";
  }
  return step;
}

}  // namespace

void takeRadioSteps(DongleProbe& probe, const WantedGloves& wanted, StepList& steps)
{
  // True if the walk goes on.
  const auto take = [&steps](Step step) {
    const bool goesOn = step.result != Result::failed;
    steps.add(std::move(step));
    return goesOn;
  };
  if (!take(dongleStep(probe.open()))) return;
  if (!take(firmwareStep(probe.info()))) return;
  const auto reception = probe.listen(listeningTime);
  if (!take(radioStep(reception))) return;
  std::vector<HeardGlove> accepted = acceptedGloves(*reception, wanted);
  if (!take(glovesStep(*reception, wanted, accepted))) return;
  accepted.resize(std::min(accepted.size(), maxVisits), accepted.front());
  std::vector<Visited> visits;
  for (const HeardGlove& glove : accepted) {
    visits.push_back({glove, probe.visit(glove.address)});
  }
  if (!take(connectionStep(visits))) return;
  steps.add(versionsStep(visits));
  steps.add(sensorsStep(visits, wanted.areSensorsChecked));
}

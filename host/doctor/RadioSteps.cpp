#include "host/doctor/RadioSteps.h"

#include <fmt/chrono.h>
#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <ctime>

#include "host/capture/GloveRecords.h"
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

Step unopened(DongleProbe::Opening opening)
{
  constexpr const char* replug = "Unplug the dongle and plug it in again, best without a hub.";
  Step step{.name = "dongle", .result = Result::failed, .text = ""};
  switch (opening) {
    case DongleProbe::Opening::done:
      break;
    case DongleProbe::Opening::notFound: {
      const Failure failure = noDongle(listPorts(), portsVariable());
      step.text = failure.what();
      step.fix = failure.advice();
      step.code = failure.code();
      break;
    }
    case DongleProbe::Opening::notBack:
      step.text = "the dongle did not come back within 3 s after its restart.";
      step.fix = replug;
      step.code = ExitCode::noDongle;
      break;
    case DongleProbe::Opening::notOpened:
    case DongleProbe::Opening::notReopened: {
      step.text = opening == DongleProbe::Opening::notOpened
                      ? "the dongle's port can't be opened."
                      : "the dongle's port can't be opened again after its restart.";
      step.fix = replug;
      step.code = ExitCode::port;
      for (const Port& port : listPorts()) {
        if (!port.isUsed || port.state == PortState::free) continue;
        step.text = fmt::format("{} can't be opened: {}", port.path, describe(port));
        step.fix = adviceFor(port);
      }
      break;
    }
  }
  return step;
}

Step firmwareStep(const std::optional<DongleInfo>& info)
{
  Step step{.name = "firmware", .text = ""};
  if (!info) {
    step.result = Result::failed;
    step.text = "the dongle does not answer.";
    step.fix =
        "Unplug the dongle and plug it in again. If that does not help, its firmware does not speak BGAPI "
        "over "
        "USB, or the port belongs to another device.";
    step.code = ExitCode::noGloves;
  } else if (info->firmware < minFirmware) {
    step.result = Result::failed;
    step.text = fmt::format("the dongle's firmware {} is too old: {} is the oldest that works.",
                            versionText(info->firmware), versionText(minFirmware));
    step.fix = "Gloves can't be used with this dongle until it is updated. Use another one meanwhile.";
    step.code = ExitCode::firmware;
  } else {
    step.text = fmt::format("firmware {}, protocol {}, hardware {}", versionText(info->firmware),
                            info->protocol, info->hardware);
  }
  return step;
}

Step radioStep(const std::optional<Reception>& reception)
{
  Step step{.name = "radio", .text = ""};
  if (!reception) {
    step.result = Result::failed;
    step.text = "the dongle does not begin to listen for gloves.";
    step.fix = "Unplug the dongle and plug it in again.";
    step.code = ExitCode::noGloves;
    return step;
  }
  const auto& gloves = reception->devices.gloves();
  const double perSecond = static_cast<double>(reception->reports) / reception->seconds;
  step.text = fmt::format("heard in {:.0f} s: {}; {:.0f} reports a second", reception->seconds,
                          heardText(reception->devices), perSecond);
  const auto weak = std::ranges::find_if(gloves, [](const auto& glove) { return glove.rssi < weakRssi; });
  if (weak != gloves.end()) {
    step.result = Result::warning;
    step.fix = fmt::format(
        "The {} is hardly heard: bring it closer, and take the dongle from behind the computer with a USB "
        "extension cable.",
        nameOf(*weak));
  }
  if (reception->devices.others() > 0 &&
      perSecond > manyReportsPerSecond + 10.0 * static_cast<double>(gloves.size())) {
    step.result = Result::warning;
    if (!step.fix.empty()) step.fix += '\n';
    step.fix +=
        "Among so many devices the plug-in, whose search counts three advertisements, finds gloves only by "
        "chance. Opening is repeated until it succeeds: allow for it with --wait 180, or switch other "
        "Bluetooth devices off.";
  }
  return step;
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
  const auto& heard = reception.devices.gloves();
  Step step{.name = "gloves", .text = fmt::format("{} wanted, {} heard", textOf(wanted), accepted.size())};
  if (accepted.size() > wanted.count) {
    step.result = Result::warning;
    step.text = fmt::format("{} wanted, {} heard: {}", textOf(wanted), accepted.size(), namesOf(accepted));
    step.fix =
        "The plug-in takes those that it hears first. Switch the others off, or select yours with "
        "TesselSerialNumber in a settings file.";
  } else if (accepted.size() < wanted.count) {
    step.result = Result::failed;
    step.code = ExitCode::noGloves;
    step.fix =
        "Switch the gloves on, charge them, and bring them closer. A glove that is connected to "
        "another computer is not heard.";
    if (accepted.size() < heard.size()) {
      std::vector<HeardGlove> others;
      std::ranges::copy_if(heard, std::back_inserter(others),
                           [&](const HeardGlove& glove) { return !isAccepted(glove, wanted); });
      step.text += fmt::format("; heard but not wanted: {}", namesOf(others));
      step.fix += wanted.serialNumbers.empty()
                      ? "\nTo use the other one: --gloves 1"
                      : "\nTo use what is heard, change TesselSerialNumber in the settings file.";
    } else if (!accepted.empty()) {
      step.fix += "\nTo record with one glove: --gloves 1";
    }
  }
  return step;
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

std::string versionText(const VersionRecord& version)
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
  if (const auto opening = probe.open(); opening != DongleProbe::Opening::done) {
    steps.add(unopened(opening));
    return;
  }
  steps.add({.name = "dongle", .text = "its port was opened, and it restarted"});
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

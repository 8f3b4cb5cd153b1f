#include "host/doctor/Doctor.h"

#include <fmt/format.h>

#include <array>
#include <cstdint>
#include <fstream>
#include <string_view>

#include "HwPlugins/HwTessel/serial/Capture.h"
#include "host/base/System.h"
#include "host/base/Text.h"
#include "host/doctor/ComputerSteps.h"
#include "host/doctor/DongleProbe.h"
#include "host/doctor/MeasurementSteps.h"
#include "host/doctor/RadioSteps.h"
#include "host/doctor/StepResults.h"
#include "host/doctor/Storage.h"
#include "host/gloves/SettingsFile.h"
#include "host/session/GloveLayout.h"
#include "host/session/PatientOpening.h"

namespace fs = std::filesystem;

namespace {

// Those over the link, in their order.
constexpr std::array<std::string_view, 14> linkSteps{
    "dongle",  "firmware", "radio",  "gloves", "connection", "versions", "sensors",
    "opening", "battery",  "frames", "losses", "silence",    "clock",    "latency"};

HardwareOptions withLog(HardwareOptions options, const fs::path& folder)
{
  if (!options.logFolder.empty()) return options;
  options.logFolder = folder;
  options.announcesLog = false;
  return options;
}

WantedGloves wantedGloves(const HardwareOptions& options, const settings::Values& settings)
{
  WantedGloves wanted{.count = settings.numBleModules > 1 ? std::size_t{2} : std::size_t{1},
                      .serialNumbers = settings.serialNumber,
                      .areSensorsChecked = !settings.skipSensorStartupCheck};
  if (options.gloves == Gloves::left) wanted.side = "left";
  if (options.gloves == Gloves::right) wanted.side = "right";
  return wanted;
}

// Makes this program's own serial layer write a capture while it lives.
class ProbeCapture {
 public:
  explicit ProbeCapture(const fs::path& path) { host::setEnvironment("TESSEL_CAPTURE", utf8(path)); }
  ~ProbeCapture()
  {
    capture::close();
    takeCaptureVariable();
  }
  ProbeCapture(const ProbeCapture&) = delete;
  ProbeCapture& operator=(const ProbeCapture&) = delete;
};

}  // namespace

Doctor::Doctor(const DoctorOptions& options, const StopRequest& stopRequest, Listener listener)
    : options_(options),
      stopRequest_(stopRequest),
      listener_(std::move(listener)),
      dongleCapture_(scratch_.path() / "dongle.pcapng"),
      gloveCapture_(scratch_.path() / "gloves.pcapng"),
      facts_(options.root),
      source_(withLog(options.hardware, scratch_.path() / "log")),
      steps_(listener_.onStep)
{
}

void Doctor::checkGoesOn() const
{
  if (stopRequest_.flag()) {
    throw Failure(ExitCode::interrupted, "interrupted before all steps were done.", "");
  }
}

void Doctor::examine()
{
  for (Step& step : computerSteps(facts_, options_.hardware.isSimulated)) {
    steps_.add(std::move(step));
  }
  if (steps_.firstFailure() == nullptr) probe();
  if (steps_.firstFailure() == nullptr) useGloves();
  skipRest();
  checkGoesOn();
  steps_.add(loadStep(facts_));
  listener_.onPhase("Writing to the disk...");
  const fs::path folder = fs::weakly_canonical(options_.folder);
  steps_.add(storageStep(measureStorage(folder), folder));
}

void Doctor::probe()
{
  listener_.onPhase("Asking the dongle, and listening for 5 s...");
  const ProbeCapture capture(dongleCapture_);
  DongleProbe probe([this] { return !stopRequest_.flag(); });
  takeRadioSteps(probe, wantedGloves(options_.hardware, source_.settings()), steps_);
}

void Doctor::useGloves()
{
  const settings::Values& settings = source_.settings();
  const std::size_t gloves = glovesInRecord(settings);
  LinkCapture capture(gloves, static_cast<std::size_t>(settings.elementCount) / gloves, gloveCapture_);
  HardwareConnector connector(source_, &capture);
  listener_.onPhase("Opening the gloves with the plug-in...");
  if (!openGloves(connector)) return;
  listener_.onPhase(fmt::format("Measuring for {:g} s...", options_.seconds));
  Hardware& hardware = connector.hardware();
  const Layout layout = gloveLayout(settings, hardware.askModules());
  LiveAccounts* const accounts = capture.hasBegun() ? &capture.accounts() : nullptr;
  Measurement measurement =
      measure(connector, hardware, layout, accounts, options_.seconds, stopRequest_.flag(), host::uptime);
  checkGoesOn();
  addClocks(measurement);
  takeMeasurementSteps(measurement, steps_);
}

bool Doctor::openGloves(HardwareConnector& connector)
{
  const auto goesOn = [this] { return !stopRequest_.flag(); };
  const auto onFailed = [this](const FailedAttempt& attempt) {
    listener_.onPhase(fmt::format("{} Trying again...", attempt.failure.what()));
  };
  try {
    const unsigned attempts = openPatiently(connector, {.seconds = options_.hardware.waitSeconds},
                                            HostTime::real(), goesOn, onFailed)
                                  .attempts;
    steps_.add(ok("opening", attempts == 1
                                 ? "the plug-in opened the gloves at once"
                                 : fmt::format("the plug-in opened the gloves at attempt {}", attempts)));
    return true;
  } catch (const Failure& failure) {
    if (failure.code() == ExitCode::interrupted) throw;
    steps_.add(failed("opening", failure));
    return false;
  }
}

void Doctor::addClocks(Measurement& measurement) const
{
  GloveClocks clocks;
  std::ifstream file(gloveCapture_, std::ios::binary);
  for (std::vector<char> piece(std::size_t{1} << 20); file;) {
    file.read(piece.data(), static_cast<std::streamsize>(piece.size()));
    const auto* const bytes = reinterpret_cast<const std::uint8_t*>(piece.data());
    clocks.add({bytes, static_cast<std::size_t>(file.gcount())});
  }
  for (std::size_t glove = 0; glove < measurement.labels.size(); ++glove) {
    measurement.clocks.push_back(clocks.error(glove));
    measurement.sampledPerSecond.push_back(clocks.framesPerSecond(glove));
  }
}

void Doctor::skipRest()
{
  const Step* const failed = steps_.firstFailure();
  if (failed == nullptr) return;
  const std::string why = fmt::format("not reached, because the step {} failed", failed->name);
  if (!steps_.has(std::string(linkSteps.back()))) listener_.onStep(skipped("the rest", why));
  for (const std::string_view name : linkSteps) {
    if (steps_.has(std::string(name))) continue;
    steps_.addUnreached(skipped(std::string(name), why));
  }
}

std::string Doctor::verdict() const
{
  if (const Step* const failed = steps_.firstFailure()) {
    return fmt::format("gloves can't be recorded: the step {} failed.", failed->name);
  }
  const std::size_t warnings = steps_.warnings();
  if (warnings == 0) return "everything works: gloves can be recorded.";
  return fmt::format("gloves can be recorded, with {} warning{}.", warnings, warnings == 1 ? "" : "s");
}

ExitCode Doctor::exitCode() const
{
  const Step* const failed = steps_.firstFailure();
  return failed == nullptr ? ExitCode::done : failed->code;
}

std::string Doctor::settingsText() const
{
  settings::Values values = source_.settings();
  values.metaData.clear();
  return ::settingsText(values);
}

std::vector<Doctor::Kept> Doctor::kept() const
{
  std::vector<Kept> kept;
  std::error_code error;
  const auto keep = [&](const std::string& name, const fs::path& path) {
    if (fs::is_regular_file(path, error)) kept.push_back({name, path});
  };
  keep("dongle.pcapng", dongleCapture_);
  keep("gloves.pcapng", gloveCapture_);
  const fs::path& logs = source_.logs();
  for (fs::recursive_directory_iterator file(logs, error), end; !error && file != end;
       file.increment(error)) {
    keep("log/" + file->path().lexically_relative(logs).generic_string(), file->path());
  }
  return kept;
}

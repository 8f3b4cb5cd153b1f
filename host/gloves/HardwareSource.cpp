#include "host/gloves/HardwareSource.h"

#include <fmt/chrono.h>
#include <fmt/format.h>

#include <algorithm>
#include <ctime>

#include "host/base/EnvironmentVariables.h"
#include "host/base/Limits.h"
#include "host/base/OutputFile.h"
#include "host/base/System.h"
#include "host/base/Text.h"
#include "host/gloves/ModuleNames.h"
#include "host/gloves/Ports.h"
#include "host/gloves/SettingsFile.h"

namespace fs = std::filesystem;

namespace {

// A new subfolder for this run.
fs::path newLogFolder(const fs::path& wanted)
{
  const std::string name = fmt::format("tessel-{:%Y%m%d-%H%M%S}", fmt::localtime(std::time(nullptr)));
  fs::path folder = wanted / name;
  try {
    fs::create_directories(wanted);
    for (int next = 2; !fs::create_directory(folder); ++next) {
      folder = wanted / fmt::format("{}-{}", name, next);
    }
  } catch (const fs::filesystem_error& error) {
    throw Failure(ExitCode::output,
                  fmt::format("the folder {} can't be created: {}.", utf8(folder), error.code().message()),
                  "Choose another folder with --log.");
  }
  return folder;
}

bool canBeFiltered(std::int32_t serialNumber)
{
  return serialNumber >= 1 && serialNumber <= 65534;
}

std::vector<std::uint32_t> acceptedSerialNumbers(const settings::Values& values)
{
  std::vector<std::uint32_t> accepted;
  for (const std::int32_t number : values.serialNumber) {
    if (canBeFiltered(number)) accepted.push_back(static_cast<std::uint32_t>(number));
  }
  return accepted;
}

void reportWarnings(const SettingsReport& report, const fs::path& file, const Notice& notice)
{
  constexpr std::size_t maxShown = 5;
  if (report.isClean()) return;
  notice(fmt::format("The settings file {} has errors or warnings:", utf8(file)));
  for (const std::string& line : errorLines(report, maxShown)) {
    notice(line);
  }
  notice(fmt::format("For all details: tessel settings {}", utf8(file)));
}

// Before the gloves are opened, so that nothing is recorded that can't be read back.
void checkElements(const settings::Values& values, const fs::path& file)
{
  const std::int64_t elements = values.elementCount;
  const std::int64_t aux = values.auxCount;
  if (elements >= 1 && aux >= 0 && elements + aux <= static_cast<std::int64_t>(maxElements)) return;
  throw Failure(ExitCode::settings,
                fmt::format("nothing can be recorded with the settings file {}: TesselElementCount is {}, "
                            "TesselAuxCount {}; a record has 1 to {} elements, auxiliary ones included.",
                            utf8(file), elements, aux, maxElements),
                "Write a valid one with `tessel settings FILE --write`, or omit --settings.");
}

}  // namespace

HardwareSource::HardwareSource(const HardwareOptions& options) : options_(options)
{
  if (options.settings.empty()) {
    settings_ = valuesFor(options.gloves == Gloves::both ? 2 : 1);
    writeSettings(settings_);
  } else {
    SettingsReport report = readSettings(options.settings);
    reportWarnings(report, options.settings, options.notice);
    settings_ = std::move(report.values);
    checkElements(settings_, options.settings);
    settingsFile_ = options.settings;
  }
  if (!options.logFolder.empty()) {
    logs_ = newLogFolder(options.logFolder);
    if (options.announcesLog) options.notice(fmt::format("Log: {}", utf8(logs_)));
  }
  if (options.isSimulated) simulate(options);
}

HardwareSource::~HardwareSource()
{
  if (!simulated_) return;
  if (earlierPorts_) {
    host::setEnvironment(environment::serialPorts.name, *earlierPorts_);
  } else {
    host::unsetEnvironment(environment::serialPorts.name);
  }
}

void HardwareSource::simulate(const HardwareOptions& options)
{
  SimulationOptions simulation;
  simulation.hasLeft = options.gloves != Gloves::right;
  simulation.hasRight = options.gloves == Gloves::right || settings_.numBleModules > 1;
  // Simulate gloves that the settings accept.
  if (const auto serials = acceptedSerialNumbers(settings_); !serials.empty()) {
    simulation.leftSerialNumber = serials.front();
    simulation.rightSerialNumber = serials.size() > 1 ? serials[1] : serials.front() % 99999 + 1;
  }
  simulation.scenario = options.scenario;
  simulation.setup = options.simulation;
  simulation.seed = options.seed;
  simulated_ = std::make_unique<SimulatedGloves>(simulation);
  earlierPorts_ = portsVariable();
  host::setEnvironment(environment::serialPorts.name, simulated_->portsVariable());
  simulated_->start();
}

void HardwareSource::writeSettings(const settings::Values& values)
{
  settingsFile_ = scratch_.path() / "settings.txt";
  OutputFile text(settingsFile_);
  text.append(settingsText(values));
  text.close();
}

void HardwareSource::accept(const std::vector<std::string>& modules)
{
  settings::Values values = settings_;
  values.serialNumber.clear();
  for (const std::string& module : modules) {
    values.serialNumber.push_back(serialNumberOfModule(module));
  }
  // The plug-in ignores other numbers, and then a filter would shut out a glove that has none.
  if (std::ranges::all_of(values.serialNumber, canBeFiltered)) writeSettings(values);
}

fs::path HardwareSource::nextLogFolder()
{
  if (logs_.empty()) return scratch_.path();
  fs::path folder = logs_ / fmt::format("connection-{}", made_);
  std::error_code error;
  if (!fs::create_directory(folder, error)) {
    throw Failure(ExitCode::output,
                  fmt::format("the folder {} can't be created: {}.", utf8(folder), error.message()),
                  "Choose another folder with --log.");
  }
  return folder;
}

std::unique_ptr<Hardware> HardwareSource::make()
{
  ++made_;
  return std::make_unique<Hardware>(Hardware::Parts{.plugin = options_.plugin,
                                                    .settingsFile = settingsFile_,
                                                    .settings = settings_,
                                                    .gloves = options_.gloves,
                                                    .logFolder = nextLogFolder(),
                                                    .isLogged = !logs_.empty(),
                                                    .isSimulated = simulated_ != nullptr,
                                                    .patience = patience_,
                                                    .onLoaded = options_.onLoaded});
}

#include "host/gloves/Hardware.h"

#include <fmt/chrono.h>
#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <chrono>
#include <ctime>

#include "HwPlugins/HwTessel/platform/Platform.h"
#include "HwPlugins/HwTessel/serial/SerialPort.h"
#include "host/base/Console.h"
#include "host/base/Limits.h"
#include "host/base/OutputFile.h"
#include "host/base/System.h"
#include "host/base/Text.h"
#include "host/gloves/ModuleNames.h"
#include "host/gloves/OpeningFailure.h"
#include "host/gloves/SettingsFile.h"

namespace fs = std::filesystem;

namespace {

// The clock that the plug-in reads. It counts from the start of the program: the plug-in compares times as
// plain numbers, so its timestamps are wrong for seconds when the clock wraps, and the computer's uptime may
// wrap during a recording. It starts well above 0, which the plug-in treats specially, and above the first
// device times, which are up to 13 s.
std::uint32_t clockMs()
{
  using namespace std::chrono_literals;
  static const auto start = host::uptime() - 60s;
  return static_cast<std::uint32_t>(
      std::chrono::duration_cast<std::chrono::milliseconds>(host::uptime() - start).count());
}

// A new subfolder, because a log manager deletes existing logs in its folder.
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
  console::report("Log: {}\n", utf8(folder));
  return folder;
}

std::vector<std::uint32_t> acceptedSerialNumbers(const settings::Values& values)
{
  std::vector<std::uint32_t> accepted;
  for (const std::int32_t number : values.serialNumber) {
    if (number >= 1 && number <= 65534) accepted.push_back(static_cast<std::uint32_t>(number));
  }
  return accepted;
}

void printWarnings(const SettingsReport& report, const fs::path& file)
{
  constexpr std::size_t maxShown = 5;
  if (report.isClean()) return;
  console::report("The settings file {} has errors or warnings:\n", utf8(file));
  for (const std::string& line : errorLines(report, maxShown)) {
    console::report("{}\n", line);
  }
  console::report("For all details: tessel settings {}\n", utf8(file));
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

// Does not open the port, because it may be called for every message: reads can fail repeatedly.
bool isDongleGone()
{
  return serialFindPort(platform::dongleName) < 0;
}

Failure notAPlugin()
{
  return {ExitCode::plugin, "the plug-in can't create a hardware object.",
          "Omit --plugin to use the plug-in that came with the program."};
}

}  // namespace

Hardware::Hardware(const HardwareOptions& options)
    : gloves_(options.gloves), plugin_(loadPlugin(options.plugin))
{
  const fs::path settings = settingsFile(options);
  const fs::path logs = options.logFolder.empty() ? scratch_.path() : newLogFolder(options.logFolder);
  services_.folders[L"log"] = folder::Folder(widen(logs / ""));
  folder::folders_ = &services_.folders;
  services_.log = std::make_unique<LogManager>(options.logFolder.empty() ? 0 : 2);
  currentLogManager = services_.log.get();
  plugin_->setFolders(&services_.folders);
  plugin_->setLog(services_.log.get());

  if (options.isSimulated) {
    SimulationOptions simulation;
    simulation.hasLeft = gloves_ != Gloves::right;
    simulation.hasRight = gloves_ == Gloves::right || settings_.numBleModules > 1;
    // Simulate gloves that the settings accept.
    if (const auto serials = acceptedSerialNumbers(settings_); !serials.empty()) {
      simulation.leftSerialNumber = serials.front();
      simulation.rightSerialNumber = serials.size() > 1 ? serials[1] : serials.front() % 99999 + 1;
    }
    simulation.scenario = options.scenario;
    simulated_ = std::make_unique<SimulatedGloves>(simulation);
    host::setEnvironment("TESSEL_SERIAL_PORTS", simulated_->portsVariable());
    simulated_->start();
  }
  makeObject(settings);
}

Hardware::Services::~Services()
{
  currentLogManager = nullptr;
  folder::folders_ = nullptr;
}

fs::path Hardware::settingsFile(const HardwareOptions& options)
{
  if (!options.settings.empty()) {
    SettingsReport report = readSettings(options.settings);
    printWarnings(report, options.settings);
    settings_ = std::move(report.values);
    checkElements(settings_, options.settings);
    return options.settings;
  }
  settings_ = valuesFor(options.gloves == Gloves::both ? 2 : 1);
  fs::path file = scratch_.path() / "settings.txt";
  OutputFile text(file);
  text.append(settingsText(settings_));
  text.close();
  return file;
}

void Hardware::makeObject(const fs::path& settings)
{
  try {
    hardware_ = {plugin_->create(widen(settings).c_str(), clockMs, L"tessel"), {plugin_.get()}};
  } catch (const std::wstring& words) {
    throw openingFailure(oneLine(words), simulated_ != nullptr);
  } catch (const std::exception&) {
    throw;
  } catch (...) {
    throw notAPlugin();
  }
  if (!hardware_) throw notAPlugin();
  store_ = std::make_unique<plugin::RecordStore>(hardware_->getNativeSize());
  hardware_->mapping_ = &store_->map;
}

void Hardware::open(StopRequest& stopRequest)
{
  std::int32_t result = 0;
  if (!stopRequest.flag()) {
    stopRequest.during([&] { result = hardware_->configure(); }, [this] { hardware_->signalShutdown(); });
  }
  if (stopRequest.flag())
    throw Failure(ExitCode::interrupted, "interrupted before the gloves were ready.", "");
  if (result != 0) throw openingFailure(oneLine(hardware_->lastError_), simulated_ != nullptr);
  checkSide();
}

void Hardware::checkSide()
{
  if (gloves_ != Gloves::left && gloves_ != Gloves::right) return;
  const std::string wanted = gloves_ == Gloves::left ? "left" : "right";
  const auto modules = askModules();
  const std::string name = modules.empty() ? "" : modules.front();
  const std::string side = sideOfModule(name);
  if (side == wanted) return;
  throw Failure(ExitCode::noGloves,
                fmt::format("the glove found is {}, {}, not a {} one.", name,
                            side == "glove" ? "of unknown side" : fmt::format("a {} one", side), wanted),
                fmt::format("Switch it off and the {0} one on. If both are on, select the {0} one with "
                            "TesselSerialNumber in a settings file and --settings.",
                            wanted));
}

std::vector<std::string> Hardware::askModules()
{
  return parseModuleMap(reply("GetModuleMap"));
}

bool Hardware::read()
{
  link_.beginRead(host::uptime());
  const bool isRead = hardware_->readRecord() == 0;
  const bool isNew = isRead && store_->takeNew();
  const TurnResult result = !isRead ? TurnResult::failed : isNew ? TurnResult::record : TurnResult::nothing;
  const LinkWatch::Verdict verdict = link_.endRead(host::uptime(), result);
  if (!isRead && isDongleGone()) throw linkFailure(LinkWatch::Verdict::silent);
  if (verdict != LinkWatch::Verdict::alive) throw linkFailure(verdict);
  return isNew;
}

void Hardware::close()
{
  hardware_->close();
}

Failure Hardware::linkFailure(LinkWatch::Verdict verdict) const
{
  const std::string stall = fmt::format("a pause of this computer of {:.1f} s", link_.stalls().latest);
  if (isDongleGone()) {
    const std::string since = link_.resumed() ? ", after " + stall : "";
    return {ExitCode::silence, fmt::format("the dongle is gone{}.", since),
            "Plug it in again. If nobody unplugged it, try another USB port."};
  }
  if (verdict == LinkWatch::Verdict::framesTooShort) {
    return {
        ExitCode::settings,
        fmt::format("the gloves send fewer elements than the {} in the settings.", settings_.elementCount),
        "Set TesselElementCount to the elements of all gloves together, usually 125 per glove."};
  }
  if (verdict == LinkWatch::Verdict::lostInStall) {
    return {ExitCode::silence,
            fmt::format("the link to the gloves was lost: no complete frame arrived after {}.", stall),
            "Record again. Keep the computer awake and the program that reads the output running."};
  }
  return {ExitCode::silence, "the gloves stopped sending: no message or no complete frame arrived any more.",
          "Check that they are switched on, charged and in range."};
}

std::wstring Hardware::reply(const std::string& command)
{
  std::wstring reply;
  if (hardware_->sendCommand(widen(command).c_str(), reply) != 0) {
    throw Failure(ExitCode::refused,
                  fmt::format("the plug-in has no reply to \"{}\"{}", command,
                              reply.empty() ? "." : fmt::format(": {}.", narrow(reply))),
                  "For a list of commands: tessel send --help");
  }
  return reply;
}

std::string Hardware::ask(const std::string& text)
{
  return narrow(reply(text));
}

std::optional<double> Hardware::battery()
{
  const std::string text = ask("BatteryLevel");
  double level = 0;
  std::from_chars(text.data(), text.data() + text.size(), level);
  return level > 0 ? std::optional(level) : std::nullopt;
}

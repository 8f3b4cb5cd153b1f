#include "host/gloves/Hardware.h"

#include <fmt/format.h>

#include <atomic>
#include <charconv>
#include <chrono>
#include <exception>

#include "HwPlugins/HwTessel/platform/Platform.h"
#include "HwPlugins/HwTessel/serial/SerialPort.h"
#include "host/base/System.h"
#include "host/base/Text.h"
#include "host/base/Ticker.h"
#include "host/gloves/ModuleNames.h"
#include "host/gloves/OpeningFailure.h"

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

Hardware::Hardware(const Parts& parts)
    : settings_(parts.settings),
      gloves_(parts.gloves),
      isSimulated_(parts.isSimulated),
      plugin_(loadPlugin(parts.plugin)),
      link_(parts.patience)
{
  services_.folders[L"log"] = folder::Folder(widen(parts.logFolder / ""));
  folder::folders_ = &services_.folders;
  services_.log = std::make_unique<LogManager>(parts.isLogged ? 2 : 0);
  currentLogManager = services_.log.get();
  plugin_->setFolders(&services_.folders);
  plugin_->setLog(services_.log.get());
  makeObject(parts.settingsFile);
  parts.onLoaded();
}

Hardware::Services::~Services()
{
  currentLogManager = nullptr;
  folder::folders_ = nullptr;
}

void Hardware::makeObject(const fs::path& settings)
{
  try {
    hardware_ = {plugin_->create(widen(settings).c_str(), clockMs, L"tessel"), {plugin_.get()}};
  } catch (const std::wstring& words) {
    throw openingFailure(oneLine(words), isSimulated_);
  } catch (const std::exception&) {
    throw;
  } catch (...) {
    throw notAPlugin();
  }
  if (!hardware_) throw notAPlugin();
  // A file that the plug-in can't read leaves its settings as they were, and it does not say so.
  const std::int64_t elements = std::int64_t{settings_.elementCount} + settings_.auxCount;
  if (hardware_->getNativeSize() != static_cast<std::uint64_t>(std::max<std::int64_t>(elements, 0))) {
    throw Failure(ExitCode::settings,
                  fmt::format("the plug-in did not use the settings file {}.", utf8(settings)),
                  "Try again, and check the disk and the permissions.");
  }
  store_ = std::make_unique<plugin::RecordStore>(hardware_->getNativeSize());
  hardware_->mapping_ = &store_->map;
}

void Hardware::open(const GoesOn& goesOn)
{
  std::int32_t result = 0;
  std::atomic<bool> isGivenUp = !goesOn();
  std::exception_ptr error;
  if (!isGivenUp) {
    const Ticker ticker([&] {
      try {
        if (!isGivenUp) isGivenUp = !goesOn();
      } catch (...) {
        error = std::current_exception();
        isGivenUp = true;
      }
      // Repeated, since a signal before the plug-in has made its link has no effect.
      if (isGivenUp) hardware_->signalShutdown();
    });
    result = hardware_->configure();
  }
  if (error) std::rethrow_exception(error);
  if (isGivenUp) throw Failure(ExitCode::interrupted, "interrupted before the gloves were ready.", "");
  if (result != 0) throw openingFailure(oneLine(hardware_->lastError_), isSimulated_);
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
  // Of several gloves the plug-in takes the one that it meets first.
  throw OpeningFailure(
      ExitCode::noGloves,
      fmt::format("the glove found is {}, {}, not a {} one.", name,
                  side == "glove" ? "of unknown side" : fmt::format("a {} one", side), wanted),
      fmt::format("Switch it off and the {0} one on. If both are on, select the {0} one with "
                  "TesselSerialNumber in a settings file and --settings.",
                  wanted),
      true);
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

// `tessel info`: shows the port, the dongle and the gloves.

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <memory>

#include "host/base/Console.h"
#include "host/commands/CommandLine.h"
#include "host/commands/Commands.h"
#include "host/commands/HardwareOptions.h"
#include "host/gloves/GloveFirmware.h"
#include "host/gloves/ModuleNames.h"
#include "host/gloves/Ports.h"
#include "host/session/GloveConnection.h"

namespace {

struct Options {
  HardwareOptions hardware;
  bool isJson = false;
};

struct Findings {
  std::vector<Port> ports;
  std::vector<std::string> modules;
  std::vector<GloveFirmware> firmware;  // in the order of the modules
  std::optional<double> battery;
  bool wereSensorsChecked = false;
};

// The battery level comes with the frames.
std::optional<double> waitForBattery(Hardware& hardware)
{
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(2);
  while (std::chrono::steady_clock::now() < deadline) {
    const bool isNew = hardware.read();
    if (const auto level = hardware.battery(); isNew && level) return level;
  }
  return std::nullopt;
}

Findings lookAt(const HardwareOptions& options, const StopRequest& stopRequest)
{
  GloveConnection connection(options);
  Hardware& hardware = connection.open(stopRequest);
  return {.ports = listPorts(),
          .modules = hardware.askModules(),
          .firmware = parseFirmware(hardware.ask("GetFirmwareVersion")),
          .battery = waitForBattery(hardware),
          .wereSensorsChecked = !hardware.settings().skipSensorStartupCheck};
}

// Without a settings file and --gloves, one glove is accepted as well as two.
Findings look(const HardwareOptions& options)
{
  constexpr double maxWaitForSecond = 10;
  const StopRequest stopRequest;
  const bool isOneEnough = options.gloves == Gloves::both && options.settings.empty();
  if (!isOneEnough) return lookAt(options, stopRequest);
  HardwareOptions attempt = options;
  try {
    attempt.waitSeconds = std::min(options.waitSeconds, maxWaitForSecond);
    return lookAt(attempt, stopRequest);
  } catch (const Failure& failure) {
    if (failure.code() != ExitCode::noGloves) throw;
  }
  attempt.gloves = Gloves::one;
  attempt.waitSeconds = std::max(options.waitSeconds - maxWaitForSecond, 0.0);
  return lookAt(attempt, stopRequest);
}

void printText(const Findings& findings)
{
  for (const Port& port : findings.ports) {
    if (port.isUsed) console::print("Port     {}, {}\n", port.friendlyText, port.path);
  }
  console::print("Dongle   responds; its firmware is supported\n");
  for (std::size_t index = 0; index < findings.modules.size(); ++index) {
    const std::string& module = findings.modules[index];
    console::print("Glove    {} ({}), serial number {}\n", module, sideOfModule(module),
                   serialNumberOfModule(module));
    if (index >= findings.firmware.size()) continue;
    const GloveFirmware& firmware = findings.firmware[index];
    console::print("         part {} revision {}, firmware build {} from commit {:x}{}\n",
                   firmware.partNumber, firmware.revision, firmware.build, firmware.commit,
                   firmware.date.empty() ? "" : fmt::format(", dated {}", firmware.date));
  }
  const char* const whose = findings.modules.size() > 1 ? ", the lower value of both gloves" : "";
  console::print("Battery  {}\n", findings.battery ? fmt::format("{:.0f}%{}", *findings.battery * 100, whose)
                                                   : "empty, or not reported by the gloves");
  console::print("Sensors  {}\n", findings.wereSensorsChecked
                                      ? "all working"
                                      : "not checked: TesselSkipSensorStartupCheck is 1");
}

void printJson(const Findings& findings)
{
  nlohmann::ordered_json json;
  for (const Port& port : findings.ports) {
    if (port.isUsed) json["port"] = {{"text", port.friendlyText}, {"path", port.path}};
  }
  json["gloves"] = nlohmann::ordered_json::array();
  for (std::size_t index = 0; index < findings.modules.size(); ++index) {
    const std::string& module = findings.modules[index];
    nlohmann::ordered_json glove{
        {"module", module}, {"side", sideOfModule(module)}, {"serialNumber", serialNumberOfModule(module)}};
    if (index < findings.firmware.size()) glove["firmware"] = firmwareJson(findings.firmware[index]);
    json["gloves"].push_back(std::move(glove));
  }
  json["battery"] = findings.battery ? nlohmann::ordered_json(*findings.battery) : nullptr;
  json["sensors"] = findings.wereSensorsChecked ? "working" : "not asked";
  console::printJson(json);
}

void run(const Options& options)
{
  if (!options.isJson) console::report("Looking for the dongle and the gloves...\n");
  const Findings findings = look(options.hardware);
  options.isJson ? printJson(findings) : printText(findings);
}

}  // namespace

void addInfo(CLI::App& tessel, ExitCode& exitCode)
{
  using namespace command_line;
  const auto options = std::make_shared<Options>();
  CLI::App& command = addCommand(
      tessel, "info", "Shows the dongle and the gloves: serial numbers, firmware, battery and sensors.");
  addHardwareOptions(command, options->hardware);
  addFlag(command, "--json", options->isJson, "Print JSON");
  setNotes(command, "Examples:  tessel info\n           tessel info --sim");
  onRun(command, [options, &exitCode] {
    run(*options);
    exitCode = ExitCode::done;
  });
}

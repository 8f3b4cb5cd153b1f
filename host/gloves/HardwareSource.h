// Makes the hardware of each connection, one after the other: the plug-in is loaded for each, since what it
// knows of dongle and gloves outlasts its objects. Holds what the connections have in common: settings, the
// folder of the logs, and the simulated gloves if requested. Threads: one. Errors: a Failure.
#pragma once

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "HwPlugins/HwTessel/Settings.h"
#include "host/base/Console.h"
#include "host/base/ScratchFolder.h"
#include "host/gloves/Hardware.h"
#include "host/gloves/SimulatedGloves.h"

// Receives a line for the user, which may contain untrusted text.
using Notice = std::function<void(const std::string& line)>;

struct HardwareOptions {
  std::filesystem::path plugin;    // empty: the default one
  std::filesystem::path settings;  // empty: written for the gloves
  Gloves gloves = Gloves::both;
  std::filesystem::path logFolder;  // empty: no log
  bool announcesLog = true;
  bool isSimulated = false;
  std::filesystem::path scenario;       // of the simulation; empty: none
  std::vector<std::string> simulation;  // control commands, executed before the simulation begins
  std::uint64_t seed = 1;               // of the simulation
  double waitSeconds = 60;              // for how long opening is repeated
  Notice notice = console::notice;
  std::function<void()> onLoaded = [] {};  // after each loading of the plug-in, and its first use
};

class HardwareSource {
 public:
  // Errors and warnings of the settings file are notices.
  explicit HardwareSource(const HardwareOptions& options);
  ~HardwareSource();
  HardwareSource(const HardwareSource&) = delete;
  HardwareSource& operator=(const HardwareSource&) = delete;

  // The settings that the plug-in uses.
  const settings::Values& settings() const { return settings_; }
  // Of the logs of this run, in a subfolder for each connection; empty: no log.
  const std::filesystem::path& logs() const { return logs_; }

  // Of all hardware made from now on: see LinkWatch.
  void setPatience(LinkWatch::Time patience) { patience_ = patience; }
  // All hardware made from now on is for gloves of these names: the plug-in passes over others where their
  // serial numbers let it.
  void accept(const std::vector<std::string>& modules);
  // Loads the plug-in. The hardware made before must be gone. A log gets a subfolder of its own.
  std::unique_ptr<Hardware> make();
  // Null without a simulation.
  SimulatedGloves* simulated() { return simulated_.get(); }

 private:
  std::filesystem::path nextLogFolder();
  void writeSettings(const settings::Values& values);
  void simulate(const HardwareOptions& options);

  const HardwareOptions options_;
  settings::Values settings_;
  ScratchFolder scratch_;
  std::filesystem::path settingsFile_;
  std::filesystem::path logs_;  // of this run; empty: no log
  unsigned made_ = 0;
  LinkWatch::Time patience_{0};
  std::optional<std::string> earlierPorts_;  // portsVariable() without the simulation
  std::unique_ptr<SimulatedGloves> simulated_;
};

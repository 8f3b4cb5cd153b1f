// Walks from the computer to the sample: system and port, dongle and radio, gloves, and some seconds of
// measurement. A step that fails ends the walk but for the disk and the computer's load, which are always
// looked at; what was not reached is listed as skipped.
// Threads: one. Errors: a Failure of the settings or the simulation before the first step, and
// Failure(interrupted).
#pragma once

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "host/base/ScratchFolder.h"
#include "host/base/StopRequest.h"
#include "host/doctor/Measurement.h"
#include "host/doctor/StepList.h"
#include "host/doctor/SystemFacts.h"
#include "host/gloves/HardwareSource.h"
#include "host/session/HardwareConnector.h"

struct DoctorOptions {
  HardwareOptions hardware;
  std::filesystem::path folder = ".";  // where recordings will be written
  std::filesystem::path root = "/";    // of the system's files
  double seconds = 10;                 // of measurement
};

class Doctor {
 public:
  // Called with what is done next, and with each step's result.
  struct Listener {
    std::function<void(const std::string& text)> onPhase;
    std::function<void(const Step& step)> onStep;
  };

  Doctor(const DoctorOptions& options, const StopRequest& stopRequest, Listener listener);
  Doctor(const Doctor&) = delete;
  Doctor& operator=(const Doctor&) = delete;

  void examine();

  const StepList& steps() const { return steps_; }
  const SystemFacts& facts() const { return facts_; }
  // In one line.
  std::string verdict() const;
  ExitCode exitCode() const;
  // That were used; without the user's own text.
  std::string settingsText() const;
  // What was kept of the walk: captures and the plug-in's log, as long as this object lives.
  struct Kept {
    std::string name;  // in a report
    std::filesystem::path path;
  };
  std::vector<Kept> kept() const;

 private:
  void checkGoesOn() const;
  void probe();
  void useGloves();
  bool openGloves(HardwareConnector& connector);
  void addClocks(Measurement& measurement) const;
  void skipRest();

  const DoctorOptions options_;
  const StopRequest& stopRequest_;
  const Listener listener_;
  ScratchFolder scratch_;
  const std::filesystem::path dongleCapture_, gloveCapture_;
  SystemFacts facts_;
  HardwareSource source_;
  StepList steps_;
};

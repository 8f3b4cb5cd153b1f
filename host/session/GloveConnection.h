// The gloves for a command that uses them once: opens them with patience, and says what it waits for.
#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <string>

#include "host/base/StopRequest.h"
#include "host/gloves/HardwareSource.h"
#include "host/session/HardwareConnector.h"
#include "host/session/LinkCapture.h"
#include "host/session/PatientOpening.h"

// Opens the gloves for the first time; reports failed attempts on standard error, and each to `onFailed`. A
// Failure if it fails.
RecordSource& openGloves(GloveConnector& gloves, double waitSeconds, const StopRequest& stopRequest,
                         const std::function<void(const FailedAttempt&)>& onFailed = {});

// Captures the link of a plug-in with these settings, into this file unless it is empty. Null, with a notice
// that says the consequence, if there can be no capture and no file is wanted; otherwise a Failure.
std::unique_ptr<LinkCapture> startCapture(const settings::Values& settings, const std::filesystem::path& file,
                                          const std::string& consequence, const Notice& notice,
                                          const SyncRules& sync = {});

class GloveConnection {
 public:
  explicit GloveConnection(const HardwareOptions& options);

  Hardware& open(const StopRequest& stopRequest);

 private:
  const double waitSeconds_;
  HardwareSource source_;
  std::unique_ptr<LinkCapture> capture_;
  HardwareConnector connector_;
};

#include "host/session/HardwareConnector.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include "host/gloves/OpeningFailure.h"

RecordSource& HardwareConnector::connect(const GoesOn& goesOn)
{
  disconnect();
  try {
    hardware_ = source_.make();
    hardware_->open(goesOn);
    checkModules();
  } catch (...) {
    disconnect();
    throw;
  }
  if (capture_ != nullptr) capture_->accounts().forgetHeard();
  return *hardware_;
}

void HardwareConnector::disconnect()
{
  if (!hardware_) return;
  hardware_->close();
  hardware_.reset();
  if (capture_ != nullptr) capture_->endConnection();
}

std::optional<HeardDevices> HardwareConnector::heard() const
{
  return capture_ == nullptr ? std::nullopt : std::optional(capture_->accounts().snapshot().heard);
}

void HardwareConnector::acceptNoOthers()
{
  accepted_ = modules();
  source_.accept(accepted_);
}

void HardwareConnector::checkModules() const
{
  if (accepted_.empty()) return;
  const auto modules = hardware_->askModules();
  if (modules == accepted_) return;
  throw OpeningFailure(
      ExitCode::noGloves,
      fmt::format("{} answered instead of {}.", fmt::join(modules, " and "), fmt::join(accepted_, " and ")),
      "Switch other gloves off, or accept any with --any-glove.", true);
}

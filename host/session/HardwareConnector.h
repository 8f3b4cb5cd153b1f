// Connects gloves through the plug-in, which is loaded for each attempt and unloaded at its end.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "host/gloves/Hardware.h"
#include "host/gloves/HardwareSource.h"
#include "host/session/GloveConnector.h"
#include "host/session/LinkCapture.h"

class HardwareConnector final : public GloveConnector {
 public:
  // Both must outlive it. `capture`: null for none.
  HardwareConnector(HardwareSource& source, LinkCapture* capture) : source_(source), capture_(capture) {}

  RecordSource& connect(const GoesOn& goesOn) override;
  std::vector<std::string> modules() override { return hardware_->askModules(); }
  void disconnect() override;
  std::optional<HeardDevices> heard() const override;

  // While connected.
  Hardware& hardware() { return *hardware_; }
  // From now on no other gloves than those that are connected now, in the same order.
  void acceptNoOthers();
  // From now on nothing is captured.
  void dropCapture() { capture_ = nullptr; }

 private:
  void checkModules() const;

  HardwareSource& source_;
  LinkCapture* capture_;
  std::unique_ptr<Hardware> hardware_;
  std::vector<std::string> accepted_;  // empty: any
};

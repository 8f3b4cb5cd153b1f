// Connects virtual gloves as a host does it: loads the plug-in for each attempt, and passes what it captures
// to the accounts. Each read compares the plug-in's record with the ledger's.
#pragma once

#include <chrono>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "HwPlugins/HwTessel/Settings.h"
#include "host/capture/LiveAccounts.h"
#include "host/gloves/RecordSource.h"
#include "host/session/GloveConnector.h"
#include "tests/support/VirtualPlugin.h"

// A record that the plug-in has delivered.
struct DeliveredRecord {
  std::size_t connection;  // counted from 0
  Ledger::Record truth;
};

class VirtualConnector final : public GloveConnector {
 public:
  // All must outlive it. `accounts`: null without a capture.
  VirtualConnector(VirtualGloves& gloves, LiveAccounts* accounts, const settings::Values& settings);
  ~VirtualConnector() override;

  RecordSource& connect(const GoesOn& goesOn) override;
  void disconnect() override;
  std::optional<HeardDevices> heard() const override;

  // From now on no other gloves than those that are connected now.
  void acceptNoOthers();
  std::vector<std::string> modules() override;

  // In order; the reader removes what it has compared.
  std::deque<DeliveredRecord> delivered;

 private:
  class Source;

  void open(const GoesOn& goesOn);
  // While this lives, several times a virtual second.
  void repeat(const std::weak_ptr<const bool>& life, const std::function<void()>& tick);
  void passCapture();

  VirtualGloves& gloves_;
  LiveAccounts* const accounts_;
  settings::Values settings_;
  std::vector<std::string> accepted_;  // empty: any
  std::unique_ptr<VirtualPlugin> plugin_;
  std::unique_ptr<Source> source_;
  std::size_t connections_ = 0;
  std::chrono::nanoseconds nextPass_{0};
};

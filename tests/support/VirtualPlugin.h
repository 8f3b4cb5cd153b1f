// The plug-in in virtual time, loaded and driven as a host does it. Each object is one connection, from
// loading to unloading; one at a time.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "shared/PluginLibrary.h"
#include "shared/RecordStore.h"
#include "tests/support/HostLog.h"
#include "tests/support/VirtualGloves.h"

// The text of a settings file for this number of gloves in a record, and of the elements of each.
std::string pluginSettings(std::size_t gloves, std::size_t elements);

// Lets the plug-in use this platform while it is loaded. Loads it a first time, so that the first function
// called is not one of a plug-in.
struct PluginOnPlatform {
  explicit PluginOnPlatform(SimulatedPlatform& platform);

  os::SharedObject object;
};

// At a port of the simulated platform.
class PlatformPlugin {
 public:
  // `settings`: the text of the settings file.
  PlatformPlugin(SimulatedPlatform& platform, const std::string& settings);
  PlatformPlugin(const PlatformPlugin&) = delete;
  PlatformPlugin& operator=(const PlatformPlugin&) = delete;

  // Opens the gloves. Returns the plug-in's words, or nothing if it succeeded.
  std::optional<std::wstring> open();
  void signalShutdown() { hardware_->signalShutdown(); }
  std::wstring ask(const std::wstring& command);

  enum class Outcome { failed, nothing, record };
  // A record's elements are in the store.
  Outcome read();
  const plugin::RecordStore& store() const { return store_; }
  void close() { hardware_->close(); }
  void unload() { hardware_.reset(); }

 private:
  PluginOnPlatform platform_;
  plugin::Library library_;
  HostLog log_{0};
  std::unique_ptr<HwInterface, plugin::Library::Released> hardware_;
  plugin::RecordStore store_;
};

// At the port of virtual gloves.
// Errors: std::runtime_error if the plug-in does not deliver what the ledger expects.
class VirtualPlugin {
 public:
  VirtualPlugin(VirtualGloves& gloves, const std::string& settings)
      : gloves_(gloves), plugin_(gloves.platform(), settings)
  {
  }
  // Closes the link, and the ledger too.
  ~VirtualPlugin();
  VirtualPlugin(const VirtualPlugin&) = delete;
  VirtualPlugin& operator=(const VirtualPlugin&) = delete;

  // As of PlatformPlugin.
  std::optional<std::wstring> open();
  void signalShutdown() { plugin_.signalShutdown(); }
  std::wstring ask(const std::wstring& command) { return plugin_.ask(command); }

  struct Reading {
    bool hasFailed;
    std::optional<Ledger::Record> record;  // whose elements are in the store
  };
  Reading read();
  const plugin::RecordStore& store() const { return plugin_.store(); }
  void close();

 private:
  VirtualGloves& gloves_;
  PlatformPlugin plugin_;
};

// The plug-in at the port of virtual gloves, loaded and driven as a host does it. Each object is one
// connection, from loading to unloading; one at a time.
// Errors: std::runtime_error if the plug-in does not deliver what the ledger expects.
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

class VirtualPlugin {
 public:
  // `settings`: the text of the settings file.
  VirtualPlugin(VirtualGloves& gloves, const std::string& settings);
  // Closes the link, and the ledger too.
  ~VirtualPlugin();
  VirtualPlugin(const VirtualPlugin&) = delete;
  VirtualPlugin& operator=(const VirtualPlugin&) = delete;

  // Opens the gloves. Returns the plug-in's words, or nothing if it succeeded.
  std::optional<std::wstring> open();
  void signalShutdown() { hardware_->signalShutdown(); }
  std::wstring ask(const std::wstring& command);

  struct Reading {
    bool hasFailed;
    std::optional<Ledger::Record> record;  // whose elements are in the store
  };
  // `isWritten`: the host keeps the record.
  Reading read(bool isWritten);
  const plugin::RecordStore& store() const { return store_; }
  void close();

 private:
  // Loads it a first time, so that the first function called is not one of a plug-in.
  struct OnPlatform {
    explicit OnPlatform(SimulatedPlatform& platform);

    os::SharedObject object;
  };

  VirtualGloves& gloves_;
  OnPlatform platform_;
  plugin::Library library_;
  HostLog log_{0};
  std::unique_ptr<HwInterface, plugin::Library::Released> hardware_;
  plugin::RecordStore store_;
};

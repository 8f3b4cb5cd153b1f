// The plug-in loaded on a simulated platform, as a host loads it, with one object for a number of gloves.
// Unloaded at destruction.
#pragma once

#include <memory>

#include "shared/PluginLibrary.h"
#include "shared/RecordStore.h"
#include "tests/support/HostLog.h"
#include "tests/support/SimulatedPlatform.h"

class VirtualPlugin {
 public:
  // A record holds this number of elements of each glove. The platform must outlive it.
  VirtualPlugin(SimulatedPlatform& platform, std::size_t gloves, std::size_t elements);
  VirtualPlugin(const VirtualPlugin&) = delete;
  VirtualPlugin& operator=(const VirtualPlugin&) = delete;

  HwInterface& hardware() { return *hardware_; }
  plugin::RecordStore& store() { return *store_; }

 private:
  // Loaded twice, so that the first function called is not one of a plug-in.
  const os::SharedObject object_{TESSEL_TEST_PLUGIN};
  const plugin::Library library_{TESSEL_TEST_PLUGIN};
  HostLog log_{0};
  std::unique_ptr<HwInterface, plugin::Library::Released> hardware_;
  std::unique_ptr<plugin::RecordStore> store_;
};

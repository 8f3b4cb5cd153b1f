// The plug-in as a host of a life has it: loaded, with a log folder that can get lost.
#pragma once

#include <cstdint>

#include "shared/PluginLibrary.h"
#include "tests/soak/World.h"
#include "tests/support/HostLog.h"
#include "tests/support/VirtualPlugin.h"

class LoadedPlugin {
 public:
  LoadedPlugin(World& world, const Surroundings& surroundings);

  // An object of the life's settings; the log folder is there after it. Errors: Broken.
  HwInterface* create(ClockFunction hostClock);
  // Whether it is an object that was not released before.
  bool release(HwInterface* hardware) { return library_.release(hardware); }

  // Its log files can't be made.
  void loseLog();
  void findLog();
  bool isLogLost() const { return isLogLost_; }

  // The settings that this object writes. Errors: Broken if it can't.
  std::string saved(HwInterface& hardware);

 private:
  const Surroundings& surroundings_;
  HostLog log_;
  PluginOnPlatform onPlatform_;
  plugin::Library library_;
  bool isLogLost_ = false;
};

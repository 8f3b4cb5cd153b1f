// Resets the state of the link that lives as long as the process.
#pragma once

#include "link/Modules.h"

struct FreshStatics {
  FreshStatics()
  {
    using namespace link_state;
    dongleVerdict = 0;
    serialFilter.fill(noSerialFilter);
    discoveryState = DiscoveryState::discovery_idle;
    intervalToggle = 0;
    stores = {};
  }
};

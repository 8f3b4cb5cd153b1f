// The steps from the dongle to the gloves, without the plug-in: is the dongle there and does it answer, what
// does it hear, are the wanted gloves among it, and do they answer?
// Threads: one. Errors: a Failure(interrupted) of the probe.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "host/doctor/DongleProbe.h"
#include "host/doctor/StepList.h"

// The gloves with which the user wants to record.
struct WantedGloves {
  std::size_t count = 2;
  std::string side = "";                         // "left" or "right"; empty: any
  std::vector<std::int32_t> serialNumbers = {};  // empty: any
  bool areSensorsChecked = true;                 // the plug-in refuses a glove with faulty sensors
};

// The steps `dongle`, `firmware`, `radio`, `gloves`, `connection`, `versions` and `sensors`, up to the first
// that fails. Takes 6 seconds and at most some 15.
void takeRadioSteps(DongleProbe& probe, const WantedGloves& wanted, StepList& steps);

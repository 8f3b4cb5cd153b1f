// Reads a glove's name out of what a module advertises.
#pragma once

#include <optional>
#include <span>

#include "bgapi/Frame.h"

struct GloveName {
  std::span<const std::uint8_t> text;  // in the payload; ends with the event's data at the latest
  bool isLeft;
  int serialNumber;  // as the five characters behind the letters give it, 0 for no digits
};

// The first complete local name in the data of a ble_evt_gap_scan_response that is a glove's: it begins with
// KVXGL, KVXGR or KVXSS.
std::optional<GloveName> findGloveName(bgapi::Payload scanResponse);

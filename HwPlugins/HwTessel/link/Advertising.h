// Finds a glove's name in the advertising data of a module.
#pragma once

#include <optional>
#include <span>

#include "bgapi/MessageFormat.h"

struct GloveName {
  std::span<const std::uint8_t> text;  // points into the payload; never beyond the event's data
  bool isLeft;
  int serialNumber;  // from the five characters after the letters; 0 without digits
};

// The first complete local name in the data of a ble_evt_gap_scan_response that belongs to a glove: it begins
// with KVXGL, KVXGR or KVXSS.
std::optional<GloveName> findGloveName(bgapi::Payload scanResponse);

// Parses the plug-in's reply to GetFirmwareVersion.
#pragma once

#include <nlohmann/json_fwd.hpp>

#include <cstdint>
#include <string>
#include <vector>

struct GloveFirmware {
  std::uint32_t partNumber = 0;
  std::uint32_t revision = 0;
  std::string date;  // year-month-day; empty if the glove does not report it
  std::uint32_t build = 0;
  std::uint32_t commit = 0;
};

// "PN4711R5  ( 2020-01-01 )  :Build 212 from commit 5eed1234", separated by a comma for two gloves. Other
// text is skipped.
std::vector<GloveFirmware> parseFirmware(const std::string& answer);

nlohmann::ordered_json firmwareJson(const GloveFirmware& firmware);

// The records that a glove sends when it is asked: its version, and the status of its sensors. Threads: any.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>

struct GloveVersion {
  std::uint16_t partNumber = 0;
  std::uint16_t revision = 0;
  std::uint16_t build = 0;
  std::uint32_t commit = 0;
  std::uint32_t buildTime = 0;  // seconds since 1970, UTC; 0 for none
};

// Gloves of this revision or later have a sensor status, and confirm that notifications started.
inline constexpr std::uint16_t confirmingRevision = 5;

// Empty if it is too short, or its marker or checksum is wrong.
std::optional<GloveVersion> parseVersion(std::span<const std::uint8_t> value);

// "thumb: absent or not ready (249), position 7: ..."; empty if all sensors are good. Only the first six
// positions have names.
std::string sensorFaults(std::span<const std::uint8_t> status);

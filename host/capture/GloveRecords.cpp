#include "host/capture/GloveRecords.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <numeric>
#include <string_view>

#include "simulator/Wire.h"

namespace {

constexpr std::array<std::string_view, 6> positions{"palm",          "thumb",       "index finger",
                                                    "middle finger", "ring finger", "pinky"};
constexpr std::uint8_t firstKnownFault = 246;
constexpr std::array<std::string_view, 10> faults{"wrong size",
                                                  "unexpected data or sync fault",
                                                  "busy",
                                                  "absent or not ready",
                                                  "parameter fault",
                                                  "checksum fault",
                                                  "response fault 2",
                                                  "response fault 1",
                                                  "length fault",
                                                  "command fault"};

}  // namespace

std::optional<GloveVersion> parseVersion(std::span<const std::uint8_t> value)
{
  constexpr std::size_t size = 16;
  constexpr std::uint8_t marker = 0x85;
  if (value.size() < size || value[0] != marker) return std::nullopt;
  const unsigned sum = std::accumulate(value.begin() + 2, value.begin() + size, 0U);
  if (static_cast<std::uint8_t>(sum) != value[1]) return std::nullopt;
  simulator::PayloadReader reader(value.subspan(2));
  const auto u32 = [&reader] {
    const std::uint32_t low = reader.u16();
    return low | static_cast<std::uint32_t>(reader.u16()) << 16;
  };
  GloveVersion record;
  record.partNumber = reader.u16();
  record.revision = reader.u16();
  record.build = reader.u16();
  record.commit = u32();
  record.buildTime = u32();
  return record;
}

std::string sensorFaults(std::span<const std::uint8_t> status)
{
  std::string text;
  for (std::size_t position = 0; position < status.size(); ++position) {
    const std::uint8_t code = status[position];
    if (code == 0) continue;
    const std::string name =
        position < positions.size() ? std::string(positions[position]) : fmt::format("position {}", position);
    const std::string_view fault =
        code < firstKnownFault ? "unknown fault" : faults[code - std::size_t{firstKnownFault}];
    text += fmt::format("{}{}: {} ({})", text.empty() ? "" : ", ", name, fault, code);
  }
  return text;
}

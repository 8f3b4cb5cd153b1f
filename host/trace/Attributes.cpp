#include "host/trace/Attributes.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <numeric>

#include "host/capture/GloveRecords.h"
#include "simulator/Glove.h"

namespace {

using Bytes = std::span<const std::uint8_t>;
namespace handle = simulator::handle;

struct Attribute {
  std::uint16_t handle;
  std::string_view name;
};
constexpr std::array attributes{
    Attribute{handle::command, "command"},    Attribute{handle::measurement, "measurement"},
    Attribute{handle::configuration, "CCCD"}, Attribute{handle::status, "status"},
    Attribute{handle::version, "version"},    Attribute{handle::followUp, "follow-up"}};

struct Opcode {
  std::uint8_t code;
  std::string_view name;
};
constexpr std::array opcodes{Opcode{52, "SequentialScan"},  Opcode{53, "StopSequential"},
                             Opcode{64, "AutoTune"},        Opcode{114, "SetSerialNumber"},
                             Opcode{176, "SensorSelect 0"}, Opcode{177, "SensorSelect 1"},
                             Opcode{178, "SensorSelect 2"}};

unsigned u16(Bytes bytes, std::size_t at)
{
  return static_cast<unsigned>(bytes[at] | bytes[at + 1] << 8);
}

std::uint32_t u32(Bytes bytes, std::size_t at)
{
  return static_cast<std::uint32_t>(u16(bytes, at)) | static_cast<std::uint32_t>(u16(bytes, at + 2)) << 16;
}

std::string packetText(Bytes packet)
{
  constexpr std::size_t size = 20;
  if (packet.size() != size) return {};
  const unsigned index = packet[0] & 0x0FU;
  switch (index) {
    case 0:
      return fmt::format("packet 0 of {}, counter {}, clock {}", packet[1] & 0x0FU, packet[0] >> 4,
                         packet[2] << 8 | packet[3]);
    case 1:
      return fmt::format("packet 1, battery bits 0-3: {}", packet[1] >> 4);
    case 2:
      return fmt::format("packet 2, battery bit 4: {}", packet[1] >> 4 & 1);
    default:
      return fmt::format("packet {}", index);
  }
}

std::string statusText(Bytes status)
{
  constexpr std::size_t size = 20;
  if (status.size() != size) return {};
  const std::string faults = sensorFaults(status);
  return faults.empty() ? "all 20 OK" : faults;
}

std::string buildDate(std::uint32_t secondsSince1970)
{
  using namespace std::chrono;
  if (secondsSince1970 == 0) return "of no date";
  const year_month_day date{floor<days>(sys_seconds{seconds{secondsSince1970}})};
  return fmt::format("of {}-{:02}-{:02}", static_cast<int>(date.year()), static_cast<unsigned>(date.month()),
                     static_cast<unsigned>(date.day()));
}

std::string versionText(Bytes record)
{
  constexpr std::size_t size = 16;
  constexpr std::uint8_t marker = 0x85;
  if (record.size() < size) return {};
  const unsigned sum = std::accumulate(record.begin() + 2, record.begin() + size, 0U) & 0xFFU;
  std::string text = fmt::format("part {}, revision {}, build {}, commit {:x}, {}", u16(record, 2),
                                 u16(record, 4), u16(record, 6), u32(record, 8), buildDate(u32(record, 12)));
  if (record[0] != marker) text += fmt::format(", INVALID: marker {:02X}, not {:02X}", record[0], marker);
  if (record[1] != sum) text += fmt::format(", INVALID: checksum {:02X}, not {:02X}", record[1], sum);
  return text;
}

std::string commandText(Bytes command)
{
  constexpr std::size_t minSize = 2;
  if (command.size() < minSize) return {};
  const auto opcode = std::ranges::find(opcodes, command[0], &Opcode::code);
  std::string text = fmt::format("opcode {}{}{}, target {}", command[0], opcode == opcodes.end() ? "" : " ",
                                 opcode == opcodes.end() ? "" : opcode->name, command[1]);
  const Bytes payload = command.subspan(minSize);
  if (opcode != opcodes.end() && opcode->name == "SetSerialNumber" && payload.size() == 2) {
    return text + fmt::format(", serial number {}", u16(payload, 0));
  }
  return payload.empty() ? text : text + ", payload " + hexText(payload);
}

std::string configurationText(Bytes value)
{
  if (value.size() != 2) return {};
  switch (u16(value, 0)) {
    case 0:
      return "notifications off";
    case 1:
      return "notifications on";
    case 2:
      return "indications on";
    default:
      return {};
  }
}

// One AD structure without its length.
std::string structureText(Bytes structure)
{
  constexpr std::uint8_t flags = 1;
  constexpr std::uint8_t shortName = 8;
  constexpr std::uint8_t completeName = 9;
  constexpr std::uint8_t power = 10;
  const std::uint8_t type = structure[0];
  const Bytes data = structure.subspan(1);
  const std::string_view text(reinterpret_cast<const char*>(data.data()), data.size());
  if (type == completeName) return fmt::format("name \"{}\"", text);
  if (type == shortName) return fmt::format("short name \"{}\"", text);
  if (type == flags && data.size() == 1) return fmt::format("flags 0x{:02X}", data[0]);
  if (type == power && data.size() == 1)
    return fmt::format("power {} dBm", int{static_cast<std::int8_t>(data[0])});
  return fmt::format("AD type 0x{:02X}{}{}", type, data.empty() ? "" : ": ", hexText(data));
}

}  // namespace

std::string_view attributeName(std::uint16_t handle)
{
  const auto attribute = std::ranges::find(attributes, handle, &Attribute::handle);
  return attribute == attributes.end() ? std::string_view() : attribute->name;
}

std::string receivedValueText(std::uint16_t handle, Bytes value)
{
  switch (handle) {
    case handle::measurement:
      return packetText(value);
    case handle::configuration:
      return configurationText(value);
    case handle::status:
      return statusText(value);
    case handle::version:
      return versionText(value);
    default:
      return {};
  }
}

std::string writtenValueText(std::uint16_t handle, Bytes value)
{
  switch (handle) {
    case handle::command:
      return commandText(value);
    case handle::configuration:
      return configurationText(value);
    default:
      return {};
  }
}

std::string uuidText(Bytes uuid)
{
  constexpr std::array<std::pair<unsigned, std::string_view>, 5> known{{{0x2800, " primary service"},
                                                                        {0x2801, " secondary service"},
                                                                        {0x2802, " include"},
                                                                        {0x2803, " characteristic"},
                                                                        {0x2902, " CCCD"}}};
  constexpr std::size_t shortSize = 2;
  constexpr std::size_t longSize = 16;
  if (uuid.size() == shortSize) {
    const unsigned number = u16(uuid, 0);
    const auto* const name = std::ranges::find(known, number, &std::pair<unsigned, std::string_view>::first);
    return fmt::format("0x{:04X}{}", number, name == known.end() ? "" : name->second);
  }
  if (uuid.size() != longSize) return {};
  std::string text;
  for (std::size_t at = 0; at < longSize; ++at) {
    if (at == 4 || at == 6 || at == 8 || at == 10) text += '-';
    text += fmt::format("{:02x}", uuid[longSize - 1 - at]);
  }
  return text;
}

std::string advertisingText(Bytes data)
{
  std::string text;
  while (!data.empty()) {
    const std::size_t length = data[0];
    data = data.subspan(1);
    if (length == 0) continue;
    const Bytes structure = data.first(std::min(length, data.size()));
    data = data.subspan(structure.size());
    text += text.empty() ? "" : ", ";
    text += structure.empty() ? "" : structureText(structure);
    if (structure.size() < length) {
      text += fmt::format(" (cut: {} of {} bytes)", structure.size(), length);
    }
  }
  return text;
}

std::string addressText(Bytes address)
{
  return fmt::format("{:02X}", fmt::join(address.rbegin(), address.rend(), ":"));
}

std::string hexText(Bytes bytes)
{
  std::string text;
  text.reserve(3 * bytes.size());
  for (const std::uint8_t byte : bytes) {
    constexpr std::string_view digits = "0123456789ABCDEF";
    if (!text.empty()) text += ' ';
    text += digits[byte >> 4];
    text += digits[byte & 0x0F];
  }
  return text;
}

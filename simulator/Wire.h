// The simulator's own implementation of the BGAPI wire format: parses commands, builds messages.
// A message is four header bytes and a payload, all little-endian:
//   bit 7 event, bits 0-2 length bits 8-10 | length bits 0-7 | class | id | payload
// Parsing has no errors: the dongle itself refuses what is not one of its commands.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace simulator {

namespace message_class {
inline constexpr std::uint8_t system = 0;
inline constexpr std::uint8_t connection = 3;
inline constexpr std::uint8_t attclient = 4;
inline constexpr std::uint8_t sm = 5;
inline constexpr std::uint8_t gap = 6;
}  // namespace message_class

inline constexpr std::uint8_t publicAddress = 0;
inline constexpr std::uint8_t randomAddress = 1;
inline constexpr std::uint8_t noBonding = 0xFF;

namespace result {
inline constexpr std::uint16_t success = 0;
inline constexpr std::uint16_t invalidParameter = 0x0180;
inline constexpr std::uint16_t wrongState = 0x0181;
inline constexpr std::uint16_t outOfMemory = 0x0182;
inline constexpr std::uint16_t notImplemented = 0x0183;
inline constexpr std::uint16_t invalidCommand = 0x0184;
inline constexpr std::uint16_t timeout = 0x0185;
inline constexpr std::uint16_t notConnected = 0x0186;
inline constexpr std::uint16_t connectionTimeout = 0x0208;
inline constexpr std::uint16_t endedByHost = 0x0216;
inline constexpr std::uint16_t invalidHandle = 0x0401;
inline constexpr std::uint16_t readNotPermitted = 0x0402;
inline constexpr std::uint16_t writeNotPermitted = 0x0403;
inline constexpr std::uint16_t attributeNotFound = 0x040A;
inline constexpr std::uint16_t invalidValueLength = 0x040D;
inline constexpr std::uint16_t unsupportedGroupType = 0x0410;
}  // namespace result

struct Command {
  bool isCommand;      // the bits of the first byte besides the length are those of a command
  std::uint8_t group;  // message class
  std::uint8_t id;
  std::vector<std::uint8_t> payload;
};

// Splits the host's bytes into commands, however they arrive.
class CommandParser {
 public:
  void add(std::span<const std::uint8_t> bytes);
  // The next complete command, if there is one.
  std::optional<Command> next();
  void clear() { bytes_.clear(); }

 private:
  std::vector<std::uint8_t> bytes_;
};

// Reads the parameters of a payload in order. Beyond the end everything is zero or empty.
class PayloadReader {
 public:
  // The payload must outlive it.
  explicit PayloadReader(std::span<const std::uint8_t> payload) : rest_(payload) {}

  std::uint8_t u8();
  std::uint16_t u16();
  std::array<std::uint8_t, 6> address();
  // A uint8array: its length byte, then its bytes. Valid as long as the payload.
  std::span<const std::uint8_t> array();

 private:
  std::span<const std::uint8_t> rest_;
};

void appendU16(std::vector<std::uint8_t>& bytes, std::uint16_t value);
void appendU32(std::vector<std::uint8_t>& bytes, std::uint32_t value);

// Builds one message, parameter by parameter; the length is filled in at the end.
class MessageWriter {
 public:
  static MessageWriter command(std::uint8_t group, std::uint8_t id);
  static MessageWriter response(std::uint8_t group, std::uint8_t id);
  static MessageWriter event(std::uint8_t group, std::uint8_t id);

  MessageWriter& u8(std::uint8_t value);
  MessageWriter& u16(std::uint16_t value);
  MessageWriter& bytes(std::span<const std::uint8_t> values);
  // A uint8array; truncated to what its length byte can express.
  MessageWriter& array(std::span<const std::uint8_t> values);

  // The complete message. The writer can't be used afterwards.
  std::vector<std::uint8_t> message();

 private:
  MessageWriter(std::uint8_t type, std::uint8_t group, std::uint8_t id);

  std::vector<std::uint8_t> message_;
};

}  // namespace simulator

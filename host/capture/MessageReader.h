// Splits the dongle's bytes into BGAPI messages, in pieces of any size. Threads: one. Errors: none; after
// lost bytes it takes the next ones for a header, as the plug-in does, until clear() is called.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

// A response or an event. Class and number are those of its command, if it is a response.
struct Message {
  bool isEvent = false;
  std::uint8_t group = 0;
  std::uint8_t id = 0;
  std::span<const std::uint8_t> payload{};  // valid until the reader is used again
  std::uint8_t type = 0;                    // the first byte of the header
};

class MessageReader {
 public:
  void add(std::span<const std::uint8_t> bytes);
  // The next complete message.
  std::optional<Message> next();
  // Whether the rest of the unfinished message was given up, because the bytes of the next call don't fit.
  // The plug-in moves a message with two calls, and a call that moved nothing is not in a capture.
  bool isGivenUp(std::span<const std::uint8_t> nextCall) const;
  // Drops what has come of an unfinished message.
  void clear();

  // Of an unfinished message.
  std::span<const std::uint8_t> rest() const { return std::span(bytes_).subspan(position_); }

 private:
  std::vector<std::uint8_t> bytes_;
  std::size_t position_ = 0;
};

// Which of a program's commands a message of the dongle is due to. Threads: one. Throws only std::bad_alloc.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>

#include "host/capture/MessageReader.h"
#include "simulator/Wire.h"

class Causes {
 public:
  // `index`: of the caller. Indices ascend.
  void add(std::size_t index, const simulator::Command& command);
  // The latest command that can have caused the message; nothing if none can, as of a lost connection.
  std::optional<std::size_t> of(const Message& message) const;

  // Notifications and indications, which go on without another command, and the command that starts them.
  static bool isStream(const Message& message);
  static bool isSubscription(const simulator::Command& command);

 private:
  using Key = std::uint32_t;
  static Key key(std::uint8_t group, std::uint8_t id, std::uint8_t connection);
  static std::optional<std::size_t> find(const std::map<Key, std::size_t>& commands, Key key);

  std::map<Key, std::size_t> commands_;
  std::map<Key, std::size_t> procedures_;     // of the attribute client, by connection
  std::map<Key, std::size_t> subscriptions_;  // by connection
  std::optional<std::size_t> latest_;
};

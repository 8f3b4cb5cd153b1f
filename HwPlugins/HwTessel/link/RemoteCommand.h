// A command to a module: one write to its command attribute.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

struct RemoteCommand {
  // Builds the complete value: opcode, low byte of the target, payload.
  RemoteCommand(std::uint8_t commandOpcode, std::span<const std::uint8_t> payload, std::int32_t moduleIndex,
                std::uint32_t commandTarget)
      : opcode(commandOpcode), target(commandTarget), module(moduleIndex)
  {
    value.reserve(2 + payload.size());
    value.push_back(opcode);
    value.push_back(static_cast<std::uint8_t>(target));
    value.insert(value.end(), payload.begin(), payload.end());
  }
  RemoteCommand(std::uint8_t commandOpcode, std::int32_t moduleIndex, std::uint32_t commandTarget)
      : RemoteCommand(commandOpcode, {}, moduleIndex, commandTarget)
  {
  }

  std::uint8_t opcode;
  std::uint32_t target;
  std::vector<std::uint8_t> value;
  std::int32_t module;  // index into `modules`
};

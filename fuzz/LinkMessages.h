// Messages of the dongle as the link targets send them.
#pragma once

#include "fuzz/Fuzz.h"

namespace fuzz {

// Those that the plug-in knows, with values of a usual opening.
inline const Bytes knownMessages[] = {
    hex("00 0C 00 08 01 00 04 00 02 00 82 00 03 00 01 02"),
    hex("00 03 03 00 00 00 00"),
    hex("00 03 04 01 00 00 00"),
    hex("00 03 04 03 00 00 00"),
    hex("00 03 04 04 00 00 00"),
    hex("00 02 06 02 00 00"),
    hex("00 03 06 03 00 00 00"),
    hex("00 02 06 04 00 00"),
    hex("80 10 03 00 00 05 01 02 03 04 05 06 00 08 00 E8 03 00 00 FF"),
    hex("80 03 03 04 00 08 02"),
    hex("80 05 04 01 00 00 00 12 00"),
    hex("80 16 04 02 00 0d 00 1a 00 10 31 01 9b 5f 80 00 00 80 00 10 00 00 ba cb 03 00"),
    hex("80 06 04 04 00 12 00 02 02 29"),
    hex("80 15 04 05 00 18 00 00 10 85 19 01 00 05 00 03 00 04 00 00 00 05 00 01 06"),
    hex("80 19 04 05 00 16 00 00 14 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00"),
    hex("80 19 04 05 00 11 00 01 14 00 02 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00"),
    hex("80 19 04 05 00 11 00 01 14 01 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00"),
    hex("80 1A 06 00 CE 00 01 02 03 04 05 06 00 FF 0F 02 01 06 0B 09 4B 56 58 47 4C 30 30 30 30 31"),
};

// A known message of a connection with up to three bytes changed, or any bytes; some end early.
inline Bytes nextMessage(Input& input)
{
  const std::size_t kind = input.below(std::size(knownMessages) + 1);
  if (kind == std::size(knownMessages)) {
    const auto bytes = input.take(input.below(64));
    return {bytes.begin(), bytes.end()};
  }
  Bytes message = knownMessages[kind];
  const std::uint8_t changes = input.byte();
  if (message.size() > 4 && (changes & 4) != 0) message[4] = changes >> 4 & 3;
  for (int left = changes & 3; left > 0; --left) {
    const std::size_t at = input.below(message.size());
    message[at] = input.byte();
  }
  if ((changes & 8) != 0) message.resize(input.below(message.size()));
  return message;
}

}  // namespace fuzz

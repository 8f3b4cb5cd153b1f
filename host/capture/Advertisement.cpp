#include "host/capture/Advertisement.h"

#include "simulator/Wire.h"

std::optional<Advertisement> advertisementIn(const Message& message, std::chrono::nanoseconds time)
{
  constexpr std::size_t fixedSize = 11;  // up to the length of the data
  const bool isScanResponse =
      message.isEvent && message.group == simulator::message_class::gap && message.id == 0;
  if (!isScanResponse || message.payload.size() < fixedSize) return std::nullopt;
  simulator::PayloadReader payload(message.payload);
  Advertisement advertisement{.rssi = static_cast<std::int8_t>(payload.u8()), .time = time};
  payload.u8();  // kind of advertisement
  advertisement.address = payload.address();
  payload.u8();  // address type
  payload.u8();  // bonding
  advertisement.data = payload.array();
  return advertisement;
}

// A device's advertising data, as the dongle reports them to the plug-in and to those that follow the link:
// both find the same gloves, and nothing outside of the data.

#include <array>

#include "fuzz/Fuzz.h"
#include "host/capture/Advertisement.h"
#include "host/capture/HeardDevices.h"
#include "link/Advertising.h"

using fuzz::require;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
  constexpr std::size_t fixed = 11, maxData = bgapi::payloadCapacity - 1 - fixed;
  fuzz::Input input(data, size);
  // From a claimed length that may be wrong.
  const std::uint8_t surplus = input.byte();
  std::array<std::uint8_t, bgapi::payloadCapacity> payload{};
  const auto advertised = input.take(maxData);
  payload[fixed - 1] = static_cast<std::uint8_t>(advertised.size() + surplus);
  std::ranges::copy(advertised, payload.begin() + fixed);

  const auto found = findGloveName(payload);
  if (found) {
    const std::uint8_t* const begin = payload.data() + fixed;
    require(found->text.data() >= begin &&
                found->text.data() + found->text.size() <= payload.data() + payload.size(),
            "a name is within the data");
    require(found->serialNumber >= -9999 && found->serialNumber <= 99999,
            "a serial number has five characters");
  }

  std::array<std::uint8_t, 4 + bgapi::payloadCapacity> message{
      0x80, static_cast<std::uint8_t>(fixed + advertised.size()), 6, 0};
  std::ranges::copy(payload, message.begin() + 4);
  MessageReader reader;
  reader.add(std::span(message).first(4 + fixed + advertised.size()));
  const auto complete = reader.next();
  require(complete.has_value(), "the message is complete");
  const auto advertisement = advertisementIn(*complete, {});
  if (!advertisement) return 0;
  HeardDevices heard;
  heard.add(*advertisement);
  require(heard.gloves().size() + heard.others() == 1, "one device was heard");
  if (heard.gloves().empty()) return 0;
  require(heard.gloves()[0].name.size() <= 32, "a name is cut");
  require(surplus != 0 || found, "the plug-in finds the glove, too");
  return 0;
}

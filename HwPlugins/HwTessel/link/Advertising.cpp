#include "link/Advertising.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <string_view>

#include "bgapi/PayloadLayout.h"

namespace {

// AD type, from the Bluetooth assigned numbers.
constexpr std::uint8_t completeLocalName = 9;

constexpr std::string_view leftGlove = "KVXGL";
constexpr std::array gloves{leftGlove, std::string_view("KVXGR"), std::string_view("KVXSS")};
constexpr std::size_t lettersLength = 5;
constexpr std::size_t serialLength = 5;

bool beginsWith(std::span<const std::uint8_t> bytes, std::string_view letters)
{
  return bytes.size() >= letters.size() && std::equal(letters.begin(), letters.end(), bytes.begin());
}

// Reads up to the end of the bytes or a terminating zero. Text without a number counts as 0.
int readSerialNumber(std::span<const std::uint8_t> bytes)
{
  std::array<char, serialLength + 1> text{};
  const std::size_t length = std::min(serialLength, bytes.size());
  std::copy_n(bytes.begin(), length, text.begin());
  return static_cast<int>(std::strtol(text.data(), nullptr, 10));
}

}  // namespace

std::optional<GloveName> findGloveName(bgapi::Payload payload)
{
  // An AD structure: a length byte, then that many bytes, the first of which is the AD type.
  const auto data = bgapi::scan_response::data(payload);
  const std::size_t end = std::min<std::size_t>(bgapi::scan_response::dataLength(payload), data.size());
  std::size_t length = 0;
  for (std::size_t structure = 0; structure + 1 < end; structure += length + 1) {
    length = data[structure];
    if (length == 0 || data[structure + 1] != completeLocalName) continue;
    // The letters are compared beyond the structure's length if need be, as far as the buffer reaches.
    const auto name = data.subspan(structure + 2);
    const auto isGlove = [&](std::string_view letters) { return beginsWith(name, letters); };
    if (std::ranges::none_of(gloves, isGlove)) continue;
    const std::size_t inEvent = end - (structure + 2);
    return GloveName{.text = name.first(std::min(length - 1, inEvent)),
                     .isLeft = isGlove(leftGlove),
                     .serialNumber = readSerialNumber(name.subspan(lettersLength))};
  }
  return std::nullopt;
}

#include "simulator/GattTable.h"

#include <algorithm>
#include <functional>
#include <iterator>

#include "simulator/Wire.h"

namespace simulator {

namespace {

// 0003cbba-0000-1000-8000-00805f9b0131
constexpr Uuid gloveService{std::array<std::uint8_t, 16>{0x31, 0x01, 0x9B, 0x5F, 0x80, 0x00, 0x00, 0x80, 0x00,
                                                         0x10, 0x00, 0x00, 0xBA, 0xCB, 0x03, 0x00}};

// 0003bbb3-0000-1000-8000-0805f910nnnn. Those of command and version are the gloves', the others invented.
constexpr Uuid gloveValue(std::uint8_t number)
{
  return Uuid{std::array<std::uint8_t, 16>{number, 0x00, 0x10, 0xF9, 0x05, 0x08, 0x00, 0x80, 0x00, 0x10, 0x00,
                                           0x00, 0xB3, 0xBB, 0x03, 0x00}};
}

constexpr std::array<Attribute, 17> attributes{{
    {1, primaryService, access::read, Uuid{0x1800}},
    {2, characteristic, access::read},
    {handle::deviceName, Uuid{0x2A00}, access::read},
    {4, characteristic, access::read},
    {handle::appearance, Uuid{0x2A01}, access::read},
    {12, primaryService, access::read, gloveService},
    {13, characteristic, access::read},
    {handle::command, gloveValue(0), access::write | access::writeCommand},
    {16, characteristic, access::read},
    {handle::measurement, gloveValue(1), access::notify},
    {handle::configuration, Uuid{0x2902}, access::read | access::write},
    {21, characteristic, access::read},
    {handle::status, gloveValue(3), access::read},
    {23, characteristic, access::read},
    {handle::version, gloveValue(4), access::read},
    {25, characteristic, access::read},
    {handle::followUp, gloveValue(5), access::read},
}};

static_assert(std::ranges::adjacent_find(attributes, std::ranges::greater_equal{}, &Attribute::handle) ==
              attributes.end());
static_assert(std::ranges::all_of(attributes,
                                  [](const Attribute& each) {
                                    return each.type != characteristic ||
                                           (&each != &attributes.back() &&
                                            std::next(&each)->handle == each.handle + 1);
                                  }),
              "a characteristic's value follows its declaration");

// 00000000-0000-1000-8000-00805f9b34fb, whose bytes 12 and 13 a UUID of 16 bits replaces.
constexpr std::array<std::uint8_t, 12> bluetoothBase{0xFB, 0x34, 0x9B, 0x5F, 0x80, 0x00,
                                                     0x00, 0x80, 0x00, 0x10, 0x00, 0x00};

}  // namespace

std::optional<Uuid> Uuid::read(std::span<const std::uint8_t> bytes)
{
  if (bytes.size() == 2) return Uuid(static_cast<std::uint16_t>(bytes[1] << 8 | bytes[0]));
  std::array<std::uint8_t, 16> all{};
  if (bytes.size() != all.size()) return std::nullopt;
  std::ranges::copy(bytes, all.begin());
  const bool isShort =
      std::ranges::equal(bytes.first(bluetoothBase.size()), bluetoothBase) && all[14] == 0 && all[15] == 0;
  return isShort ? read(bytes.subspan(bluetoothBase.size(), 2)) : Uuid(all);
}

const Attribute* findAttribute(std::uint16_t handle)
{
  const auto found = attributesIn(handle, handle);
  return found.empty() ? nullptr : &found.front();
}

std::span<const Attribute> attributesIn(std::uint32_t first, std::uint32_t last)
{
  const auto begin = std::ranges::lower_bound(attributes, first, {}, &Attribute::handle);
  const auto end = std::ranges::upper_bound(attributes, last, {}, &Attribute::handle);
  return begin < end ? std::span(begin, end) : std::span<const Attribute>();
}

std::uint16_t endOfService(const Attribute& declaration)
{
  const auto after = attributesIn(declaration.handle + 1U, 0xFFFF);
  const auto next = std::ranges::find(after, primaryService, &Attribute::type);
  return next == after.begin() ? declaration.handle : std::prev(next)->handle;
}

std::vector<std::uint8_t> declaredBy(const Attribute& declaration)
{
  const auto bytes = [](const Uuid& uuid) {
    return std::vector<std::uint8_t>(uuid.bytes().begin(), uuid.bytes().end());
  };
  if (declaration.type == primaryService) return bytes(declaration.service);
  const Attribute& value = attributesIn(declaration.handle + 1U, 0xFFFF).front();
  std::vector<std::uint8_t> declared{value.access};
  appendU16(declared, value.handle);
  std::ranges::copy(value.type.bytes(), std::back_inserter(declared));
  return declared;
}

}  // namespace simulator

#include "host/trace/GloveNames.h"

#include <algorithm>
#include <array>

namespace {

constexpr std::array<std::string_view, LinkDecoder::maxGloves> usualSides{"left", "right"};

}  // namespace

std::string_view GloveNames::name(std::span<const std::uint8_t> address) const
{
  LinkDecoder::Address key{};
  if (address.size() != key.size()) return {};
  std::ranges::copy(address, key.begin());
  const HeardGlove* const glove = heard_.glove(key);
  return glove == nullptr ? std::string_view() : glove->name;
}

std::string_view GloveNames::name(std::size_t connection) const
{
  if (connection >= LinkDecoder::maxGloves) return {};
  const auto address = decoder_.address(connection);
  return address ? name(*address) : std::string_view();
}

std::string_view GloveNames::side(std::span<const std::uint8_t> address) const
{
  const std::string_view glove = name(address);
  if (glove.empty()) return {};
  // As for the plug-in, all others are right ones.
  return glove.starts_with("KVXGL") ? usualSides[0] : usualSides[1];
}

std::string_view GloveNames::side(std::size_t connection) const
{
  if (connection >= LinkDecoder::maxGloves) return {};
  const auto address = decoder_.address(connection);
  const std::string_view known = address ? side(*address) : std::string_view();
  return known.empty() ? usualSides[connection] : known;
}

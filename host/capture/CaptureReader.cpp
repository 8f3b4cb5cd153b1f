#include "host/capture/CaptureReader.h"

#include <algorithm>
#include <charconv>
#include <limits>

namespace {

constexpr std::uint32_t sectionType = 0x0A0D0D0A;
constexpr std::uint32_t interfaceType = 1;
constexpr std::uint32_t packetType = 6;

constexpr std::uint32_t byteOrderMagic = 0x1A2B3C4D;

// Offsets from the beginning of a block.
constexpr std::size_t lengthAt = 4;
constexpr std::size_t bodyAt = 8;
constexpr std::size_t sectionOptionsAt = 24;
constexpr std::size_t interfaceOptionsAt = 16;
constexpr std::size_t packetDataAt = 28;
constexpr std::size_t trailerSize = 4;

constexpr std::size_t minBlock = bodyAt + trailerSize;
constexpr std::size_t maxBlock = std::size_t{64} * 1024;
constexpr std::size_t maxInterfaces = 256;
constexpr std::uint64_t perSecond = 1'000'000'000;

// The numbers of a block in the byte order of its section.
struct Fields {
  std::span<const std::uint8_t> bytes;
  bool isBigEndian = false;

  std::uint16_t u16(std::size_t at) const
  {
    const std::size_t low = isBigEndian ? at + 1 : at;
    const std::size_t high = isBigEndian ? at : at + 1;
    return static_cast<std::uint16_t>(bytes[high] << 8 | bytes[low]);
  }
  std::uint32_t u32(std::size_t at) const
  {
    const std::uint32_t low = u16(isBigEndian ? at + 2 : at);
    const std::uint32_t high = u16(isBigEndian ? at : at + 2);
    return high << 16 | low;
  }
  std::uint64_t u64(std::size_t at) const
  {
    const std::uint64_t low = u32(isBigEndian ? at + 4 : at);
    const std::uint64_t high = u32(isBigEndian ? at : at + 4);
    return high << 32 | low;
  }
  std::string_view text(std::size_t at, std::size_t size) const
  {
    return {reinterpret_cast<const char*>(bytes.data()) + at, size};
  }
};

constexpr std::size_t padded(std::size_t size)
{
  return (size + 3) / 4 * 4;
}

// The time unit of an interface: a negative power of 10, or of 2 if the highest bit is set.
std::uint64_t toNanoseconds(std::uint64_t time, std::uint8_t resolution)
{
  const unsigned exponent = resolution & 0x7Fu;
  if ((resolution & 0x80u) == 0) {
    for (unsigned digit = exponent; digit < 9; ++digit)
      time *= 10;
    for (unsigned digit = 9; digit < exponent && time > 0; ++digit)
      time /= 10;
    return time;
  }
  if (exponent >= std::numeric_limits<std::uint64_t>::digits) return 0;
  std::uint64_t fraction = time & ((std::uint64_t{1} << exponent) - 1);
  unsigned fractionBits = exponent;
  constexpr unsigned maxFractionBits = 34;  // so that the product below does not overflow
  if (fractionBits > maxFractionBits) {
    fraction >>= fractionBits - maxFractionBits;
    fractionBits = maxFractionBits;
  }
  return (time >> exponent) * perSecond + ((fraction * perSecond) >> fractionBits);
}

bool remove(std::string_view& text, std::string_view beginning)
{
  if (!text.starts_with(beginning)) return false;
  text.remove_prefix(beginning.size());
  return true;
}

bool removeNumber(std::string_view& text, std::uint64_t& number)
{
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc()) return false;
  text.remove_prefix(static_cast<std::size_t>(end - text.data()));
  return true;
}

struct Clocks {
  std::uint64_t wallNs = 0;
  std::uint64_t uptimeNs = 0;
};

// The clocks at the beginning of a section of the plug-in.
std::optional<Clocks> clocksIn(std::string_view comment)
{
  Clocks clocks;
  const bool isKnown = remove(comment, "tessel-capture 1 wall=") && removeNumber(comment, clocks.wallNs) &&
                       remove(comment, "ns uptime=") && removeNumber(comment, clocks.uptimeNs) &&
                       remove(comment, "ns");
  return isKnown ? std::optional(clocks) : std::nullopt;
}

std::chrono::nanoseconds duration(std::uint64_t nanoseconds)
{
  return std::chrono::nanoseconds(static_cast<std::int64_t>(nanoseconds));
}

// Blocks that other tools write between those of the plug-in: names, statistics, secrets, custom ones.
bool isForeign(std::uint32_t type)
{
  return (type > 0 && type < 0x10) || type == 0x0BAD || type == 0x40000BAD;
}

// The shortest block of a type.
std::size_t minLength(std::uint32_t type)
{
  switch (type) {
    case sectionType:
      return sectionOptionsAt + trailerSize;
    case interfaceType:
      return interfaceOptionsAt + trailerSize;
    case packetType:
      return packetDataAt + trailerSize;
    default:
      return minBlock;
  }
}

// What the options of a block say, as far as it matters here and they are whole.
struct Options {
  std::string_view comment{};
  std::uint32_t flags = 0;
  std::uint8_t resolution = 6;
  std::uint64_t offsetSeconds = 0;
};

Options optionsAt(std::size_t at, const Fields& block, std::uint32_t blockType)
{
  constexpr std::uint16_t commentCode = 1;
  constexpr std::uint16_t packetFlagsCode = 2;
  constexpr std::uint16_t resolutionCode = 9;
  constexpr std::uint16_t offsetCode = 14;
  constexpr std::size_t valueAt = 4;

  Options options;
  const std::size_t end = block.bytes.size() - trailerSize;
  while (at + valueAt <= end) {
    const std::uint16_t code = block.u16(at);
    const std::size_t size = block.u16(at + 2);
    at += valueAt;
    if (code == 0 || size > end - at) break;
    if (code == commentCode && options.comment.empty()) {
      options.comment = block.text(at, size);
    } else if (blockType == packetType && code == packetFlagsCode && size == 4) {
      options.flags = block.u32(at);
    } else if (blockType == interfaceType && code == resolutionCode && size == 1) {
      options.resolution = block.bytes[at];
    } else if (blockType == interfaceType && code == offsetCode && size == 8) {
      options.offsetSeconds = block.u64(at);
    }
    at += padded(size);
  }
  return options;
}

}  // namespace

void CaptureReader::add(std::span<const std::uint8_t> bytes)
{
  bytes_.erase(bytes_.begin(), bytes_.begin() + static_cast<std::ptrdiff_t>(position_));
  position_ = 0;
  bytes_.insert(bytes_.end(), bytes.begin(), bytes.end());
}

std::optional<CaptureBlock> CaptureReader::next()
{
  while (const std::optional<std::size_t> length = lengthHere()) {
    isInStep_ = *length > 0;
    if (*length == 0) {
      ++position_;
      ++skipped_;
      continue;
    }
    const auto block = std::span(bytes_).subspan(position_, *length);
    position_ += *length;
    if (const auto decoded = decode(block)) return decoded;
  }
  return std::nullopt;
}

std::chrono::nanoseconds CaptureReader::wallTime(std::chrono::nanoseconds time) const
{
  return duration(static_cast<std::uint64_t>(time.count()) - toUptimeNs_);
}

// The length of the block that begins here: 0 if none does, nothing if that is not known yet. After garbage
// only the types that matter are believed.
std::optional<std::size_t> CaptureReader::lengthHere() const
{
  Fields rest{std::span(bytes_).subspan(position_), isBigEndian_};
  if (rest.bytes.size() < minBlock) return std::nullopt;
  const std::uint32_t type = rest.u32(0);
  if (type == sectionType) {
    rest.isBigEndian = rest.bytes[bodyAt] == byteOrderMagic >> 24;
    if (rest.u32(bodyAt) != byteOrderMagic) return 0;
  } else if (!hasSection_ ||
             (type != interfaceType && type != packetType && !(isInStep_ && isForeign(type)))) {
    return 0;
  }
  const std::size_t length = rest.u32(lengthAt);
  if (length % 4 != 0 || length < minLength(type) || length > maxBlock) return 0;
  if (type == packetType && rest.bytes.size() >= packetDataAt) {
    constexpr std::size_t dataLengthAt = 20;
    if (rest.u32(dataLengthAt) > length - packetDataAt - trailerSize) return 0;
  }
  if (rest.bytes.size() < length) return hasEnded_ ? std::optional<std::size_t>(0) : std::nullopt;
  return rest.u32(length - trailerSize) == length ? length : 0;
}

std::optional<CaptureBlock> CaptureReader::decode(std::span<const std::uint8_t> block)
{
  switch (Fields{block, isBigEndian_}.u32(0)) {
    case sectionType:
      return beginSection(block);
    case interfaceType:
      addInterface(block);
      return std::nullopt;
    case packetType:
      return decodePacket(block);
    default:
      return std::nullopt;
  }
}

CaptureBlock CaptureReader::beginSection(std::span<const std::uint8_t> block)
{
  hasSection_ = true;
  isBigEndian_ = block[bodyAt] == byteOrderMagic >> 24;
  interfaces_.clear();
  const std::string_view comment = optionsAt(sectionOptionsAt, {block, isBigEndian_}, sectionType).comment;
  const Clocks clocks = clocksIn(comment).value_or(Clocks{});
  toUptimeNs_ = clocks.uptimeNs - clocks.wallNs;
  return {.kind = CaptureBlock::Kind::section, .time = duration(clocks.uptimeNs), .text = comment};
}

void CaptureReader::addInterface(std::span<const std::uint8_t> block)
{
  constexpr std::uint16_t firstUserLinkType = 147;
  if (interfaces_.size() >= maxInterfaces) return;
  const Fields fields{block, isBigEndian_};
  const Options options = optionsAt(interfaceOptionsAt, fields, interfaceType);
  interfaces_.push_back({.isSerial = fields.u16(bodyAt) == firstUserLinkType,
                         .resolution = options.resolution,
                         .offsetSeconds = options.offsetSeconds});
}

std::optional<CaptureBlock> CaptureReader::decodePacket(std::span<const std::uint8_t> block) const
{
  constexpr std::uint32_t directionMask = 3;
  constexpr std::uint32_t received = 1;
  constexpr std::uint32_t sent = 2;
  using Kind = CaptureBlock::Kind;

  const Fields fields{block, isBigEndian_};
  const std::size_t interface = fields.u32(bodyAt);
  if (interface >= interfaces_.size() || !interfaces_[interface].isSerial) return std::nullopt;
  const auto& [isSerial, resolution, offsetSeconds] = interfaces_[interface];
  const std::uint64_t time = std::uint64_t{fields.u32(12)} << 32 | fields.u32(16);
  const std::size_t size = fields.u32(20);
  const std::size_t originalSize = fields.u32(24);
  const Options options = optionsAt(packetDataAt + padded(size), fields, packetType);

  CaptureBlock result{
      .time = duration(toNanoseconds(time, resolution) + offsetSeconds * perSecond + toUptimeNs_),
      .bytes = block.subspan(packetDataAt, size),
      .text = options.comment};
  if (originalSize > size) {
    // Another tool cut it, so bytes of the stream are missing.
    result.bytes = {};
    result.text = "lost 1 blocks";
    return result;
  }
  if (size == 0) return result.text.empty() ? std::nullopt : std::optional(result);
  const std::uint32_t direction = options.flags & directionMask;
  if (direction != received && direction != sent) return std::nullopt;
  result.kind = direction == received ? Kind::received : Kind::sent;
  return result;
}

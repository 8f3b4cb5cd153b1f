#include "serial/Capture.h"

#include <algorithm>
#include <array>
#include <cstdio>

#include "platform/Platform.h"

namespace capture {

constinit State state = State::untried;

namespace {

// A pipe takes a write of this size whole or not at all.
constexpr std::size_t maxWrite = 4096;
// Longer serial calls, which the link never makes, take several entries.
constexpr std::size_t maxData = 512;
constexpr std::size_t maxComment = 128;

// Bytes at the beginning of a fixed memory; appends what fits, little-endian.
template <std::size_t capacity>
class Buffer {
 public:
  constexpr Buffer() : bytes_{} {}
  // For one that is made for each entry, where filling it with zeros would show.
  struct Uninitialised {};
  explicit Buffer(Uninitialised) {}  // NOLINT: nothing is read that was not written

  std::size_t size() const { return size_; }
  std::size_t space() const { return capacity - size_; }
  std::span<const std::uint8_t> bytes() const { return std::span(bytes_).first(size_); }

  void append(std::span<const std::uint8_t> bytes)
  {
    const std::size_t count = std::min(bytes.size(), space());
    std::copy_n(bytes.begin(), count, bytes_.begin() + static_cast<std::ptrdiff_t>(size_));
    size_ += count;
  }
  void u16(std::uint32_t value)
  {
    append(std::array{static_cast<std::uint8_t>(value), static_cast<std::uint8_t>(value >> 8)});
  }
  void u32(std::uint32_t value)
  {
    u16(value & 0xFFFF);
    u16(value >> 16);
  }
  void padTo4()
  {
    while (size_ % 4 != 0 && space() > 0)
      bytes_[size_++] = 0;
  }
  void removeFirst(std::size_t count)
  {
    std::copy(bytes_.begin() + static_cast<std::ptrdiff_t>(count),
              bytes_.begin() + static_cast<std::ptrdiff_t>(size_), bytes_.begin());
    size_ -= count;
  }
  void clear() { size_ = 0; }

 private:
  std::array<std::uint8_t, capacity> bytes_;
  std::size_t size_ = 0;
};

// Static, and without destructors: a capture outlives the library's other objects.
constinit Buffer<maxWrite> gathered;  // whole blocks, except that the first may have been written in part
constinit Buffer<maxData> staged;     // moved by the current call
constinit std::uint64_t lostBlocks = 0;
constinit std::int64_t wallClockOffset = 0;
constinit bool hasError = false;

std::span<const std::uint8_t> bytesOf(std::string_view text)
{
  return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

// One block. Its body is written by the caller, the lengths around it by this class.
class Block {
 public:
  explicit Block(std::uint32_t type) : type_(type), body_(decltype(body_)::Uninitialised{}) {}

  void u16(std::uint32_t value) { body_.u16(value); }
  void u32(std::uint32_t value) { body_.u32(value); }
  void data(std::span<const std::uint8_t> bytes)
  {
    body_.append(bytes);
    body_.padTo4();
  }
  void option(std::uint16_t code, std::span<const std::uint8_t> value)
  {
    u16(code);
    u16(static_cast<std::uint32_t>(value.size()));
    data(value);
  }
  void endOptions() { u32(0); }

  std::size_t size() const { return 3 * sizeof(std::uint32_t) + body_.size(); }

  void gather() const
  {
    const auto length = static_cast<std::uint32_t>(size());
    gathered.u32(type_);
    gathered.u32(length);
    gathered.append(body_.bytes());
    gathered.u32(length);
  }

 private:
  std::uint32_t type_;
  Buffer<maxData + maxComment + 64> body_;
};

constexpr std::uint16_t commentOption = 1;

Block sectionHeader(std::int64_t wallClockNs, std::int64_t uptimeNs)
{
  constexpr std::uint32_t byteOrderMagic = 0x1A2B3C4D;
  constexpr std::uint32_t unknownLength = 0xFFFFFFFF;
  Block block(0x0A0D0D0A);
  block.u32(byteOrderMagic);
  block.u16(1);  // version 1.0
  block.u16(0);
  block.u32(unknownLength);
  block.u32(unknownLength);
  std::array<char, 128> text{};
  const int length = std::snprintf(text.data(), text.size(), "tessel-capture 1 wall=%lldns uptime=%lldns",
                                   static_cast<long long>(wallClockNs), static_cast<long long>(uptimeNs));
  block.option(commentOption, bytesOf({text.data(), static_cast<std::size_t>(length)}));
  block.endOptions();
  return block;
}

Block interfaceDescription()
{
  constexpr std::uint16_t firstUserLinkType = 147;
  constexpr std::uint16_t nameOption = 2;
  constexpr std::uint16_t resolutionOption = 9;
  constexpr std::uint8_t nanoseconds = 9;
  Block block(1);
  block.u16(firstUserLinkType);
  block.u16(0);
  block.u32(0);  // no limit of a packet's length
  block.option(nameOption, bytesOf("dongle"));
  block.option(resolutionOption, std::array{nanoseconds});
  block.endOptions();
  return block;
}

Block packet(std::int64_t uptimeNs, std::span<const std::uint8_t> bytes, std::uint32_t flags,
             std::string_view comment)
{
  constexpr std::uint16_t flagsOption = 2;
  const auto time = static_cast<std::uint64_t>(uptimeNs + wallClockOffset);
  const auto length = static_cast<std::uint32_t>(bytes.size());
  Block block(6);
  block.u32(0);  // the only interface
  block.u32(static_cast<std::uint32_t>(time >> 32));
  block.u32(static_cast<std::uint32_t>(time));
  block.u32(length);
  block.u32(length);
  block.data(bytes);
  if (flags != 0)
    block.option(flagsOption, std::array{static_cast<std::uint8_t>(flags), std::uint8_t{0}, std::uint8_t{0},
                                         std::uint8_t{0}});
  if (!comment.empty()) block.option(commentOption, bytesOf(comment.substr(0, maxComment)));
  block.endOptions();
  return block;
}

Block lostNote(std::int64_t uptimeNs)
{
  std::array<char, 64> text{};
  const int length = std::snprintf(text.data(), text.size(), "lost %llu blocks",
                                   static_cast<unsigned long long>(lostBlocks));
  return packet(uptimeNs, {}, 0, {text.data(), static_cast<std::size_t>(length)});
}

bool hasSpace(std::size_t size)
{
  if (gathered.space() < size) flush();
  return gathered.space() >= size;
}

// Blocks are dropped whole, and the note of it stands where they are missing.
void add(const Block& block, std::int64_t uptimeNs)
{
  if (lostBlocks > 0) {
    const Block note = lostNote(uptimeNs);
    if (hasSpace(note.size() + block.size())) {
      note.gather();
      lostBlocks = 0;
    }
  }
  if (lostBlocks == 0 && hasSpace(block.size())) {
    block.gather();
  } else {
    ++lostBlocks;
  }
}

void addPacket(std::span<const std::uint8_t> bytes, std::uint32_t flags, std::string_view comment)
{
  const std::int64_t now = platform::uptimeNs();
  add(packet(now, bytes, flags, comment), now);
}

// Ends the capture when the library is unloaded. The links are closed before that, because their owner is
// created later, on first use.
struct Closer {
  ~Closer() { close(); }
} const closer;

}  // namespace

void open()
{
  if (state != State::untried) return;
  const platform::CaptureOpening opening = platform::openCapture();
  hasError = opening == platform::CaptureOpening::failed;
  state = opening == platform::CaptureOpening::open ? State::on : State::off;
  if (!isOn()) return;
  const std::int64_t now = platform::uptimeNs();
  const std::int64_t wallClock = platform::wallClockNs();
  wallClockOffset = wallClock - now;
  sectionHeader(wallClock, now).gather();
  interfaceDescription().gather();
}

void close()
{
  if (isOn()) {
    if (lostBlocks > 0) {
      const Block note = lostNote(platform::uptimeNs());
      if (hasSpace(note.size())) note.gather();
    }
    flush();
    platform::closeCapture();
  }
  gathered.clear();
  staged.clear();
  lostBlocks = 0;
  state = State::untried;
}

void note(std::string_view text)
{
  if (isOn()) addPacket({}, 0, text);
}

void flush()
{
  if (isOn() && gathered.size() > 0) gathered.removeFirst(platform::writeCapture(gathered.bytes()));
}

std::string takeError()
{
  if (!hasError) return {};
  hasError = false;
  return platform::captureError();
}

void Call::add(std::span<const std::uint8_t> bytes) const
{
  while (bytes.size() > staged.space()) {
    const std::size_t count = staged.space();
    staged.append(bytes.first(count));
    bytes = bytes.subspan(count);
    write({});
  }
  staged.append(bytes);
}

void Call::write(std::string_view comment) const
{
  if (staged.size() == 0) return;
  addPacket(staged.bytes(), static_cast<std::uint32_t>(direction_), comment);
  staged.clear();
}

}  // namespace capture

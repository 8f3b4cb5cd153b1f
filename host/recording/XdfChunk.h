// The chunks of XDF files: "XDF:", then chunks, each a length, a tag and its content. Numbers are
// little-endian.
#pragma once

#include <bit>
#include <cstdint>
#include <string>
#include <string_view>

namespace xdf {

inline constexpr std::string_view magic = "XDF:";

enum class Tag : std::uint16_t {
  fileHeader = 1,
  streamHeader = 2,
  samples = 3,
  clockOffset = 4,
  boundary = 5,
  streamFooter = 6,
};

// The content of a boundary chunk, by which readers find a chunk again after damage.
inline constexpr std::string_view boundary =
    "\x43\xA5\x46\xDC\xCB\xF5\x41\x0F\xB3\x0E\xD5\x46\x73\x83\xCB\xE4";

// Before the timestamp of a sample.
inline constexpr char hasTimestamp = 8;

// Numbers are copied as they are in memory.
static_assert(std::endian::native == std::endian::little);

template <class Number>
void append(std::string& bytes, Number number)
{
  bytes.append(reinterpret_cast<const char*>(&number), sizeof(number));
}

// In as few bytes as possible.
void appendLength(std::string& bytes, std::uint64_t length);
void appendChunk(std::string& bytes, Tag tag, std::string_view content);

}  // namespace xdf

#include "host/recording/XdfChunk.h"

#include <limits>

namespace xdf {

void appendLength(std::string& bytes, std::uint64_t length)
{
  const auto appendAs = [&]<class Number>(Number number) {
    bytes += static_cast<char>(sizeof(number));
    append(bytes, number);
  };
  if (length <= std::numeric_limits<std::uint8_t>::max()) {
    appendAs(static_cast<std::uint8_t>(length));
  } else if (length <= std::numeric_limits<std::uint32_t>::max()) {
    appendAs(static_cast<std::uint32_t>(length));
  } else {
    appendAs(length);
  }
}

void appendChunk(std::string& bytes, Tag tag, std::string_view content)
{
  appendLength(bytes, sizeof(tag) + content.size());
  append(bytes, tag);
  bytes += content;
}

}  // namespace xdf

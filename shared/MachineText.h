// Streams for numbers that a machine reads back: without the separators and grouping of the current locale,
// which would write 12000 as 12.000 and read that as 12. Texts for the user use plain streams.
#pragma once

#include <locale>
#include <sstream>
#include <string>

namespace machine {

// The current locale with the number format of the classic one.
inline std::locale locale()
{
  return {std::locale(), std::locale::classic(), std::locale::numeric};
}

// By itself a stream that has no memory drops the rest of a text without a word.
template <class Stream>
void throwWithoutMemory(Stream& stream)
{
  stream.exceptions(std::ios_base::badbit);  // std::bad_alloc passes through
}

inline std::wostringstream writer()
{
  std::wostringstream stream;
  throwWithoutMemory(stream);
  stream.imbue(locale());
  return stream;
}

inline std::wistringstream reader(const std::wstring& text)
{
  std::wistringstream stream(text);
  throwWithoutMemory(stream);
  stream.imbue(locale());
  return stream;
}

}  // namespace machine

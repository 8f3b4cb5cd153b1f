// Streams for numbers that a machine reads back: without the separators and grouping of the locale in force,
// which would turn 12000 into 12.000, and that into 12. Texts for people use plain streams.
#pragma once

#include <locale>
#include <sstream>
#include <string>

namespace machine {

// The locale in force with the numbers of the classic one.
inline std::locale locale()
{
  return {std::locale(), std::locale::classic(), std::locale::numeric};
}

inline std::wostringstream writer()
{
  std::wostringstream stream;
  stream.imbue(locale());
  return stream;
}

inline std::wistringstream reader(const std::wstring& text)
{
  std::wistringstream stream(text);
  stream.imbue(locale());
  return stream;
}

}  // namespace machine

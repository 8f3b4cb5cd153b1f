#include "host/Text.h"

#include "shared/Parameter.h"

std::string narrow(const std::wstring& text)
{
  std::string result;
  for (const wchar_t character : text) {
    try {
      result += std::filesystem::path(std::wstring(1, character)).string();
    } catch (const std::exception&) {
      result += '?';
    }
  }
  return result;
}

std::string oneLine(const std::wstring& text)
{
  std::string line;
  for (const char character : narrow(parameter::trim(text))) {
    if (character != '\n') {
      line += character;
    } else if (!line.ends_with(' ')) {
      line += ' ';
    }
  }
  return line;
}

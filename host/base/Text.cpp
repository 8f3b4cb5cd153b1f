#include "host/base/Text.h"

#include <fmt/core.h>

#include <algorithm>
#include <cmath>

#include "host/base/Characters.h"
#include "host/base/Failure.h"
#include "shared/Parameter.h"
#include "shared/System.h"

std::wstring widen(const std::filesystem::path& text)
{
  auto wide = os::wideText(text);
  if (!wide) {
    throw Failure(ExitCode::usage, fmt::format("{} is not valid UTF-8.", excerpt(text.string())),
                  "Encode it in UTF-8, or use ASCII characters.");
  }
  return *wide;
}

std::string narrow(const std::wstring& text)
{
  std::string result;
  for (const wchar_t character : text) {
    const auto piece = os::nativePath(std::wstring(1, character));
    result += piece ? utf8(*piece) : "?";
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

std::string utf8(const std::filesystem::path& path)
{
  const auto text = path.u8string();
  return {text.begin(), text.end()};
}

bool hasExtension(const std::filesystem::path& path, std::string_view extension)
{
  std::string end = utf8(path.extension());
  std::ranges::transform(end, end.begin(), [](char letter) {
    return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
  });
  return end == extension;
}

std::string excerpt(std::string_view text)
{
  constexpr int maxCharacters = 24;
  std::size_t size = 0;
  for (int count = 0; count < maxCharacters && size < text.size(); ++count) {
    size += firstCharacter(text.substr(size)).bytes.size();
  }
  return printable(text.substr(0, size)) + (size < text.size() ? "..." : "");
}

std::string durationText(double seconds)
{
  if (seconds < 59.95) return fmt::format("{:.3g} s", seconds);
  const auto whole = static_cast<long long>(std::llround(seconds));
  const auto both = [](long long large, const char* unit, long long small, const char* smallUnit) {
    return small == 0 ? fmt::format("{} {}", large, unit)
                      : fmt::format("{} {} {} {}", large, unit, small, smallUnit);
  };
  if (whole < 3600) return both(whole / 60, "min", whole % 60, "s");
  return both(whole / 3600, "h", whole % 3600 / 60, "min");
}

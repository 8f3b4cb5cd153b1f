#include "shared/System.h"

#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <ctime>
#include <cwchar>
#include <memory>

namespace os {

namespace {

std::tm localNow()
{
  const std::time_t now = std::time(nullptr);
  std::tm local{};
  localtime_r(&now, &local);
  return local;
}

}  // namespace

std::wstring dateText()
{
  const std::tm now = localNow();
  std::array<wchar_t, 256> text{};
  std::swprintf(text.data(), text.size(), L"%04d-%02d-%02d", now.tm_year + 1900, now.tm_mon + 1, now.tm_mday);
  return text.data();
}

std::wstring timeText()
{
  // Written by hand because many locales have no text for AM and PM.
  const std::tm now = localNow();
  const int hour = now.tm_hour % 12 == 0 ? 12 : now.tm_hour % 12;
  std::array<wchar_t, 256> text{};
  std::swprintf(text.data(), text.size(), L"%02d:%02d:%02d %ls", hour, now.tm_min, now.tm_sec,
                now.tm_hour < 12 ? L"AM" : L"PM");
  return text.data();
}

std::vector<std::wstring> findFiles(const std::wstring& path, const std::wstring& suffix)
{
  const std::size_t separator = path.find_last_of(L'/');
  const std::size_t nameStart = separator == std::wstring::npos ? 0 : separator + 1;
  const std::wstring prefix = path.substr(nameStart);
  const auto directory = nativePath(nameStart == 0 ? L"." : path.substr(0, nameStart));
  std::vector<std::wstring> names;
  if (!directory) return names;

  // The standard library's iterator would end the process if there is no memory.
  struct Closer {
    void operator()(DIR* opened) const { ::closedir(opened); }
  };
  const std::unique_ptr<DIR, Closer> opened(::opendir(directory->c_str()));
  while (const dirent* const entry = opened ? ::readdir(opened.get()) : nullptr) {
    // A name that can't be converted is not one of ours.
    auto name = wideText(entry->d_name);
    if (name && name->starts_with(prefix) && name->ends_with(suffix)) names.push_back(std::move(*name));
  }
  return names;
}

// Converts through 32-bit characters, because the standard library converts wide ones only with the locale.
std::optional<std::filesystem::path> nativePath(const std::wstring& path)
{
  try {
    return std::filesystem::path(std::u32string(path.begin(), path.end()));
  } catch (const std::filesystem::filesystem_error&) {
    return std::nullopt;
  }
}

std::optional<std::wstring> wideText(const std::filesystem::path& path)
{
  try {
    const std::u32string text = path.u32string();
    return std::wstring(text.begin(), text.end());
  } catch (const std::filesystem::filesystem_error&) {
    return std::nullopt;
  }
}

bool deleteFile(const std::wstring& path)
{
  const auto native = nativePath(path);
  return native && ::unlink(native->c_str()) == 0;
}

bool makeFolder(const std::wstring& path)
{
  const auto native = nativePath(path);
  return native && ::mkdir(native->c_str(), 0777) == 0;
}

}  // namespace os

#include "shared/System.h"

#include <windows.h>

#include <array>

namespace os {

std::wstring dateText()
{
  std::array<wchar_t, 256> text{};
  GetDateFormatW(LOCALE_SYSTEM_DEFAULT, 0, nullptr, L"yyyy'-'MM'-'dd", text.data(),
                 static_cast<int>(text.size()));
  return text.data();
}

std::wstring timeText()
{
  std::array<wchar_t, 256> text{};
  GetTimeFormatW(LOCALE_SYSTEM_DEFAULT, 0, nullptr, L"hh':'mm':'ss tt", text.data(),
                 static_cast<int>(text.size()));
  return text.data();
}

std::vector<std::wstring> findFiles(const std::wstring& path, const std::wstring& suffix)
{
  std::vector<std::wstring> names;
  WIN32_FIND_DATAW found{};
  const HANDLE search = FindFirstFileW((path + L"*" + suffix).c_str(), &found);
  if (search == INVALID_HANDLE_VALUE) return names;
  do {
    names.emplace_back(found.cFileName);
  } while (FindNextFileW(search, &found) != 0);
  // Intentional: the search handle is never closed; the operating system closes it when the process ends.
  return names;
}

std::optional<std::filesystem::path> nativePath(const std::wstring& path)
{
  return path;
}

std::optional<std::wstring> wideText(const std::filesystem::path& path)
{
  return path.wstring();
}

bool deleteFile(const std::wstring& path)
{
  return DeleteFileW(path.c_str()) != 0;
}

bool makeFolder(const std::wstring& path)
{
  return CreateDirectoryW(path.c_str(), nullptr) != 0;
}

}  // namespace os

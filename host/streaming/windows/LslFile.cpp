#include "host/streaming/LslFile.h"

#include <windows.h>

#include <system_error>

namespace fs = std::filesystem;

namespace {

// Of all places that can be searched, these are not the working folder; also for what the library needs.
constexpr DWORD systemFolders = LOAD_LIBRARY_SEARCH_SYSTEM32;
constexpr DWORD itsFolder = LOAD_LIBRARY_SEARCH_DLL_LOAD_DIR;

void* load(const std::wstring& file, DWORD folders, DWORD& error)
{
  void* const library = LoadLibraryExW(file.c_str(), nullptr, folders);
  error = library == nullptr ? GetLastError() : ERROR_SUCCESS;
  return library;
}

std::string textOf(DWORD error)
{
  return std::system_category().message(static_cast<int>(error));
}

}  // namespace

const std::vector<std::string> lsl_file::names{"lsl.dll", "liblsl64.dll"};

void* lsl_file::load(const fs::path& file, std::string& reason)
{
  DWORD error = ERROR_SUCCESS;
  void* const library = ::load(fs::absolute(file).wstring(), systemFolders | itsFolder, error);
  if (library == nullptr) reason = textOf(error);
  return library;
}

void* lsl_file::loadInstalled(const std::string& name, std::string& reason)
{
  DWORD error = ERROR_SUCCESS;
  void* const library = ::load(fs::path(name).wstring(), systemFolders, error);
  if (library == nullptr && error != ERROR_MOD_NOT_FOUND) reason = textOf(error);
  return library;
}

void* lsl_file::find(void* library, const char* function)
{
  return reinterpret_cast<void*>(GetProcAddress(static_cast<HMODULE>(library), function));
}

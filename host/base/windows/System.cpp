#include "host/base/System.h"

#include <io.h>
#include <windows.h>
// Needs the types above.
#include <psapi.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <system_error>
#include <utility>

namespace host {

Lock::Lock(const std::filesystem::path& path)
{
  // A separate file, because an open file can't be renamed.
  const std::filesystem::path lock = std::filesystem::path(path) += L".lock";
  const HANDLE file = CreateFileW(lock.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                                  FILE_ATTRIBUTE_NORMAL | FILE_FLAG_DELETE_ON_CLOSE, nullptr);
  handle_ = reinterpret_cast<std::intptr_t>(file);
  isHeld_ = file != INVALID_HANDLE_VALUE;
}

Lock::~Lock()
{
  if (isHeld_) CloseHandle(reinterpret_cast<HANDLE>(handle_));
}

FolderLock::FolderLock(const std::filesystem::path& folder, Kind kind)
{
  const DWORD attributes = GetFileAttributesW(folder.c_str());
  if (attributes == INVALID_FILE_ATTRIBUTES || (attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0) return;
  // Created and locked in one step. The sharing mode lets its holder delete it.
  const HANDLE file = CreateFileW((folder / fileName).c_str(), GENERIC_WRITE, FILE_SHARE_DELETE, nullptr,
                                  kind == Kind::fresh ? CREATE_NEW : OPEN_EXISTING,
                                  FILE_ATTRIBUTE_NORMAL | FILE_FLAG_OPEN_REPARSE_POINT, nullptr);
  handle_ = reinterpret_cast<std::intptr_t>(file);
  isHeld_ = file != INVALID_HANDLE_VALUE;
}

FolderLock::~FolderLock()
{
  if (isHeld_) CloseHandle(reinterpret_cast<HANDLE>(handle_));
}

std::vector<std::filesystem::path> namesIn(const std::filesystem::path& folder, std::error_code& error)
{
  struct Closer {
    void operator()(HANDLE search) const { FindClose(search); }
  };
  std::vector<std::filesystem::path> names;
  WIN32_FIND_DATAW found{};
  const HANDLE first = FindFirstFileW((folder / L"*").c_str(), &found);
  if (first != INVALID_HANDLE_VALUE) {
    const std::unique_ptr<void, Closer> search(first);
    do {
      const std::wstring_view name = found.cFileName;
      if (name != L"." && name != L"..") names.emplace_back(name);
    } while (FindNextFileW(first, &found) != 0);
  }
  const DWORD reason = GetLastError();
  error = {reason == ERROR_NO_MORE_FILES ? 0 : static_cast<int>(reason), std::system_category()};
  return names;
}

std::error_code createFile(const std::filesystem::path& path)
{
  const HANDLE file =
      CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (file == INVALID_HANDLE_VALUE) return {static_cast<int>(GetLastError()), std::system_category()};
  CloseHandle(file);
  return {};
}

std::error_code renameNew(const std::filesystem::path& from, const std::filesystem::path& to)
{
  if (MoveFileExW(from.c_str(), to.c_str(), MOVEFILE_WRITE_THROUGH) != 0) return {};
  return {static_cast<int>(GetLastError()), std::system_category()};
}

SyncHandle::SyncHandle(const std::filesystem::path& path)
{
  const DWORD attributes = GetFileAttributesW(path.c_str());
  if (attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0) return;
  const HANDLE file =
      CreateFileW(path.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                  nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (file == INVALID_HANDLE_VALUE) {
    error_ = {static_cast<int>(GetLastError()), std::system_category()};
  } else {
    handle_ = reinterpret_cast<std::intptr_t>(file);
  }
}

SyncHandle::~SyncHandle()
{
  if (handle_ != -1) CloseHandle(reinterpret_cast<HANDLE>(handle_));
}

std::error_code SyncHandle::sync()
{
  if (handle_ == -1) return error_;
  if (FlushFileBuffers(reinterpret_cast<HANDLE>(handle_)) != 0) return {};
  const DWORD error = GetLastError();
  const bool hasNoDisk = error == ERROR_INVALID_FUNCTION || error == ERROR_NOT_SUPPORTED;
  return hasNoDisk ? std::error_code() : std::error_code(static_cast<int>(error), std::system_category());
}

FileBeginning::FileBeginning(const std::filesystem::path& path)
    : handle_(reinterpret_cast<std::intptr_t>(CreateFileW(path.c_str(), GENERIC_WRITE,
                                                          FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                                          OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr)))
{
}

FileBeginning::~FileBeginning()
{
  const auto file = reinterpret_cast<HANDLE>(handle_);
  if (file != INVALID_HANDLE_VALUE) CloseHandle(file);
}

bool FileBeginning::write(std::string_view bytes)
{
  OVERLAPPED begin{};  // offset 0
  DWORD written = 0;
  const auto size = static_cast<DWORD>(bytes.size());
  const bool isDone = WriteFile(reinterpret_cast<HANDLE>(handle_), bytes.data(), size, &written, &begin) != 0;
  if (!isDone) errno = EIO;
  return isDone && written == size;
}

void openStandardStreams() {}

std::filesystem::path programFolder()
{
  std::wstring path(32768, L'\0');  // the maximum length of a path
  path.resize(GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size())));
  return std::filesystem::path(path).parent_path();
}

std::string waitingInput()
{
  return {};
}

bool isTerminal(std::FILE* stream)
{
  return _isatty(_fileno(stream)) != 0;
}

bool takesText(std::FILE*)
{
  return true;
}

unsigned terminalWidth(std::FILE* stream)
{
  CONSOLE_SCREEN_BUFFER_INFO info{};
  const auto console = reinterpret_cast<HANDLE>(_get_osfhandle(_fileno(stream)));
  const bool isKnown = GetConsoleScreenBufferInfo(console, &info) != 0;
  return isKnown ? static_cast<unsigned>(info.srWindow.Right - info.srWindow.Left + 1) : 80;
}

std::chrono::nanoseconds uptime()
{
  // Based on the performance counter, which advances while the computer sleeps.
  return std::chrono::steady_clock::now().time_since_epoch();
}

std::uint64_t peakMemoryKiB()
{
  PROCESS_MEMORY_COUNTERS counters{};
  K32GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof counters);
  return counters.PeakWorkingSetSize / 1024;
}

std::thread threadWithoutSignals(std::function<void()> run)
{
  return std::thread(std::move(run));
}

void lowerThreadPriority()
{
  SetThreadPriority(GetCurrentThread(), THREAD_PRIORITY_BELOW_NORMAL);
}

void setEnvironment(const char* name, const std::string& value)
{
  _putenv_s(name, value.c_str());
}

void unsetEnvironment(const char* name)
{
  _putenv_s(name, "");
}

std::filesystem::path environmentPath(const char* name)
{
  const wchar_t* const value = _wgetenv(std::filesystem::path(name).c_str());
  return value == nullptr ? std::filesystem::path() : value;
}

}  // namespace host

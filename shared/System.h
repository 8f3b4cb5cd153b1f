// Interface of the shared code to the operating system: posix/ or windows/ is compiled. Errors are plain
// results; unless stated otherwise, only std::bad_alloc is thrown. Thread-safe as far as the operating system
// is.
#pragma once

#include <cerrno>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace os {

// The current local time, as "2026-11-21" and, on a 12-hour clock, "03:07:09 PM".
std::wstring dateText();
std::wstring timeText();

// Names of the files whose full path begins with `path` and ends in `suffix`. A path that ends in a separator
// is a directory; otherwise the text after its last separator is a prefix of the names.
std::vector<std::wstring> findFiles(const std::wstring& path, const std::wstring& suffix);

// Deletes one file, never a directory. False on failure.
bool deleteFile(const std::wstring& path);

// Creates one directory; its parent must exist. False on failure.
bool makeFolder(const std::wstring& path);

// The path in the operating system's form, and back; nothing if it can't be converted. Where paths are bytes
// they are UTF-8, whatever the locale.
std::optional<std::filesystem::path> nativePath(const std::wstring& path);
std::optional<std::wstring> wideText(const std::filesystem::path& path);

// A loaded shared object.
class SharedObject {
 public:
  // The file name extension of shared objects on this system.
  static const char* const suffix;

  // Loads it. Throws std::runtime_error with the operating system's reason.
  explicit SharedObject(const std::filesystem::path& file);
  // Unloads it.
  ~SharedObject();
  SharedObject(const SharedObject&) = delete;
  SharedObject& operator=(const SharedObject&) = delete;

  // Null if it does not export the name.
  void* find(const char* name) const;

 private:
  void* handle_;
};

// Opens a file stream by wide path: clears its error state on success, otherwise sets failbit. A directory
// never opens, not even for reading, although some operating systems would allow it.
template <class FileStream>
bool openStream(FileStream& stream, const std::wstring& path, std::ios_base::openmode mode)
{
  const auto native = nativePath(path);
  std::error_code ignored;
  if (!native || std::filesystem::is_directory(*native, ignored)) {
    stream.setstate(std::ios_base::failbit);
    return false;
  }
  do {
    errno = 0;
    stream.open(*native, mode);
  } while (!stream.is_open() && errno == EINTR);
  return stream.is_open();
}

}  // namespace os

// What the shared services need of the operating system: posix/ or windows/ is built in.
// Errors are plain results; where nothing else is said, only std::bad_alloc is thrown. Thread-safe as far as
// the system is.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace os {

// The present moment in local time, as "2026-11-21" and, on a 12-hour clock, "03:07:09 PM".
std::wstring dateText();
std::wstring timeText();

// Names of the files whose full path begins with `path` and ends in `suffix`. A path that ends in a separator
// is a directory; otherwise what follows its last separator is the beginning of the names.
std::vector<std::wstring> findFiles(const std::wstring& path, const std::wstring& suffix);

// Deletes one file, never a directory. False if the system refused.
bool deleteFile(const std::wstring& path);

// Makes one directory; its parent must be there. False if the system refused.
bool makeFolder(const std::wstring& path);

// The path as the system takes it, and back; nothing for a text that no path can hold, or a path that is no
// text. Where paths are bytes they are UTF-8, whatever the locale.
std::optional<std::filesystem::path> nativePath(const std::wstring& path);
std::optional<std::wstring> wideText(const std::filesystem::path& path);

// A shared object in this process.
class SharedObject {
 public:
  // What the name of its file ends in on this system.
  static const char* const suffix;

  // Loads it. Throws std::runtime_error with the system's reason.
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

// Opens a file stream by wide path: on success its error state is cleared, otherwise failbit is set.
// A directory never opens, not even for reading, although some systems would let it.
template <class FileStream>
bool openStream(FileStream& stream, const std::wstring& path, std::ios_base::openmode mode)
{
  const auto native = nativePath(path);
  std::error_code ignored;
  if (!native || std::filesystem::is_directory(*native, ignored)) {
    stream.setstate(std::ios_base::failbit);
    return false;
  }
  stream.open(*native, mode);
  return stream.is_open();
}

}  // namespace os

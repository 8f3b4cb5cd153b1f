// The host's folders: the host fills a map from key to directory and passes it to every plug-in. A plug-in
// reads only the key "log".
// Threads: one at a time; even looking up a missing key changes the map.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "shared/Utf16Order.h"

namespace folder {

// A directory, kept as the text that file names are appended to. It should end in a separator; a missing one
// is not added.
class Folder {
 public:
  Folder() = default;

  // ".." stands for an empty path; any other directory is created if it does not exist.
  explicit Folder(const std::wstring& path);

  const std::wstring& path() const { return path_; }
  std::wstring fullPath(const std::wstring& fileName) const { return path_ + fileName; }

  // Creates the directory if it does not exist. A failure shows only when a file is opened in it.
  void ensure() const;

  // Changes to a subfolder, creating it if it does not exist. The separator is a backslash on every system.
  void enter(const std::wstring& name);

  // Changes to the parent folder: back to the last backslash before the closing one, or to an empty path.
  void parent();

  void removeFile(const std::wstring& fileName) const;

  // True when the file can be opened for reading.
  bool hasFile(const std::wstring& fileName) const;

  // Both only clear the list and return its size, which is always 0.
  std::size_t listFiles(std::vector<std::wstring>& names) const;
  std::size_t listFolders(std::vector<std::wstring>& names) const;

 private:
  std::wstring path_;
};

using FolderMap = std::map<std::wstring, Folder, Utf16Less>;

// The map in use, owned by the host that set it. Null until it is set or `folders` creates one.
extern FolderMap* folders_;

// The map in use; created empty if the host set none.
FolderMap& folders();

}  // namespace folder

// The host's folders: the host fills a map from key to directory and hands it to every plug-in.
// A plug-in reads the key "log" and no other.
// Threads: one at a time; even looking up a missing key changes the map.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "shared/Utf16Order.h"

namespace folder {

// A directory, held as the text that file names are appended to. The text should end in a separator: a
// missing one is not repaired.
class Folder {
 public:
  Folder() = default;

  // The text ".." stands for an empty path; any other directory is created if it is not there.
  explicit Folder(const std::wstring& path);

  const std::wstring& path() const { return path_; }
  std::wstring fullPath(const std::wstring& fileName) const { return path_ + fileName; }

  // Creates the directory if it is not there. That it could not be created shows when a file is opened in it.
  void ensure() const;

  // Goes to a sub-folder, creating it if it is not there. The separator is a backslash on every system.
  void enter(const std::wstring& name);

  // Goes to the folder above: back to the last backslash before the closing one, or to an empty path.
  void parent();

  void removeFile(const std::wstring& fileName) const;

  // True when the file can be opened for reading.
  bool hasFile(const std::wstring& fileName) const;

  // Both only empty the list and give its size, so always 0.
  std::size_t listFiles(std::vector<std::wstring>& names) const;
  std::size_t listFolders(std::vector<std::wstring>& names) const;

 private:
  std::wstring path_;
};

using FolderMap = std::map<std::wstring, Folder, Utf16Less>;

// The map in use; owned by the host that set it. Null until then, or until `folders` made one.
extern FolderMap* folders_;

// The map in use, made empty if the host set none.
FolderMap& folders();

}  // namespace folder

// A host's log manager and log folder for a test; a folder of its own, because a manager deletes the logs
// that lie in its folder.
#pragma once

#include "shared/Folder.h"
#include "shared/Log.h"
#include "tests/support/TemporaryFolder.h"

class HostLog {
 public:
  explicit HostLog(std::int32_t level)
  {
    folders[L"log"] = folder::Folder(folder.wide());
    folder::folders_ = &folders;
    manager = std::make_unique<LogManager>(level);
    currentLogManager = manager.get();
  }
  ~HostLog()
  {
    currentLogManager = nullptr;
    folder::folders_ = nullptr;
  }
  HostLog(const HostLog&) = delete;
  HostLog& operator=(const HostLog&) = delete;

  // Goes on with another level.
  void setLevel(std::int32_t level)
  {
    manager = std::make_unique<LogManager>(level);
    currentLogManager = manager.get();
  }

  // What stands behind the two header lines of the one log whose name begins with this.
  std::string entries(const std::string& name) const
  {
    const std::string files = folder.list();
    const std::size_t begin = files.find(name + "_");
    const std::string text = folder.read(files.substr(begin, files.find(' ', begin) - begin));
    return text.substr(text.find('\n', text.find('\n') + 1) + 1);
  }

  TemporaryFolder folder;
  folder::FolderMap folders;
  std::unique_ptr<LogManager> manager;
};

// A host's log manager and log folder for a test; a separate folder, because a manager deletes the logs in
// its folder.
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

  // Replaces the manager by one with another level.
  void setLevel(std::int32_t level)
  {
    manager = std::make_unique<LogManager>(level);
    currentLogManager = manager.get();
  }

  // The content after the two header lines of the only log whose name begins with this text.
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

// A built plug-in in this process, for hosts: loaded, its five functions found, and unloaded at the end.
// Threads: one at a time. Errors: std::runtime_error with what the system says, or with the name that is
// missing.
#pragma once

#include <filesystem>

#include "shared/PluginApi.h"
#include "shared/System.h"

namespace plugin {

class Library {
  os::SharedObject object_;  // ahead of what is found in it

 public:
  explicit Library(const std::filesystem::path& file);

  Create* const create;
  GetName* const getName;
  Release* const release;
  SetFolders* const setFolders;
  SetLog* const setLog;

  // Releases an object, for std::unique_ptr<HwInterface, Library::Released>. The library must outlive it.
  struct Released {
    const Library* library;
    void operator()(HwInterface* object) const { library->release(object); }
  };
};

}  // namespace plugin

// Loads a built plug-in into a host's process, finds its five functions, and unloads it at the end.
// Threads: one at a time.
// Errors: std::runtime_error with the operating system's message or the name of the missing function.
#pragma once

#include <filesystem>

#include "shared/PluginApi.h"
#include "shared/System.h"

namespace plugin {

class Library {
  os::SharedObject object_;  // declared first: the functions are found in it

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

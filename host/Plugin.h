// The plug-in as a host has it: the shared object and its five functions.
// Threads: one at a time. Errors: a Failure if the file is no plug-in.
#pragma once

#include <filesystem>

#include "host/System.h"
#include "shared/Folder.h"
#include "shared/HwInterface.h"
#include "shared/Log.h"

class Plugin {
  using Create = HwInterface*(const wchar_t* configFile, ClockFunction clock, const wchar_t* hostText);
  using GetName = const wchar_t*();
  using Release = bool(HwInterface* object);
  using SetFolders = void(folder::FolderMap* folders);
  using SetLog = void(LogManager* log);

  host::Library library_;  // ahead of what is found in it

 public:
  // What the program uses if it is not told otherwise: the plug-in that lies beside it.
  static std::filesystem::path defaultFile();

  explicit Plugin(const std::filesystem::path& file);

  Create* const create;
  GetName* const getName;
  Release* const release;
  SetFolders* const setFolders;
  SetLog* const setLog;
};

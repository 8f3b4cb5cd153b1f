// The five functions that a plug-in exports: all by which a host and a plug-in know each other. They have C
// linkage and undecorated names; shared/PluginLibrary.h finds them in a built plug-in. Objects of C++ pass
// through them, so host and plug-in must be built from the same headers with the same compiler and standard
// library.
//
// Threads: create, release, setFolders and setLog come from one thread of the host at a time; getName from
// any. States: a plug-in is loaded, then given folders and log, then creates objects. An object is
//   built        after create
//   open         after configure returned 0
//   failed       after configure returned -1; release it and create another
//   closed       after close
//   gone         after release, or after the plug-in was unloaded
// Errors: see each. What is not listed is not checked.
#pragma once

#include "shared/Folder.h"
#include "shared/HwInterface.h"
#include "shared/Log.h"

// How the build of a plug-in marks what it exports; a host only takes the types of these functions.
#ifndef PLUGIN_EXPORT
#define PLUGIN_EXPORT
#endif

namespace plugin {

extern "C" {

// [loaded, with a log] Makes a hardware object that reads the settings file; touches no hardware.
// `configFile` is the zero-terminated path of the file, `hostText` any text of the host; both are copied. A
// file that is not there is no error. `clock` must stay callable until the object is gone. The plug-in owns
// the object, which stays where it is until `release`. Throws what making the object throws (std::bad_alloc;
// a std::wstring if the log file can't be created), and then there is no object.
PLUGIN_EXPORT HwInterface* create(const wchar_t* configFile, ClockFunction clock, const wchar_t* hostText);

// [loaded] The plug-in's name, zero-terminated, as it stands in the names of its log files; owned by the
// plug-in and valid while it is loaded.
PLUGIN_EXPORT const wchar_t* getName();

// [any state of the object, while none of its operations runs] Closes the object's link and ends the object.
// False for a pointer that `create` did not return, and for one that was released.
PLUGIN_EXPORT bool release(HwInterface* object);

// [loaded, before create] The host's folders, which the plug-in looks "log" up in. The host owns the map,
// which must outlive all objects. Null is a map of the plug-in's own.
PLUGIN_EXPORT void setFolders(folder::FolderMap* folders);

// [loaded, before create] The host's log manager, which the host owns and which must outlive all objects.
PLUGIN_EXPORT void setLog(LogManager* log);

}  // extern "C"

using Create = decltype(create);
using GetName = decltype(getName);
using Release = decltype(release);
using SetFolders = decltype(setFolders);
using SetLog = decltype(setLog);

}  // namespace plugin

// The five functions that a plug-in exports: the whole interface between host and plug-in. They have C
// linkage and undecorated names; shared/PluginLibrary.h finds them in a built plug-in. They pass C++ objects,
// so host and plug-in must be built from the same headers with the same compiler and standard library.
//
// Threads: create, release, setFolders and setLog come from one thread of the host at a time; getName from
// any. States: a plug-in is loaded, then gets folders and log, then creates objects. An object is
//   built        after create
//   open         after configure returned 0
//   failed       after configure returned -1; release it and create another
//   closed       after close
//   gone         after release, or after the plug-in was unloaded
// Errors: see each function. Nothing else is checked.
#pragma once

#include "shared/Folder.h"
#include "shared/HwInterface.h"
#include "shared/Log.h"

// The build of a plug-in defines this to export the functions; a host only uses their types.
#ifndef PLUGIN_EXPORT
#define PLUGIN_EXPORT
#endif

namespace plugin {

extern "C" {

// [loaded, with a log] Creates a hardware object, which reads the settings file; touches no hardware.
// `configFile` is the zero-terminated path of the file, `hostText` any text of the host; both are copied. A
// missing file is no error. `clock` must stay callable until the object is destroyed. The plug-in owns the
// object, which keeps its address until `release`. If creation throws (std::bad_alloc, or a std::wstring if
// the log file can't be created), there is no object.
PLUGIN_EXPORT HwInterface* create(const wchar_t* configFile, ClockFunction clock, const wchar_t* hostText);

// [loaded] The plug-in's name, zero-terminated, as in the names of its log files; owned by the plug-in and
// valid while it is loaded.
PLUGIN_EXPORT const wchar_t* getName();

// [any state of the object, while none of its operations runs] Closes the object's link and destroys the
// object. False for a pointer that `create` did not return or that was already released.
PLUGIN_EXPORT bool release(HwInterface* object);

// [loaded, before create] The host's folders, of which the plug-in reads "log". The host owns the map, which
// must outlive all objects. Null makes the plug-in use its own map.
PLUGIN_EXPORT void setFolders(folder::FolderMap* folders);

// [loaded, before create] The host's log manager, owned by the host; it must outlive all objects.
PLUGIN_EXPORT void setLog(LogManager* log);

}  // extern "C"

using Create = decltype(create);
using GetName = decltype(getName);
using Release = decltype(release);
using SetFolders = decltype(setFolders);
using SetLog = decltype(setLog);

}  // namespace plugin

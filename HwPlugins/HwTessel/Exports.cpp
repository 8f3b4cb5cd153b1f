// The five functions by which a host knows the plug-in.
//
// Threads: one thread of the host at a time. Order: setFolders, setLog, then create; docs/host-guide.md tells
// the rest. Errors: what the making of an object throws leaves `create`, and the object is then not there.

#include <algorithm>
#include <list>
#include <memory>

#include "HWTessel.h"
#include "shared/Folder.h"
#include "shared/Log.h"

#ifdef _WIN32
#define TESSEL_EXPORT extern "C" __declspec(dllexport)
#else
#define TESSEL_EXPORT extern "C" [[gnu::visibility("default")]]
#endif

namespace {

using Instances = std::list<std::shared_ptr<HwInterface>>;

// The objects that the host has, oldest first; their only owner. Made on the first use, so that it goes
// before the library's other statics: an object that the host forgot closes its link when the library is
// unloaded.
Instances& instances()
{
  static Instances list;
  return list;
}

}  // namespace

// A new hardware object. The texts are copied; the clock must stay callable until the object is released.
TESSEL_EXPORT HwInterface* create(const wchar_t* configFile, ClockFunction clock, const wchar_t* hostText)
{
  return instances().emplace_back(std::make_shared<HWTessel>(configFile, clock, hostText)).get();
}

// The plug-in's name; at any time.
TESSEL_EXPORT const wchar_t* getName()
{
  return HWTessel::name;
}

// Ends an object's link and the object. False for a pointer that is not one of `create`, or no longer.
TESSEL_EXPORT bool release(HwInterface* object)
{
  const auto entry = std::ranges::find(instances(), object, &std::shared_ptr<HwInterface>::get);
  if (entry == instances().end()) return false;
  instances().erase(entry);
  return true;
}

// The host's folders and log, which must outlive all objects.
TESSEL_EXPORT void setFolders(folder::FolderMap* folders)
{
  folder::folders_ = folders;
}

TESSEL_EXPORT void setLog(LogManager* log)
{
  currentLogManager = log;
}

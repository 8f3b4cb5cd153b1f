// The five functions of shared/PluginApi.h.

// This attribute also works with other Windows compilers than this project's own.
#ifdef _WIN32
#define PLUGIN_EXPORT __declspec(dllexport)
#else
#define PLUGIN_EXPORT [[gnu::visibility("default")]]
#endif

#include <algorithm>
#include <list>
#include <memory>

#include "HWTessel.h"
#include "shared/PluginApi.h"

namespace plugin {

namespace {

using Instances = std::list<std::shared_ptr<HwInterface>>;

// The host's objects, oldest first; this list is their only owner. It is created on first use so that it is
// destroyed before the library's other statics: an object that the host forgot still closes its link when the
// library is unloaded.
Instances& instances()
{
  static Instances list;
  return list;
}

}  // namespace

HwInterface* create(const wchar_t* configFile, ClockFunction clock, const wchar_t* hostText)
{
  return instances().emplace_back(std::make_shared<HWTessel>(configFile, clock, hostText)).get();
}

const wchar_t* getName()
{
  return HWTessel::name;
}

bool release(HwInterface* object)
{
  const auto entry = std::ranges::find(instances(), object, &std::shared_ptr<HwInterface>::get);
  if (entry == instances().end()) return false;
  instances().erase(entry);
  return true;
}

void setFolders(folder::FolderMap* folders)
{
  folder::folders_ = folders;
}

void setLog(LogManager* log)
{
  currentLogManager = log;
}

}  // namespace plugin

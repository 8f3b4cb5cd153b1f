#include "shared/PluginLibrary.h"

#include <stdexcept>
#include <string>

namespace plugin {

namespace {

template <class Function>
Function* find(const os::SharedObject& object, const char* name)
{
  void* const function = object.find(name);
  if (function == nullptr) throw std::runtime_error("it does not export `" + std::string(name) + "`");
  return reinterpret_cast<Function*>(function);
}

}  // namespace

Library::Library(const std::filesystem::path& file)
    : object_(file),
      create(find<Create>(object_, "create")),
      getName(find<GetName>(object_, "getName")),
      release(find<Release>(object_, "release")),
      setFolders(find<SetFolders>(object_, "setFolders")),
      setLog(find<SetLog>(object_, "setLog"))
{
}

}  // namespace plugin

#include "host/Plugin.h"

#include <fmt/format.h>

#include <fstream>

#include "host/Failure.h"
#include "host/Text.h"

namespace fs = std::filesystem;

namespace {

Failure notLoaded(const std::string& what)
{
  return {ExitCode::plugin, what,
          "Give the HwTessel file that belongs to this program with --plugin, or leave that option out: then "
          "the one beside the program is taken."};
}

host::Library load(const fs::path& file)
{
  std::error_code error;
  if (!fs::is_regular_file(file, error) || !std::ifstream(file)) {
    throw notLoaded(fmt::format("the plug-in {} can't be read.", utf8(file)));
  }
  try {
    return host::Library(file);
  } catch (const std::runtime_error& error) {
    throw notLoaded(fmt::format("the plug-in can't be loaded: {}", error.what()));
  }
}

template <class Function>
Function* find(const host::Library& library, const char* name)
{
  void* const function = library.find(name);
  if (function == nullptr) {
    throw notLoaded(fmt::format("the file given as plug-in is none: it does not export `{}`.", name));
  }
  return reinterpret_cast<Function*>(function);
}

}  // namespace

fs::path Plugin::defaultFile()
{
  return host::programFolder() / (std::string("HwTessel") + host::librarySuffix);
}

Plugin::Plugin(const fs::path& file)
    : library_(load(file)),
      create(find<Create>(library_, "create")),
      getName(find<GetName>(library_, "getName")),
      release(find<Release>(library_, "release")),
      setFolders(find<SetFolders>(library_, "setFolders")),
      setLog(find<SetLog>(library_, "setLog"))
{
}

#include "host/gloves/Plugin.h"

#include <fmt/format.h>

#include <fstream>

#include "host/base/Failure.h"
#include "host/base/System.h"
#include "host/base/Text.h"

namespace fs = std::filesystem;

namespace {

bool canBeRead(const fs::path& file)
{
  std::error_code error;
  return fs::is_regular_file(file, error) && std::ifstream(file);
}

fs::path defaultFile()
{
  const fs::path name = std::string("HwTessel") + os::SharedObject::suffix;
  const fs::path beside = host::programFolder() / name;
  const fs::path installed = host::programFolder() / TESSEL_PLUGIN_FOLDER / name;
  return !canBeRead(beside) && canBeRead(installed) ? installed : beside;
}

Failure notLoaded(const std::string& what)
{
  return {ExitCode::plugin, what,
          "With --plugin, name the HwTessel file of the same version; or omit the option to use the one that "
          "came "
          "with the program."};
}

}  // namespace

std::unique_ptr<plugin::Library> loadPlugin(const fs::path& wanted)
{
  const fs::path file = wanted.empty() ? defaultFile() : wanted;
  if (!canBeRead(file)) throw notLoaded(fmt::format("the plug-in {} can't be read.", utf8(file)));
  try {
    return std::make_unique<plugin::Library>(file);
  } catch (const std::runtime_error& error) {
    throw notLoaded(fmt::format("the plug-in {} can't be loaded: {}.", utf8(file), error.what()));
  }
}

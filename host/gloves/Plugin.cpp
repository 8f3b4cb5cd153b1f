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

Failure notLoaded(const std::string& what)
{
  return {ExitCode::plugin, what,
          "With --plugin, name the HwTessel file of the same version; or omit the option to use the one that "
          "came "
          "with the program."};
}

}  // namespace

fs::path pluginIn(const std::vector<fs::path>& folders)
{
  const fs::path name = std::string("HwTessel") + os::SharedObject::suffix;
  for (const fs::path& folder : folders) {
    // Where the system does not say in which folder the program is, it would be the working folder.
    if (folder.is_absolute() && canBeRead(folder / name)) return folder / name;
  }
  if (!folders.front().is_absolute()) throw notLoaded("the folder of this program is not known.");
  return folders.front() / name;
}

std::unique_ptr<plugin::Library> loadPlugin(const fs::path& wanted)
{
  const fs::path folder = host::programFolder();
  const fs::path file = wanted.empty() ? pluginIn({folder, folder / TESSEL_PLUGIN_FOLDER}) : wanted;
  if (!canBeRead(file)) throw notLoaded(fmt::format("the plug-in {} can't be read.", utf8(file)));
  try {
    return std::make_unique<plugin::Library>(file);
  } catch (const std::runtime_error& error) {
    throw notLoaded(fmt::format("the plug-in {} can't be loaded: {}.", utf8(file), error.what()));
  }
}

#include "tests/soak/LoadedPlugin.h"

#include "host/base/Text.h"
#include "tests/soak/Expectation.h"

namespace {

// Null if its log file can't be made.
HwInterface* make(plugin::Library& library, const std::wstring& settings, ClockFunction hostClock)
{
  try {
    return library.create(settings.c_str(), hostClock, L"soak");
  } catch (const std::wstring& reason) {
    expect(reason.starts_with(L"Could not create log file"), "no object: ", narrow(reason));
    return nullptr;
  }
}

}  // namespace

LoadedPlugin::LoadedPlugin(World& world, const Surroundings& surroundings)
    : surroundings_(surroundings),
      log_(surroundings.logLevel),
      onPlatform_(world.platform()),
      library_(TESSEL_TEST_PLUGIN)
{
  library_.setFolders(&log_.folders);
  library_.setLog(log_.manager.get());
}

HwInterface* LoadedPlugin::create(ClockFunction hostClock)
{
  const std::string settings = pluginSettings(surroundings_.gloves, surroundings_.elements()) +
                               (surroundings_.skipsSensorCheck ? "TesselSkipSensorStartupCheck\t1\n" : "");
  const std::wstring file = log_.folder.write("settings", settings);
  HwInterface* hardware = make(library_, file, hostClock);
  expect((hardware == nullptr) == isLogLost_, "the log folder was missed when it was ",
         isLogLost_ ? "lost" : "there");
  if (hardware == nullptr) {
    findLog();
    hardware = make(library_, file, hostClock);
    expect(hardware != nullptr, "the log folder is still missed");
  }
  return hardware;
}

void LoadedPlugin::loseLog()
{
  // Where no folder can be made.
  log_.folders[L"log"] = folder::Folder(L"/dev/null/");
  isLogLost_ = true;
}

void LoadedPlugin::findLog()
{
  log_.folders[L"log"] = folder::Folder(log_.folder.wide());
  isLogLost_ = false;
}

std::string LoadedPlugin::saved(HwInterface& hardware)
{
  const auto file = log_.folder.wide() + L"saved";
  expect(hardware.saveParameters(file.c_str()), "the settings were not saved");
  return log_.folder.read("saved");
}

#include "tests/support/VirtualPlugin.h"

#include "simulator/WordReader.h"
#include "tests/ledger/TestPlugin.h"

namespace {

const VirtualClock* currentClock = nullptr;

// Far from 0, which the plug-in treats specially.
std::uint32_t hostClock()
{
  constexpr std::uint32_t start = 60'000;
  const auto now = std::chrono::duration_cast<std::chrono::milliseconds>(currentClock->now());
  return start + static_cast<std::uint32_t>(now.count());
}

}  // namespace

VirtualPlugin::VirtualPlugin(SimulatedPlatform& platform, std::size_t gloves, std::size_t elements)
{
  currentClock = &platform.clock;
  reinterpret_cast<decltype(&usePlatform)>(object_.find("usePlatform"))(&platform);
  library_.setFolders(&log_.folders);
  library_.setLog(log_.manager.get());
  const std::wstring settings = log_.folder.write(
      "settings", simulator::toText("TesselElementCount\t", elements * gloves, "\nTesselNumSensors\t", gloves,
                                    "\nTesselNumBleModules\t", gloves, '\n'));
  hardware_ = {library_.create(settings.c_str(), hostClock, L"virtual"), {&library_}};
  store_ = std::make_unique<plugin::RecordStore>(hardware_->getNativeSize());
  hardware_->mapping_ = &store_->map;
}

#include "tests/support/VirtualPlugin.h"

#include <algorithm>
#include <stdexcept>

#include "simulator/WordReader.h"
#include "tests/ledger/TestPlugin.h"

namespace {

// The host's clock is far from 0, which the plug-in treats specially.
constexpr std::uint32_t hostClockStart = 60'000;

const VirtualClock* currentClock = nullptr;

std::uint32_t hostClock()
{
  const auto now = std::chrono::duration_cast<std::chrono::milliseconds>(currentClock->now());
  return hostClockStart + static_cast<std::uint32_t>(now.count());
}

}  // namespace

std::string pluginSettings(std::size_t gloves, std::size_t elements)
{
  return simulator::toText("TesselElementCount\t", elements * gloves, "\nTesselNumSensors\t", gloves,
                           "\nTesselNumBleModules\t", gloves, '\n');
}

PluginOnPlatform::PluginOnPlatform(SimulatedPlatform& platform) : object(TESSEL_TEST_PLUGIN)
{
  reinterpret_cast<decltype(&usePlatform)>(object.find("usePlatform"))(&platform);
}

PlatformPlugin::PlatformPlugin(SimulatedPlatform& platform, const std::string& settings)
    : platform_(platform),
      library_(TESSEL_TEST_PLUGIN),
      hardware_(
          [&] {
            library_.setFolders(&log_.folders);
            library_.setLog(log_.manager.get());
            currentClock = &platform.clock;
            return library_.create(log_.folder.write("settings", settings).c_str(), hostClock, L"ledger");
          }(),
          {&library_}),
      store_(hardware_->getNativeSize())
{
  hardware_->mapping_ = &store_.map;
}

std::optional<std::wstring> PlatformPlugin::open()
{
  return hardware_->configure() == 0 ? std::nullopt : std::optional(hardware_->lastError_);
}

std::wstring PlatformPlugin::ask(const std::wstring& command)
{
  std::wstring reply;
  hardware_->sendCommand(command.c_str(), reply);
  return reply;
}

PlatformPlugin::Outcome PlatformPlugin::read()
{
  if (hardware_->readRecord() != 0) return Outcome::failed;
  return store_.takeNew() ? Outcome::record : Outcome::nothing;
}

VirtualPlugin::~VirtualPlugin()
{
  plugin_.unload();
  gloves_.ledger().unload();
}

std::optional<std::wstring> VirtualPlugin::open()
{
  auto words = plugin_.open();
  gloves_.ledger().beginReading();
  return words;
}

VirtualPlugin::Reading VirtualPlugin::read()
{
  const PlatformPlugin::Outcome outcome = plugin_.read();
  const bool isNew = outcome == PlatformPlugin::Outcome::record;
  auto [expectation, record] = gloves_.ledger().turn(true);
  if ((expectation == Ledger::Turn::Outcome::record) != isNew ||
      (isNew && !std::ranges::equal(record->elements, store().elements()))) {
    throw std::runtime_error(simulator::toText("after ", gloves_.now(), " s the plug-in delivered ",
                                               isNew ? "another record than expected" : "no record"));
  }
  if (!isNew) record.reset();
  return {outcome == PlatformPlugin::Outcome::failed, std::move(record)};
}

void VirtualPlugin::close()
{
  plugin_.close();
}

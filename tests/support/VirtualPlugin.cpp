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

VirtualPlugin::OnPlatform::OnPlatform(SimulatedPlatform& platform) : object(TESSEL_TEST_PLUGIN)
{
  currentClock = &platform.clock;
  reinterpret_cast<decltype(&usePlatform)>(object.find("usePlatform"))(&platform);
}

VirtualPlugin::VirtualPlugin(VirtualGloves& gloves, const std::string& settings)
    : gloves_(gloves),
      platform_(gloves.platform()),
      library_(TESSEL_TEST_PLUGIN),
      hardware_(
          [&] {
            library_.setFolders(&log_.folders);
            library_.setLog(log_.manager.get());
            return library_.create(log_.folder.write("settings", settings).c_str(), hostClock, L"ledger");
          }(),
          {&library_}),
      store_(hardware_->getNativeSize())
{
  hardware_->mapping_ = &store_.map;
}

VirtualPlugin::~VirtualPlugin()
{
  hardware_.reset();
  gloves_.noteConsumed();
  gloves_.ledger().unload();
}

std::optional<std::wstring> VirtualPlugin::open()
{
  const std::int32_t result = hardware_->configure();
  gloves_.noteConsumed();
  return result == 0 ? std::nullopt : std::optional(hardware_->lastError_);
}

std::wstring VirtualPlugin::ask(const std::wstring& command)
{
  std::wstring reply;
  hardware_->sendCommand(command.c_str(), reply);
  return reply;
}

VirtualPlugin::Reading VirtualPlugin::read(bool isWritten)
{
  const bool hasFailed = hardware_->readRecord() != 0;
  const bool isNew = !hasFailed && store_.takeNew();
  gloves_.noteConsumed();
  auto expected = gloves_.ledger().turn(isWritten);
  if (expected.has_value() != isNew ||
      (isNew && !std::ranges::equal(expected->elements, store_.elements()))) {
    throw std::runtime_error(simulator::toText("after ", gloves_.now(), " s the plug-in delivered ",
                                               isNew ? "another record than expected" : "no record"));
  }
  return {hasFailed, std::move(expected)};
}

void VirtualPlugin::close()
{
  hardware_->close();
  gloves_.noteConsumed();
}

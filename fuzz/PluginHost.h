// A host with the plug-in core at a port of the simulated platform, in virtual time. Each call is checked:
// its result, how long it takes, and that nothing is written but the host's record. Threads: one.
#pragma once

#include <chrono>
#include <memory>
#include <string>

#include "HWTessel.h"
#include "fuzz/Fuzz.h"
#include "link/Messages.h"
#include "tests/link/FreshStatics.h"
#include "tests/soak/GuardedStore.h"
#include "tests/support/HostLog.h"
#include "tests/support/SimulatedPlatform.h"

namespace fuzz {

struct PluginSettings {
  int gloves, modules, elements, auxiliary;  // elements of all gloves together
  const char* more = "";
};
inline constexpr PluginSettings pluginSettings[] = {
    {1, 1, 17, 0},
    {2, 2, 34, 0},
    {2, 2, 34, 2, "TesselSerialNumber\t2 17 18\n"},
    {1, 2, 17, 0},
    {2, 1, 17, 1},
    {1, 1, 1, 0, "TesselSkipSensorStartupCheck\t1\n"},
    {2, 2, 35, -1, "TesselReadTimeout\t300\n"},
};

class PluginHost {
 public:
  using Duration = VirtualClock::Duration;
  static constexpr Duration patience = std::chrono::seconds(20);  // with an opening, which then is stopped

  static constexpr Duration longest = std::chrono::seconds(30);  // of a call, whatever happens

  PluginHost()
  {
    current_ = this;
    settings::current = {};
    make(pluginSettings[0]);
    forgetEarlierInput();
  }
  PluginHost(const PluginHost&) = delete;
  PluginHost& operator=(const PluginHost&) = delete;
  ~PluginHost()
  {
    release();
    require(platform.open.empty(), "no port stays open");
  }

  // In place of the object before.
  void make(const PluginSettings& chosen)
  {
    release();
    hardware_ = std::make_unique<HWTessel>(file(chosen).c_str(), &clock, L"host");
    store_ = std::make_unique<GuardedStore>(static_cast<std::size_t>(hardware_->getNativeSize()));
    hardware_->mapping_ = &store_->map;
  }
  void release()
  {
    if (hardware_) call(longest, [this] { return hardware_.reset(), 0; });
    openings_ = 0;
  }

  void configure()
  {
    if (openings_ == 2) return;  // the second one already leaves no link
    ++openings_;
    const auto opening = std::make_shared<const bool>(true);
    platform.clock.after(patience, [this, current = std::weak_ptr(opening)] {
      if (!current.expired()) hardware_->signalShutdown();
    });
    hardware_->lastError_.clear();
    isOpening_ = true;
    const std::int32_t result = call(patience + longest, [this] { return hardware_->configure(); });
    isOpening_ = false;
    require((result == 0) == hardware_->lastError_.empty(), "a failed opening, and no other, has a message");
  }
  void stop()
  {
    if (isOpening_) hardware_->signalShutdown();
  }
  void read()
  {
    if (openings_ == 0) return;
    const std::uint64_t before = store_->records();
    const std::int32_t result = call(longest, [this] { return hardware_->readRecord(); });
    require(store_->records() <= before + (result == 0 ? 1U : 0U),
            "a read delivers one record, and none if it fails");
  }
  void send(const std::wstring& command)
  {
    std::wstring reply = L"untouched";
    const std::int32_t result =
        call(Duration(0), [&] { return hardware_->sendCommand(command.c_str(), reply); });
    require(result == -1 || reply != L"untouched", "a command that succeeds has a reply");
    require(reply.size() < 4096, "a reply is short");
  }
  void close()
  {
    call(longest, [this] { return hardware_->close(); });
    if (openings_ < 2) require(platform.open.empty(), "closing closes the port");
  }

  SimulatedPlatform platform;
  SimulatedPlatform::Port& port = platform.addPort("Bluegiga Bluetooth Low Energy (COM7)");

 private:
  // The latest reply, and what the next short message lacks.
  void forgetEarlierInput()
  {
    send(L"BatteryLevel");
    BleDevice device;
    require(serialOpen("COM7", device.port()) == OpenResult::done, "the port opens");
    port.waiting = {0x80, 0xFF, 0, 1};
    port.waiting.resize(4 + 0xFF);
    std::ignore = ble_receive_message(1);
    serialClose(device.port());
  }
  static std::uint32_t clock()
  {
    const auto now = std::chrono::duration_cast<std::chrono::milliseconds>(current_->platform.clock.now());
    return static_cast<std::uint32_t>(now.count());
  }
  static std::wstring file(const PluginSettings& chosen)
  {
    const std::string name = "settings" + std::to_string(&chosen - pluginSettings);
    if (!std::filesystem::exists(scratchFolder() / name)) {
      const auto line = [](const char* key, int value) {
        return std::string(key) + '\t' + std::to_string(value) + '\n';
      };
      writeFile(name, line("TesselNumSensors", chosen.gloves) + line("TesselNumBleModules", chosen.modules) +
                          line("TesselElementCount", chosen.elements) +
                          line("TesselAuxCount", chosen.auxiliary) + chosen.more);
    }
    return (scratchFolder() / name).wstring();
  }

  template <class Call>
  std::int32_t call(Duration limit, const Call& perform)
  {
    const Duration begin = platform.clock.now();
    std::int32_t result = -1;
    try {
      result = perform();
    } catch (const wchar_t*) {  // a third glove fails an assertion
    }
    require(result == 0 || result == -1, "a call returns 0 or -1");
    require(platform.clock.now() - begin <= limit, "a call returns in time");
    require(!store_ || store_->isMarginUntouched(), "nothing is written outside of the record");
    return result;
  }

  static inline PluginHost* current_ = nullptr;

  const FreshStatics fresh_;
  static inline const HostLog log_{0};
  std::unique_ptr<GuardedStore> store_;
  std::unique_ptr<HWTessel> hardware_;
  int openings_ = 0;
  bool isOpening_ = false;
};

}  // namespace fuzz

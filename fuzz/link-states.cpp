// Messages into the link in any of its states: all state stays within its bounds, and nothing blocks.

#include <array>
#include <cstdlib>
#include <vector>

#include "fuzz/LinkMessages.h"
#include "link/BleDevice.h"
#include "link/Messages.h"
#include "link/Modules.h"
#include "tests/link/FreshStatics.h"
#include "tests/support/HostLog.h"
#include "tests/support/SimulatedPlatform.h"

using namespace link_state;
using fuzz::require;

namespace {

void shuffle(fuzz::Input& input)
{
  connectedCount = static_cast<std::int32_t>(input.below(3));
  foundCount = static_cast<std::int32_t>(input.below(3));
  wantedCount = static_cast<std::int32_t>(input.below(3));
  discoveryState = static_cast<DiscoveryState>(input.below(6));
  serialFilter[0] = input.below(4) == 0 ? 17 : noSerialFilter;
  for (BleModule& module : modules) {
    module.state = static_cast<ConnectionState>(input.below(connectionStateCount));
    module.versionHandle = input.below(2) == 0 ? 24 : 0;
    module.statusHandle = 22;
  }
  for (PacketStore& store : stores) {
    store.setPacketFormat(static_cast<std::uint32_t>(input.below(2)));
  }
}

void checkBounds()
{
  require(static_cast<std::uint32_t>(foundCount) <= 2, "at most two modules are found");
  require(static_cast<std::uint32_t>(connectedCount) <= 2, "at most two modules are connected");
  require(static_cast<std::uint32_t>(discoveryState) <= 5, "the scan is in a known state");
  require(std::abs(dongleVerdict) <= 1, "the firmware's verdict is a known one");
  for (const BleModule& module : modules) {
    require(static_cast<std::uint32_t>(module.nameLength) <= module.name.size(), "a name fits");
    require(static_cast<std::uint32_t>(module.state) < connectionStateCount, "a module is in a known state");
  }
  std::vector<Framelet> frames;
  for (PacketStore& store : stores) {
    while (store.takeFramelet(frames, false) == PacketStore::Result::done) {
      require(frames.back().samples.size() <= 256U * 255 / 2, "a frame has no more than its packets");
      frames.clear();
    }
    require(static_cast<std::uint32_t>(store.batteryCode()) <= 31, "the battery has five bits");
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
  static const HostLog log{0};
  const FreshStatics fresh;
  SimulatedPlatform platform;
  SimulatedPlatform::Port& port = platform.addPort("Bluegiga Bluetooth Low Energy (COM7)");
  BleDevice device;
  ble_output_hook = ble_output;
  require(serialOpen("COM7", device.port()) == OpenResult::done, "the port opens");

  // What an earlier input left for messages that are too short.
  port.waiting = {0x80, 0xFF, 0, 1};
  port.waiting.resize(4 + 0xFF);
  std::ignore = ble_receive_message(1);

  fuzz::Input input(data, size);
  while (!input.atEnd()) {
    shuffle(input);
    for (std::size_t messages = 1 + input.below(16); messages > 0 && !input.atEnd(); --messages) {
      const Bytes message = fuzz::nextMessage(input);
      port.waiting.insert(port.waiting.end(), message.begin(), message.end());
      while (!port.waiting.empty()) {
        const auto begin = platform.clock.now();
        try {
          std::ignore = ble_receive_message(1);
        } catch (const wchar_t*) {  // a third module
        }
        require(platform.clock.now() - begin <= std::chrono::milliseconds(110), "receiving takes no time");
      }
      checkBounds();
    }
    device.versionText();
    device.moduleMapText();
    device.sensorStatusText(1, 20);
    std::ignore = device.poll();  // empties the list of errors
    port.written.clear();
  }
  return 0;
}

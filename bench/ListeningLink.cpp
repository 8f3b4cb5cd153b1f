#include "bench/ListeningLink.h"

#include <filesystem>
#include <tuple>

#include "link/Connection.h"
#include "link/Gatt.h"

using namespace link_state;

std::array<std::uint8_t, PacketStore::packetSize> packetOf(std::size_t frame, std::size_t index)
{
  std::array<std::uint8_t, PacketStore::packetSize> packet{};
  std::generate(packet.begin(), packet.end(),
                [value = frame * 31 + index]() mutable { return static_cast<std::uint8_t>(value += 7); });
  packet[0] = static_cast<std::uint8_t>(index == 0 ? frame << 4 : index);
  if (index != 0) return packet;
  const std::size_t clock = 250 * (frame + 1);
  packet[1] = packetsPerFrame;
  packet[2] = static_cast<std::uint8_t>(clock >> 8);
  packet[3] = static_cast<std::uint8_t>(clock);
  return packet;
}

void fillStores()
{
  static std::size_t frame = 0;
  ++frame;
  for (std::size_t index = 0; index < packetsPerFrame; ++index) {
    const auto packet = packetOf(frame, index);
    for (PacketStore& store : stores) {
      store.addPacket(packet);
    }
  }
}

void listen(BleDevice& device)
{
  std::ignore = openDongle(device);
  for (std::uint32_t index = 0; index < modules.size(); ++index) {
    stores[index] = {};
    stores[index].setPacketFormat(0);
    modules[index].configHandle = gatt::configHandle;
    modules[index].versionHandle = gatt::versionHandle;
    modules[index].statusHandle = gatt::statusHandle;
    modules[index].state = ConnectionState::listening_measurements;
    std::ignore = countModule(index);
  }
}

NoLogs::NoLogs()
{
  folder::folders()[L"log"] =
      folder::Folder(std::filesystem::temp_directory_path().wstring() + L"/tessel-bench/");
  manager_ = std::make_unique<LogManager>(0);
  currentLogManager = manager_.get();
}

#include "link/BleDevice.h"

#include <algorithm>

#include "link/Modules.h"
#include "shared/Log.h"
#include "stream/PacketStore.h"

using namespace link_state;

BleDevice::BleDevice()
{
  currentLogManager->add(this, L"BleDevice");
  currentDevice = this;
  modules = {};
  connectionHandles.fill(-1);
  connectedCount = 0;
  foundCount = 0;
  wantedCount = 0;
  for (std::size_t index = 0; index < stores.size(); ++index) {
    stores[index].setModule(static_cast<std::int32_t>(index));
  }
}

BleDevice::~BleDevice()
{
  // Intentional: this also clears a newer device that has become current since.
  currentDevice = nullptr;
  currentLogManager->logQuietly(this, 1, L"Destroying BLE Device.\n");
  currentLogManager->remove(this);
}

bool BleDevice::fetchFrame(std::vector<Framelet>& frames, std::int32_t sensorCount, std::uint64_t& backlog)
{
  constexpr std::size_t tolerated = 3;  // difference between the queues, in frames

  backlog = 0;
  const std::size_t depth0 = stores[0].frameletCount();
  if (sensorCount == 1) {
    backlog = depth0;
    return stores[0].takeFramelet(frames, false) == PacketStore::Result::done;
  }

  const std::size_t depth1 = stores[1].frameletCount();
  if (depth0 == 0 || depth1 == 0) return false;
  frames.reserve(2);  // before a frame of one glove is taken, whose partner would stay behind
  backlog = std::max(depth0, depth1);
  if (stores[0].takeFramelet(frames, depth0 >= depth1) != PacketStore::Result::done ||
      stores[1].takeFramelet(frames, depth1 >= depth0) != PacketStore::Result::done) {
    frames.clear();
    return false;
  }
  if (depth0 > depth1 + tolerated || depth1 > depth0 + tolerated) toggleConnectionInterval();
  return true;
}

std::int32_t BleDevice::batteryCode() const
{
  const std::int32_t first = stores[0].batteryCode();
  return connectedCount < 2 ? first : std::min(first, stores[1].batteryCode());
}

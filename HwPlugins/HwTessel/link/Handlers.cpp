#include "link/Handlers.h"

#include <algorithm>
#include <numeric>
#include <tuple>

#include "bgapi/PayloadLayout.h"
#include "link/Advertising.h"
#include "link/Gatt.h"
#include "link/Messages.h"
#include "link/Modules.h"
#include "platform/Platform.h"
#include "shared/Assertion.h"
#include "stream/PacketStore.h"

using namespace link_state;

namespace {

using bgapi::Payload;
using enum ConnectionState;
using enum DiscoveryState;

constexpr std::uint16_t success = 0;

// Oldest accepted firmware of the dongle: major, minor, patch, build.
constexpr std::tuple minFirmware{1, 4, 2, 130};

// The pause after a follow-up read.
constexpr std::uint32_t followUpPauseMs = 50;

// The module of a connection, or null if it is outside the table.
BleModule* moduleOf(std::uint8_t connection)
{
  return connection < modules.size() ? &modules[connection] : nullptr;
}

// Likewise, but null until the module is counted at the end of its connection step.
BleModule* countedModuleOf(std::uint8_t connection)
{
  return connection < connectedCount ? moduleOf(connection) : nullptr;
}

void move(BleModule* module, ConnectionState from, ConnectionState to)
{
  if (module != nullptr && module->state == from) module->state = to;
}

// Moves the module of a response of the class connection or attclient, if it reports success.
void moveOnSuccess(Payload payload, BleModule* (*find)(std::uint8_t), ConnectionState from,
                   ConnectionState to)
{
  namespace field = bgapi::connection_response;
  if (field::result(payload) == success) move(find(field::connection(payload)), from, to);
}

using AttributeValue = decltype(bgapi::attribute_value::value(std::declval<Payload>()));

void takeVersion(BleModule& module, AttributeValue value)
{
  constexpr std::uint8_t marker = 0x85;
  // Intentional: even an invalid record changes the state; the module then counts as revision 0.
  move(&module, state_version_response, state_version_received);
  const auto record = value.first<std::tuple_size_v<decltype(VersionRecord::bytes)>>();
  const auto summed = record.subspan<2>();
  const unsigned sum = std::accumulate(summed.begin(), summed.end(), 0U);
  if (record[0] != marker || record[1] != (sum & 0xFF)) return;
  std::copy(record.begin(), record.end(), module.version.bytes.begin());
}

void takeStatus(BleModule& module, AttributeValue value)
{
  move(&module, state_status_response, state_status_received);
  std::copy_n(value.begin(), module.sensorStatus.size(), module.sensorStatus.begin());
}

bool isEntered(const bgapi::Address& address)
{
  const auto end = modules.begin() + foundCount;
  return std::find_if(modules.begin(), end,
                      [&](const BleModule& module) { return module.address == address; }) != end;
}

bool passesSerialFilter(int serialNumber)
{
  return serialFilter[0] == noSerialFilter || serialNumber == serialFilter[0] ||
         serialNumber == serialFilter[1];
}

}  // namespace

void ble_rsp_system_get_info(Payload payload)
{
  namespace field = bgapi::firmware;
  const std::tuple firmware{field::majorNumber(payload), field::minorNumber(payload), field::patch(payload),
                            field::build(payload)};
  dongleVerdict = firmware < minFirmware ? -1 : 1;
}

void ble_rsp_gap_discover(Payload payload)
{
  discoveryState = bgapi::gap_response::result(payload) == success ? discovery_running : discovery_refused;
}

void ble_rsp_gap_end_procedure(Payload payload)
{
  if (bgapi::gap_response::result(payload) == success) discoveryState = discovery_ended;
}

void ble_rsp_gap_connect_direct(Payload payload)
{
  namespace field = bgapi::gap_response;
  if (field::result(payload) == success) {
    move(moduleOf(field::connection(payload)), connecting, connect_responded);
  }
}

void ble_evt_connection_status(Payload payload)
{
  namespace field = bgapi::connection_status;
  if ((field::flags(payload) & field::isConnected) == 0) return;
  move(moduleOf(field::connection(payload)), connect_responded, finding_services);
}

void ble_rsp_attclient_read_by_group_type(Payload payload)
{
  moveOnSuccess(payload, moduleOf, finding_services, primary_responded);
}

void ble_rsp_attclient_find_information(Payload payload)
{
  moveOnSuccess(payload, moduleOf, finding_attributes, info_responded);
}

void ble_rsp_attclient_read_by_handle(Payload payload)
{
  // Intentional: the result is ignored. After a refused read the value never arrives.
  BleModule* const module = moduleOf(bgapi::connection_response::connection(payload));
  move(module, state_version_request, state_version_response);
  move(module, state_status_request, state_status_response);
}

void ble_rsp_connection_disconnect(Payload payload)
{
  moveOnSuccess(payload, countedModuleOf, disconnecting, disconnected);
}

void ble_evt_connection_disconnected(Payload payload)
{
  // Intentional: a module that disconnects while it measures keeps its state; the host notices the silence.
  move(countedModuleOf(bgapi::disconnected::connection(payload)), disconnecting, finish);
}

void ble_evt_attclient_group_found(Payload payload)
{
  namespace field = bgapi::group_found;
  BleModule* const module = countedModuleOf(field::connection(payload));
  if (module == nullptr || module->state != primary_responded) return;
  if (field::uuidLength(payload) != gatt::service.size()) return;
  if (!std::equal(gatt::service.begin(), gatt::service.end(), field::uuid(payload).begin())) return;
  if (module->serviceStart != 0) return;  // the first group wins
  module->serviceStart = field::start(payload);
  module->serviceEnd = field::end(payload);
}

void ble_evt_attclient_find_information_found(Payload payload)
{
  namespace field = bgapi::information_found;
  BleModule* const module = moduleOf(field::connection(payload));
  if (module == nullptr || module->state != info_responded) return;
  // Intentional: the length of the UUID is not checked.
  const auto is = [&](const auto& uuid) {
    return std::equal(uuid.begin(), uuid.end(), field::uuid(payload).begin());
  };
  const std::uint16_t handle = field::handle(payload);
  if (is(gatt::command)) {
    module->commandHandle = handle;
  } else if (is(gatt::clientCharacteristicConfiguration)) {
    module->configHandle = handle;
  } else if (is(gatt::version)) {
    module->versionHandle = handle;
  }
}

void ble_evt_attclient_procedure_completed(Payload payload)
{
  namespace field = bgapi::procedure_completed;
  const std::uint8_t connection = field::connection(payload);
  BleModule* const module = moduleOf(connection);
  if (module == nullptr || field::result(payload) != success) return;

  const std::uint16_t handle = field::handle(payload);
  if (module->state == primary_responded) {
    module->state = module->serviceStart != 0 ? finding_attributes : finish;
  } else if (module->state == info_responded) {
    module->state = module->configHandle != 0 ? connected : finish;
  } else if (handle == gatt::commandHandle) {
    ble_send_message(ble_cmd_attclient_read_by_handle, {connection, gatt::followUpHandle});
    platform::sleep(followUpPauseMs);
  } else if (handle == gatt::configHandle) {
    if (module->state == listening_measurements) {
      module->state = not_listening;
    } else if (module->state == starting_notifications) {
      module->state = listening_measurements;
    }
  }
}

void ble_evt_attclient_attribute_value(Payload payload)
{
  namespace field = bgapi::attribute_value;
  const std::uint8_t connection = field::connection(payload);
  BleModule* const module = countedModuleOf(connection);
  if (module == nullptr) return;

  const std::uint16_t handle = field::handle(payload);
  const AttributeValue value = field::value(payload);
  if (handle == module->versionHandle) {
    takeVersion(*module, value);
  } else if (handle == module->statusHandle) {
    takeStatus(*module, value);
  } else if (module->state == listening_measurements && handle == gatt::measurementHandle &&
             field::length(payload) == PacketStore::packetSize) {
    stores[connection].addPacket(value.first<PacketStore::packetSize>(),
                                 value.subspan<PacketStore::packetSize>());
  }
}

void ble_evt_gap_scan_response(Payload payload)
{
  if (discoveryState >= discovery_enough) return;
  const auto name = findGloveName(payload);
  if (!name) return;

  bgapi::Address address{};
  std::copy_n(bgapi::scan_response::sender(payload).begin(), address.size(), address.begin());
  if (isEntered(address) || !passesSerialFilter(name->serialNumber)) return;

  const auto next = static_cast<std::size_t>(foundCount);
  checkAssertion(next < MAX_DEVICES, L"g < MAX_DEVICES", L"BleDevice", 1071, L"ble_evt_gap_scan_response");
  BleModule& module = modules[next];
  module.address = address;
  module.isLeft = name->isLeft ? 1 : 0;
  ++foundCount;
  if (foundCount >= wantedCount) discoveryState = discovery_enough;

  const std::size_t length = std::min(name->text.size(), module.name.size());
  std::copy_n(name->text.begin(), length, module.name.begin());
  module.nameLength = static_cast<std::int32_t>(length);
}

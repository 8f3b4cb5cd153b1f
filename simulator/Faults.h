// What a simulated device does wrong on purpose. All of it may be changed while the device runs.
#pragma once

#include <cstdint>
#include <functional>
#include <set>

namespace simulator {

// What a device leaves out. A dongle's steps concern the whole dongle, a glove's that glove alone.
// A GATT procedure that a step leaves without its end counts as ended: the next one is accepted.
enum class Step {
  getInfo,             // dongle: no response to ble_cmd_system_get_info
  discover,            // dongle: no response to ble_cmd_gap_discover, and no scan begins
  endProcedure,        // dongle: no response to ble_cmd_gap_end_procedure, though it takes effect
  connectResponse,     // glove: nothing at all after ble_cmd_gap_connect_direct
  connection,          // glove: response, but no ble_evt_connection_status
  versionResponse,     // glove: nothing at all after the read of the version
  versionValue,        // glove: response, but no value
  statusResponse,      // glove: nothing at all after the read of the status
  statusValue,         // glove: response, but no value
  startNotifications,  // glove: response to the write, but it is not completed and changes nothing
  stopNotifications,   // glove: likewise, and notifications go on
  disconnectResponse,  // glove: nothing at all after ble_cmd_connection_disconnect
};

struct DongleFaults {
  bool mute = false;  // answers nothing, sends nothing; a reset still restarts it
  std::set<Step> silentAt;
  int refusedDiscoveries = 0;        // so many ble_cmd_gap_discover get "wrong state"; counts down
  bool refusesEndProcedure = false;  // ble_cmd_gap_end_procedure gets "wrong state", and scanning goes on
  bool refusesConnect = false;       // ble_cmd_gap_connect_direct gets "wrong state"
  bool staysAway = false;            // does not come back after a reset
};

enum class PacketFault {
  none,
  lost,
  doubled,
  swapped,  // with the packet that follows it, which can't be swapped in its turn
};

struct GloveFaults {
  bool hidden = false;  // does not advertise, can't be connected to
  std::set<Step> silentAt;
  bool wrongChecksum = false;            // in the version record
  std::uint16_t notificationResult = 0;  // of a write to the notification configuration; not 0: no change
  // Asked for each notification, which are counted from 0 since the glove was made. Empty: no faults.
  std::function<PacketFault(std::uint64_t packet)> packetFault;
};

}  // namespace simulator

// Faults of a simulated device. All of them may be changed while the device runs.
#pragma once

#include <cstdint>
#include <functional>
#include <set>

namespace simulator {

// A step that a device leaves out. A dongle's steps apply to the whole dongle, a glove's only to that glove.
// A GATT procedure without its last step counts as ended: the next one is accepted.
enum class Step {
  getInfo,             // dongle: no response to ble_cmd_system_get_info
  discover,            // dongle: no response to ble_cmd_gap_discover, and no scan begins
  endProcedure,        // dongle: no response to ble_cmd_gap_end_procedure, though it takes effect
  connectResponse,     // glove: nothing after ble_cmd_gap_connect_direct
  connection,          // glove: response, but no ble_evt_connection_status
  versionResponse,     // glove: nothing after the read of the version
  versionValue,        // glove: response, but no value
  statusResponse,      // glove: nothing after the read of the status
  statusValue,         // glove: response, but no value
  startNotifications,  // glove: response to the write, but it is not completed and changes nothing
  stopNotifications,   // glove: likewise, and notifications go on
  disconnectResponse,  // glove: nothing after ble_cmd_connection_disconnect
};

struct DongleFaults {
  bool mute = false;  // answers nothing, sends nothing; a reset still restarts it
  std::set<Step> silentAt;
  int refusedDiscoveries = 0;  // number of ble_cmd_gap_discover answered with "wrong state"; counts down
  bool refusesEndProcedure = false;  // ble_cmd_gap_end_procedure gets "wrong state", and scanning goes on
  bool refusesConnect = false;       // ble_cmd_gap_connect_direct gets "wrong state"
  bool staysAway = false;            // does not come back after a reset
};

enum class PacketFault {
  none,
  lost,
  doubled,
  swapped,  // with the next packet, which then can't be swapped itself
};

struct GloveFaults {
  bool hidden = false;  // does not advertise, can't be connected to
  std::set<Step> silentAt;
  bool wrongChecksum = false;            // in the version record
  std::uint16_t notificationResult = 0;  // of a write to the CCCD; not 0: no change
  // Called for each notification, counted from 0 since the glove was created. Empty: no faults.
  std::function<PacketFault(std::uint64_t packet)> packetFault;
};

}  // namespace simulator

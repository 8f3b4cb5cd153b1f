// The remote modules, one in each glove, and the global state of the link: statics, because a message handler
// has no parameter but the payload.
//
// Threads: the thread that runs the link.
#pragma once

#include <array>
#include <cstdint>
#include <span>

#include "bgapi/MessageFormat.h"
#include "stream/PacketStore.h"

class Transport;

// Progress of the scan.
enum class DiscoveryState : std::uint32_t {
  discovery_idle,
  discovery_requested,
  discovery_running,  // the dongle accepted
  discovery_refused,  // the dongle refused
  discovery_enough,   // as many modules as wanted are in the table
  discovery_ended     // the dongle ended the procedure
};

// Progress of one module; docs/states.md has the diagram.
enum class ConnectionState : std::uint32_t {
  disconnected,
  connecting,
  connect_responded,
  finding_services,  // the dongle reported an established link
  primary_responded,
  finding_attributes,
  info_responded,
  connected,
  state_version_request,
  state_version_response,
  state_version_received,
  state_status_request,
  state_status_response,
  state_status_received,
  starting_notifications,
  listening_measurements,
  not_listening,
  disconnecting,
  finish
};
inline constexpr std::size_t connectionStateCount = 19;

// For debugging.
extern const std::array<const char*, connectionStateCount> connectionStateNames;

// The value of the version attribute. All zero until a valid one arrives.
struct VersionRecord {
  std::array<std::uint8_t, 16> bytes{};

  std::uint16_t partNumber() const { return u16(2); }
  std::uint16_t revision() const { return u16(4); }
  std::uint16_t build() const { return u16(6); }
  std::uint32_t commit() const { return u32(8); }
  std::uint32_t buildTime() const { return u32(12); }  // seconds since 1970 in UTC, 0 for none

 private:
  std::uint16_t u16(std::size_t offset) const
  {
    return bgapi::readU16le(std::span(bytes).subspan(offset).first<2>());
  }
  std::uint32_t u32(std::size_t offset) const
  {
    return bgapi::readU32le(std::span(bytes).subspan(offset).first<4>());
  }
};

// From this revision on a module reports its sensor status and confirms the start of notifications.
inline constexpr std::uint16_t confirmingRevision = 5;

struct BleModule {
  bgapi::Address address{};
  std::uint8_t isLeft = 0;
  std::uint16_t serviceStart = 0;
  std::uint16_t serviceEnd = 0;
  std::uint16_t configHandle = 0;
  std::uint16_t commandHandle = 0;
  std::uint16_t versionHandle = 0;
  std::uint16_t statusHandle = 0;
  std::array<char, 32> name{};  // as advertised, without a terminator
  std::int32_t nameLength = 0;
  VersionRecord version;
  std::array<std::uint8_t, 20> sensorStatus{};  // one byte for each sensor position, 0 for good
  ConnectionState state = ConnectionState::disconnected;
};

// The state of the link, grouped by lifetime.
namespace link_state {

// Cleared by each new BleDevice.
inline namespace of_device {

// A module's index is also the dongle's connection number, which counts from 0.
extern std::array<BleModule, MAX_DEVICES> modules;

// -1 while not connected.
extern std::array<std::int32_t, MAX_DEVICES> connectionHandles;

extern std::int32_t connectedCount;  // modules connected
extern std::int32_t foundCount;      // modules that the scan found
extern std::int32_t wantedCount;     // modules requested, at most MAX_DEVICES

}  // namespace of_device

// Lives as long as the library is loaded; never reset.
inline namespace of_process {

using stream_state::stores;

// Serial numbers of accepted modules; `noSerialFilter` in the first entry accepts all.
inline constexpr std::uint16_t noSerialFilter = 0xFFFF;
extern std::array<std::uint16_t, 2> serialFilter;

extern DiscoveryState discoveryState;

// The dongle's firmware: 0 unknown, 1 accepted, -1 too old.
extern std::int32_t dongleVerdict;

// Counts the changes of the connection interval.
extern std::uint32_t intervalToggle;

// The device whose port, stop flag and error list the messages use; may be null. Not owned.
extern Transport* currentDevice;

}  // namespace of_process

}  // namespace link_state

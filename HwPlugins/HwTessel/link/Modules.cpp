#include "link/Modules.h"

const std::array<const char*, connectionStateCount> connectionStateNames{"disconnected",
                                                                         "connecting",
                                                                         "connect_responded",
                                                                         "finding_services",
                                                                         "primary_responded",
                                                                         "finding_attributes",
                                                                         "info_responded",
                                                                         "connected",
                                                                         "state_version_request",
                                                                         "state_version_response",
                                                                         "state_version_received",
                                                                         "state_status_request",
                                                                         "state_status_response",
                                                                         "state_status_received",
                                                                         "starting_notifications",
                                                                         "listening_measurements",
                                                                         "not listening",
                                                                         "disconnecting",
                                                                         "finish"};

namespace link_state {

inline namespace of_device {

std::array<BleModule, MAX_DEVICES> modules;
std::array<std::int32_t, MAX_DEVICES> connectionHandles{-1, -1};
std::int32_t connectedCount = 0;
std::int32_t foundCount = 0;
std::int32_t wantedCount = 0;

}  // namespace of_device

inline namespace of_process {

std::array<std::uint16_t, 2> serialFilter{noSerialFilter, noSerialFilter};
DiscoveryState discoveryState = DiscoveryState::discovery_idle;
std::int32_t dongleVerdict = 0;
std::uint32_t intervalToggle = 0;
Transport* currentDevice = nullptr;

}  // namespace of_process

}  // namespace link_state

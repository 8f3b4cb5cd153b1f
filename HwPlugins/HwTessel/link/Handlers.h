// Handlers of received messages. A handler updates the module table and reports nothing; waiting code checks
// the states after each message. Only the handler of a completed procedure sends, and then blocks for 50 ms.
//
// Opening one module; `>` to the dongle, `<` from it, with the resulting state:
//   > connect_direct                                   connecting
//   < rsp connect_direct                               connect_responded
//   < evt connection_status                            finding_services, then connected
//   > read_by_handle 24                                state_version_request
//   < rsp read_by_handle                               state_version_response
//   < evt attribute_value 24                           state_version_received
//   > read_by_handle 22                                state_status_request
//   < rsp read_by_handle                               state_status_response
//   < evt attribute_value 22                           state_status_received
//   > attribute_write 18, 01 00                        starting_notifications
//   < evt procedure_completed 18                       listening_measurements
//   < evt attribute_value 17, again and again
//
// Threads: the thread that runs the link, within a receive. Fields are read only within the payload buffer,
// whatever the message claims.
#pragma once

#include "bgapi/MessageFormat.h"

void ble_rsp_system_get_info(bgapi::Payload payload);
void ble_rsp_connection_disconnect(bgapi::Payload payload);
void ble_rsp_attclient_read_by_group_type(bgapi::Payload payload);
void ble_rsp_attclient_find_information(bgapi::Payload payload);
void ble_rsp_attclient_read_by_handle(bgapi::Payload payload);
void ble_rsp_gap_discover(bgapi::Payload payload);
void ble_rsp_gap_connect_direct(bgapi::Payload payload);
void ble_rsp_gap_end_procedure(bgapi::Payload payload);

void ble_evt_connection_status(bgapi::Payload payload);
void ble_evt_connection_disconnected(bgapi::Payload payload);
void ble_evt_attclient_procedure_completed(bgapi::Payload payload);
void ble_evt_attclient_group_found(bgapi::Payload payload);
void ble_evt_attclient_find_information_found(bgapi::Payload payload);
void ble_evt_attclient_attribute_value(bgapi::Payload payload);
// Throws the text of a failed assertion if the table has no entry left for the module.
void ble_evt_gap_scan_response(bgapi::Payload payload);

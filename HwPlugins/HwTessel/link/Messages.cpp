#include "link/Messages.h"

#include "bgapi/ClassTable.h"
#include "link/Handlers.h"
#include "link/Modules.h"
#include "link/Transport.h"

using namespace link_state;

namespace {

using bgapi::MessageClass;
using bgapi::MessageRecord;
using bgapi::parameters;
using enum bgapi::ParameterType;

constexpr MessageRecord response(MessageClass messageClass, std::uint8_t id, bgapi::ParameterCode code,
                                 bgapi::Handler handler)
{
  return bgapi::message(0, messageClass, id, code, handler);
}

constexpr MessageRecord event(MessageClass messageClass, std::uint8_t id, bgapi::ParameterCode code,
                              bgapi::Handler handler)
{
  return bgapi::message(bgapi::eventType, messageClass, id, code, handler);
}

constexpr auto connectionAndResult = parameters({uint8, uint16});

constexpr bgapi::ClassTable<bgapi::responseCounts> responses(
    0,
    {
        response(MessageClass::system, 8, parameters({uint16, uint16, uint16, uint16, uint16, uint8, uint8}),
                 ble_rsp_system_get_info),
        response(MessageClass::connection, 0, connectionAndResult, ble_rsp_connection_disconnect),
        response(MessageClass::attclient, 1, connectionAndResult, ble_rsp_attclient_read_by_group_type),
        response(MessageClass::attclient, 3, connectionAndResult, ble_rsp_attclient_find_information),
        response(MessageClass::attclient, 4, connectionAndResult, ble_rsp_attclient_read_by_handle),
        response(MessageClass::gap, 2, parameters({uint16}), ble_rsp_gap_discover),
        response(MessageClass::gap, 3, parameters({uint16, uint8}), ble_rsp_gap_connect_direct),
        response(MessageClass::gap, 4, parameters({uint16}), ble_rsp_gap_end_procedure),
    });

constexpr bgapi::ClassTable<bgapi::eventCounts> events(
    bgapi::eventType,
    {
        event(MessageClass::connection, 0,
              parameters({uint8, uint8, address, uint8, uint16, uint16, uint16, uint8}),
              ble_evt_connection_status),
        event(MessageClass::connection, 4, connectionAndResult, ble_evt_connection_disconnected),
        event(MessageClass::attclient, 1, parameters({uint8, uint16, uint16}),
              ble_evt_attclient_procedure_completed),
        event(MessageClass::attclient, 2, parameters({uint8, uint16, uint16, uint8array}),
              ble_evt_attclient_group_found),
        event(MessageClass::attclient, 4, parameters({uint8, uint16, uint8array}),
              ble_evt_attclient_find_information_found),
        event(MessageClass::attclient, 5, parameters({uint8, uint16, uint8, uint8array}),
              ble_evt_attclient_attribute_value),
        event(MessageClass::gap, 0, parameters({int8, uint8, address, uint8, uint8, uint8array}),
              ble_evt_gap_scan_response),
    });

// The result of a receive whose read returned no bytes.
ReceiveResult refusal(ReadResult readResult)
{
  if (readResult == ReadResult::failed) return ReceiveResult::failed;
  return readResult == ReadResult::nothing ? ReceiveResult::nothing : ReceiveResult::stopped;
}

}  // namespace

const MessageRecord* ble_find_handler(std::uint32_t header)
{
  const auto messageClass = static_cast<std::uint8_t>(header >> 16);
  const auto id = static_cast<std::uint8_t>(header >> 24);
  return (header & bgapi::eventType) != 0 ? events.find(messageClass, id) : responses.find(messageClass, id);
}

OutputHook ble_output_hook = nullptr;

void ble_send_message(const MessageRecord& command, std::initializer_list<bgapi::Argument> arguments)
{
  const bgapi::EncodedMessage message = bgapi::encode(command, arguments);
  if (ble_output_hook == nullptr) return;
  ble_output_hook(std::span(message.bytes).first(message.length), message.array);
}

void ble_output(std::span<const std::uint8_t> fixed, std::span<const std::uint8_t> array)
{
  if (currentDevice == nullptr || currentDevice->isStopRaised()) return;
  const StopFlag& stopFlag = currentDevice->stopFlag();
  WriteResult result = serialWrite(currentDevice->port(), stopFlag, fixed);
  if (result == WriteResult::done) result = serialWrite(currentDevice->port(), stopFlag, array);
  if (result != WriteResult::done) currentDevice->noteError(LinkError::writeFailed);
}

ReceiveResult ble_receive_message(std::uint32_t timeoutMs)
{
  // Not cleared between messages: fields that a short message lacks keep the values of an earlier one.
  // Static, so that it is never uninitialised.
  static std::array<std::uint8_t, bgapi::payloadCapacity> payload;

  if (currentDevice == nullptr) return ReceiveResult::stopped;
  const platform::PortHandle port = currentDevice->port();
  bgapi::Header header{};
  const ReadResult headerRead = serialRead(port, &currentDevice->stopFlag(), header, timeoutMs);
  if (headerRead != ReadResult::filled) return refusal(headerRead);

  // Intentional: the high length bits are ignored, and a stop does not interrupt the payload.
  const std::size_t length = header[1];
  if (length != 0) {
    const ReadResult payloadRead = serialRead(port, nullptr, std::span(payload).first(length), timeoutMs);
    if (payloadRead != ReadResult::filled) return refusal(payloadRead);
  }

  const MessageRecord* const record = ble_find_handler(bgapi::readU32le(header));
  if (record == nullptr) {
    currentDevice->noteError(LinkError::unknownMessage);
    return ReceiveResult::unknown;
  }
  record->handler(payload);
  return ReceiveResult::handled;
}

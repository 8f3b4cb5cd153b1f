// BleDevice while the host reads and closes: polling, connection interval, closing.

#include <algorithm>
#include <exception>
#include <tuple>

#include "bgapi/Command.h"
#include "link/BleDevice.h"
#include "link/Connection.h"
#include "link/Gatt.h"
#include "link/Messages.h"
#include "platform/Platform.h"

using namespace link_state;

namespace {

// Remembers the first exception, for steps that must not keep the others from being done.
template <class Step>
void attempt(std::exception_ptr& first, const Step& step)
{
  try {
    step();
  } catch (...) {
    if (!first) first = std::current_exception();
  }
}

}  // namespace

bool BleDevice::poll()
{
  constexpr std::uint32_t messageMs = 1000;
  constexpr std::int32_t fatal = 2;  // polls in a row without a message

  if (!errors_.empty()) probeAfterErrors();
  if (!commands_.empty()) sendNextCommand();
  if (ble_receive_message(messageMs) == ReceiveResult::handled) {
    failedPolls_ = 0;
    return true;
  }
  failedPolls_ = std::min(failedPolls_ + 1, fatal);
  return failedPolls_ < fatal;
}

void BleDevice::probeAfterErrors()
{
  for (const LinkError error : errors_) {
    // The result is ignored: the receive notices a dead port.
    if (error == LinkError::writeFailed) serialIsAlive(port_);
  }
  errors_.clear();
}

void BleDevice::sendNextCommand()
{
  constexpr std::uint32_t pauseMs = 500;
  const RemoteCommand& command = commands_.front();
  const auto index = static_cast<std::uint32_t>(command.module);
  if (index < modules.size()) {
    ble_send_message(ble_cmd_attclient_attribute_write,
                     {connectionHandles[index], modules[index].commandHandle, command.value});
    platform::sleep(pauseMs);
  }
  commands_.pop_front();
}

void BleDevice::toggleConnectionInterval()
{
  constexpr std::uint16_t slow = 20;  // 25 ms
  constexpr std::uint16_t fast = 16;  // 20 ms
  constexpr std::uint16_t latency = 0;
  constexpr std::uint16_t supervisionTimeout = 1000;  // 10 s
  constexpr std::uint32_t pauseMs = 50;

  const std::uint16_t interval = intervalToggle % 2 == 0 ? slow : fast;
  for (std::int32_t connection = 0; connection < connectedCount; ++connection) {
    ble_send_message(ble_cmd_connection_update,
                     {connection, interval, interval, latency, supervisionTimeout});
    platform::sleep(pauseMs);
  }
  ++intervalToggle;
}

void BleDevice::close()
{
  if (port_ == platform::closedPort) return;
  // Also when something throws.
  struct PortCloser {
    platform::PortHandle& port;
    ~PortCloser() { serialClose(port); }
  } const closer{port_};
  std::exception_ptr error;
  for (std::uint32_t index = 0; index < connectionHandles.size(); ++index) {
    if (connectionHandles[index] >= 0) attempt(error, [&] { disconnectModule(index, error); });
  }
  if (error) std::rethrow_exception(error);
}

void BleDevice::disconnectModule(std::uint32_t index, std::exception_ptr& error)
{
  constexpr std::int32_t notListeningMs = 300;
  constexpr std::int32_t disconnectedMs = 700;

  // A raised flag would end the sends and waits below at once.
  struct LoweredStop {
    StopFlag& flag;
    const std::uint32_t before;
    ~LoweredStop()
    {
      if (before != 0) flag.store(before, std::memory_order_relaxed);
    }
  } const lowered{stopFlag_, stopFlag_.exchange(0, std::memory_order_relaxed)};

  BleModule& module = modules[index];
  if (module.state == ConnectionState::listening_measurements) {
    ble_send_message(ble_cmd_attclient_attribute_write,
                     {connectionHandles[index], module.configHandle, gatt::notificationsOff});
    attempt(error, [&] {
      std::ignore = waitForState(*this, index, ConnectionState::not_listening, notListeningMs);
    });
  }
  module.state = ConnectionState::disconnecting;
  ble_send_message(ble_cmd_connection_disconnect, {connectionHandles[index]});
  // The port is closed next, whatever the result.
  attempt(error,
          [&] { std::ignore = waitForState(*this, index, ConnectionState::disconnected, disconnectedMs); });
  connectionHandles[index] = -1;
}

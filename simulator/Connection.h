// One connection of the dongle to a glove: GATT procedures, notifications, interval changes, disconnection.
// Connection events are simulated only when there is something to transfer; otherwise nothing is scheduled.
// Sending a message may call back with a command at once, even one that ends the connection.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "simulator/Faults.h"
#include "simulator/GattProcedures.h"
#include "simulator/Glove.h"
#include "simulator/VirtualClock.h"

namespace simulator {

// In the units of BGAPI.
struct ConnectionParameters {
  std::uint16_t interval = 0;  // 1.25 ms
  std::uint16_t timeout = 0;   // 10 ms
  std::uint16_t latency = 0;   // connection events

  // The dongle uses the shortest interval allowed. An empty range yields an invalid interval.
  static ConnectionParameters shortest(std::uint16_t intervalMin, std::uint16_t intervalMax,
                                       std::uint16_t timeout, std::uint16_t latency)
  {
    return {intervalMin <= intervalMax ? intervalMin : std::uint16_t{0}, timeout, latency};
  }
  // True if Bluetooth allows them.
  bool areValid() const
  {
    return interval >= 6 && interval <= 3200 && timeout >= 10 && timeout <= 3200 && latency < 500;
  }
};

// ble_evt_connection_status. The defaults are those of a number without a connection.
Message connectionStatus(std::uint8_t connection, std::uint8_t flags = 0, const Address& address = {},
                         const ConnectionParameters& parameters = {});

// A connection's interface to its dongle.
class Radio {
 public:
  virtual void send(std::vector<std::uint8_t> message) = 0;
  // Connections that share the radio, this one included.
  virtual std::size_t connectionCount() const = 0;
  // The connection has ended and may be destroyed.
  virtual void forget(std::uint8_t connection) = 0;
  virtual ~Radio() = default;
};

// Held by a shared_ptr, so that its scheduled actions do nothing after its destruction.
class Connection final : public Glove::Peer, public std::enable_shared_from_this<Connection> {
 public:
  // Clock, radio and glove must outlive it.
  Connection(VirtualClock& clock, Radio& radio, Glove& glove, std::uint8_t number,
             ConnectionParameters parameters);

  const Glove& glove() const { return glove_; }

  // Attaches the glove and reports the connection.
  void establish();
  // Each responds to its command at once and sends the rest at later connection events.
  void update(ConnectionParameters parameters);
  void exchangeVersions();
  // `procedure` is null if the command's parameters are invalid.
  void begin(std::unique_ptr<GattProcedure> procedure, std::uint8_t command);
  void writeCommand(std::uint16_t attribute, std::span<const std::uint8_t> value);
  void disconnect();
  void reportStatus();

  // Ends the connection now, with or without a report to the host.
  void end(std::uint16_t reason);
  void close();

 private:
  struct WriteCommand {
    std::uint16_t attribute;
    std::vector<std::uint8_t> value;
  };

  void packetsWait() override;
  void gloveLeft() override;

  bool leavesOut(std::optional<Step> step) const;
  Duration interval() const;
  Duration untilNextEvent() const;
  // Skips the action if the connection has ended by then.
  void after(Duration delay, std::function<void()> action);
  void scheduleEvent();
  void runEvent();
  void takeAnswer();
  void sendWriteCommands();
  void sendPackets();

  void respond(std::uint8_t group, std::uint8_t id, std::uint16_t outcome);
  void sendStatus(std::uint8_t flags);

  VirtualClock& clock_;
  Radio& radio_;
  Glove& glove_;
  const std::uint8_t number_;
  ConnectionParameters parameters_;
  Duration anchor_{0};  // of the connection-event grid
  bool isOpen_ = false;
  bool isEventScheduled_ = false;
  std::unique_ptr<GattProcedure> procedure_;
  int eventsLeft_ = 0;  // connection events until the glove's answer to the procedure's request is due
  std::deque<WriteCommand> writeCommands_;
};

}  // namespace simulator

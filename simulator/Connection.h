// One connection of the dongle to a glove: GATT procedures, notifications, interval changes, disconnection.
// Connection events are simulated only when there is something to transfer; otherwise nothing is scheduled.
// Sending a message may call back with a command at once, even one that ends the connection.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "simulator/Faults.h"
#include "simulator/Glove.h"
#include "simulator/VirtualClock.h"

namespace simulator {

// In the units of BGAPI.
struct ConnectionParameters {
  std::uint16_t interval = 0;  // 1.25 ms
  std::uint16_t timeout = 0;   // 10 ms
  std::uint16_t latency = 0;   // connection events

  // True if Bluetooth allows them.
  bool areValid() const
  {
    return interval >= 6 && interval <= 3200 && timeout >= 10 && timeout <= 3200 && latency < 500;
  }
};

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
  void readByHandle(std::uint16_t attribute);
  void writeAttribute(std::uint16_t attribute, std::span<const std::uint8_t> value);
  void disconnect();

  // Ends the connection now, with or without a report to the host.
  void end(std::uint16_t reason);
  void close();

 private:
  struct Procedure {
    std::uint16_t attribute;
    std::optional<std::vector<std::uint8_t>> written;  // none: a read
    int eventsLeft;                                    // connection events until the glove's answer is due

    std::optional<Step> responseStep() const;
    std::optional<Step> endStep() const;
  };

  void packetsWait() override;
  void gloveLeft() override;

  bool leavesOut(std::optional<Step> step) const;
  Duration interval() const;
  Duration untilNextEvent() const;
  // Skips the action if the connection has ended by then.
  void after(Duration delay, std::function<void()> action);
  void begin(Procedure procedure, std::uint8_t command);
  void scheduleEvent();
  void runEvent();
  void finishProcedure();
  bool isConfirmed(const Procedure& write) const;
  void sendPackets();

  void respond(std::uint8_t group, std::uint8_t id, std::uint16_t outcome);
  void sendStatus(std::uint8_t flags);
  void sendValue(std::uint16_t attribute, std::uint8_t type, std::span<const std::uint8_t> value);
  void sendCompleted(std::uint16_t outcome, std::uint16_t attribute);

  VirtualClock& clock_;
  Radio& radio_;
  Glove& glove_;
  const std::uint8_t number_;
  ConnectionParameters parameters_;
  Duration anchor_{0};  // of the connection-event grid
  bool isOpen_ = false;
  bool isEventScheduled_ = false;
  std::optional<Procedure> procedure_;
};

}  // namespace simulator

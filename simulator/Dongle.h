// A simulated radio dongle that speaks BGAPI over a serial byte stream, with gloves in range. Everything runs
// on the thread that moves the clock or calls in; messages leave through onSend, which may call back into the
// dongle. Dongle.cpp has the port and the table of commands, GapCommands.cpp scans and connections. Not
// emulated: bonding and encryption, the peripheral, advertiser and server roles, link-layer errors and
// retransmissions, pauses of a scan between its windows, white lists, the 31-byte limit of a glove's
// advertisement, prepared writes, the firmware update mode, flow control.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <span>
#include <tuple>
#include <vector>

#include "simulator/Connection.h"
#include "simulator/Faults.h"
#include "simulator/Glove.h"
#include "simulator/Neighbours.h"
#include "simulator/SerialDevice.h"
#include "simulator/VirtualClock.h"
#include "simulator/Wire.h"

namespace simulator {

struct Firmware {
  std::uint16_t major = 1;
  std::uint16_t minor = 4;
  std::uint16_t patch = 2;
  std::uint16_t build = 130;
};

class Dongle final : public SerialDevice, private Radio {
 public:
  // The clock must outlive it. Scheduled actions do nothing after its destruction or restart.
  explicit Dongle(VirtualClock& clock);
  Dongle(const Dongle&) = delete;
  Dongle& operator=(const Dongle&) = delete;

  // Adds a glove in range; the dongle owns it, and the reference is valid while the dongle lives. If its
  // address is in use, it gets the next free one.
  Glove& addGlove(GloveConfig config);

  // The port disappears and returns with a restart or by a command.
  void receive(std::span<const std::uint8_t> bytes) override;
  bool isPresent() const { return isPresent_; }

  // Simulates pulling out the dongle: port and connections end without a report, and a running restart is
  // cancelled.
  void unplug();
  // Simulates plugging it in: starts as after a reset, whatever its faults. No effect if it is not unplugged.
  void plugIn();
  bool isUnplugged() const { return isUnplugged_; }

  // Scans report them, too. While there are any, the gloves advertise at random moments, as real ones do.
  Neighbours neighbours;

  DongleFaults faults;
  Firmware firmware;
  Duration restartTime{300'000};  // from the reset until the port is back
  Duration answerTime{1'000};     // from a command to its response

  // Sends these bytes unchanged, unless the port is away.
  void inject(std::span<const std::uint8_t> bytes);
  // Truncates the next message to this many bytes.
  void cutNext(std::size_t bytes) { cut_ = bytes; }
  // Ends the glove's connection, if it has one, with the BGAPI reason.
  void drop(Glove& glove, std::uint16_t reason);

 private:
  struct CommandRow {
    std::uint8_t group;
    std::uint8_t id;
    std::size_t length;  // of the fixed parameters, including the length byte of an array
    bool endsWithArray;
    void (Dongle::*execute)(PayloadReader payload);

    bool fits(std::span<const std::uint8_t> payload) const;
  };
  static constexpr std::uint8_t maxConnections = 3;

  enum class DiscoverMode : std::uint8_t { limited, generic, observation };
  struct ScanSettings {
    DiscoverMode mode = DiscoverMode::generic;
    bool isActive = true;  // asks scannable devices for their response
    bool filtersDuplicates = false;
  };
  struct PendingConnect {
    Address address;
    std::uint8_t addressType;
    std::uint8_t connection;
    ConnectionParameters parameters;
  };

  void send(std::vector<std::uint8_t> message) override;
  std::size_t connectionCount() const override { return connections_.size(); }
  void forget(std::uint8_t connection) override { connections_.erase(connection); }

  static const CommandRow* findCommand(const Command& command);
  void accept(const Command& command);
  void goAway();
  void start();
  void comeBack();
  std::vector<std::uint8_t> withVersions(MessageWriter message) const;

  // One for each command. Each sends last, since the host may respond with a reset at once.
  void reset(PayloadReader payload);
  void hello(PayloadReader payload);
  void getAddress(PayloadReader payload);
  void getConnections(PayloadReader payload);
  void getInfo(PayloadReader payload);
  void setBondableMode(PayloadReader payload);
  void setMode(PayloadReader payload);
  void setFiltering(PayloadReader payload);
  void setScanParameters(PayloadReader payload);
  void discover(PayloadReader payload);
  void connectDirect(PayloadReader payload);
  void endProcedure(PayloadReader payload);
  void disconnect(PayloadReader payload);
  void updateConnection(PayloadReader payload);
  void getRssi(PayloadReader payload);
  void exchangeVersions(PayloadReader payload);
  void writeCommand(PayloadReader payload);
  template <auto makeProcedure, std::uint8_t id>
  void beginProcedure(PayloadReader payload);

  // Null if there is none; the command of this class and id has then been answered.
  std::shared_ptr<Connection> connectionOf(std::uint8_t number, std::uint8_t group, std::uint8_t id);
  bool isScanning() const { return gapProcedure_ && !pendingConnect_; }
  void endGapProcedure();
  void listenTo(std::size_t index, Duration delay);
  Duration firstAdvertisement(std::size_t index);
  void sendScanResponse(const ScanReport& report);
  bool isReported(const ScanReport& report);
  void lookForGlove(Duration delay);
  // The lowest free number; the maximum number of connections if none is free.
  std::uint8_t freeConnection() const;
  Glove* gloveAt(const Address& address, std::uint8_t addressType = publicAddress);

  VirtualClock& clock_;
  std::vector<std::unique_ptr<Glove>> gloves_;
  std::map<std::uint8_t, std::shared_ptr<Connection>> connections_;
  CommandParser parser_;
  bool isPresent_ = true;
  bool isUnplugged_ = false;
  Duration lastAnswer_{0};
  std::optional<std::size_t> cut_;
  std::shared_ptr<const bool> gapProcedure_;  // lifetime of a scan or a pending connect
  std::optional<PendingConnect> pendingConnect_;
  ScanSettings scanSettings_;
  // Address, its type and kind of what this scan has reported.
  std::set<std::tuple<Address, std::uint8_t, AdvertisementKind>> reported_;
  std::shared_ptr<const bool> life_;  // lifetime of scheduled actions; ends with a restart
};

}  // namespace simulator

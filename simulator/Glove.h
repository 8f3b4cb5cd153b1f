// A simulated glove as the radio sees it: a GATT server that samples frames and queues them as packets. It
// samples only while notifications are on.
// Time: the virtual clock, and a device clock of 0.1 ms ticks that restarts with each start of notifications.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "simulator/Faults.h"
#include "simulator/GattTable.h"
#include "simulator/VirtualClock.h"

namespace simulator {

using Duration = VirtualClock::Duration;
using Address = std::array<std::uint8_t, 6>;

struct GloveConfig {
  Address address{0x21, 0x43, 0x65, 0x80, 0x07, 0x00};  // in wire order
  std::string name = "KVXGL00017";                      // advertised, up to 239 characters
  std::uint16_t partNumber = 4711;
  std::uint16_t revision = 5;
  std::uint16_t build = 212;
  std::uint32_t commit = 0x5EED1234;
  std::uint32_t buildTime = 1'577'836'800;  // seconds since 1970, UTC
  std::array<std::uint8_t, 20> sensorStatus{};
  std::int8_t rssi = -50;             // signal strength at the dongle, dBm
  std::uint8_t batteryCode = 20;      // 0 to 31
  double framesPerSecond = 40;        // 0.001 to 1000
  std::uint8_t packetsPerFrame = 14;  // 2 to 15
  std::uint16_t firstClock = 1;       // device clock when notifications begin, ticks of 0.1 ms
  // Fraction by which the crystal runs fast, e.g. 75e-6. Both device clock and frame rate are made from it,
  // so that the ticks between frames don't depend on it.
  double clockError = 0;
  // The sample of an element in a frame, counted since the glove was switched on. Empty: a pattern that
  // differs from element to element and from frame to frame.
  std::function<std::uint16_t(std::size_t element, std::uint64_t frame)> movement;

  // Samples per frame with this number of packets.
  std::size_t elements() const;
};

struct SentFrame {
  std::uint64_t number;  // since the glove was switched on
  std::uint32_t ticks;   // device clock, not wrapped, 0.1 ms
  std::vector<std::uint16_t> samples;
};

using Packet = std::array<std::uint8_t, 20>;

class Glove {
 public:
  // The other end of its connection, which receives the glove's own events.
  class Peer {
   public:
    virtual void packetsWait() = 0;
    virtual void gloveLeft() = 0;
    virtual ~Peer() = default;
  };

  // The clock must outlive it.
  Glove(VirtualClock& clock, GloveConfig config);
  Glove(const Glove&) = delete;
  Glove& operator=(const Glove&) = delete;

  GloveFaults faults;
  GloveConfig config;                             // may be changed while it runs
  std::function<void(const SentFrame&)> onFrame;  // called when a frame is sampled, sent or not
  // Called with the number of the frame when the radio takes one of its packets; the dongle's message with
  // the packet follows, unless the dongle sends nothing.
  std::function<void(std::uint64_t frame)> onPacketTaken;

  // Values written to the command attribute, in order.
  const std::vector<std::vector<std::uint8_t>>& commands() const { return commands_; }
  bool isConnected() const { return peer_ != nullptr; }
  bool isNotifying() const { return sampling_ != nullptr; }
  bool isSilent() const { return silent_; }
  std::uint64_t frames() const { return frames_; }                // sampled since it was switched on
  std::uint64_t droppedFrames() const { return droppedFrames_; }  // of these, for lack of radio time
  std::size_t waitingPackets() const { return queue_.size(); }

  // Stops sampling and answering, but keeps its connection.
  void fallSilent();
  // Stops the radio: its connection ends by the supervision timeout that the host requested, unless it is
  // back by then.
  void leaveRange();
  // Ends both states. Sampling restarts with the next start of notifications.
  void comeBack();

  // Its power was off: frames are counted from 0 again. Only while it is not connected.
  void restart();

  // Interface to the radio. The peer must exist until disconnect().
  bool isInRange() const { return inRange_; }
  bool advertises() const { return answers() && !faults.hidden && !isConnected(); }
  bool answers() const { return inRange_ && !silent_; }
  bool refusesConnections() const { return faults.silentAt.contains(Step::connection); }
  void connect(Peer& peer) { peer_ = &peer; }
  void disconnect();

  // Both return the result code of the procedure.
  struct ReadResult {
    std::uint16_t outcome;
    std::vector<std::uint8_t> value{};
  };
  ReadResult read(std::uint16_t attribute) const;
  std::uint16_t write(std::uint16_t attribute, std::span<const std::uint8_t> value);

  bool hasPackets() const { return !queue_.empty(); }
  // The queue must not be empty.
  Packet takePacket();

 private:
  struct QueuedPacket {
    std::uint64_t frame;
    Packet bytes;
  };
  // Start of the counting of frames and ticks: the start of notifications, or a change of rate or clock
  // error.
  struct Pace {
    Duration start;
    double ticks;
    double framesPerSecond;
    double clockError;
    std::uint64_t frames;

    double deviceSeconds() const;
  };

  std::vector<std::uint8_t> valueOf(const Attribute& attribute) const;
  std::vector<std::uint8_t> versionRecord() const;
  void startNotifications();
  void stopNotifications();
  Duration elapsed() const;    // from the start of the pace to its latest frame
  double deviceTicks() const;  // at its latest frame
  void scheduleFrame();
  void sampleFrame();
  void queueFrame(const SentFrame& frame, std::size_t packets);
  void queuePacket(const QueuedPacket& packet);
  void dropOldestFrame();

  VirtualClock& clock_;
  Peer* peer_ = nullptr;
  bool inRange_ = true;
  bool silent_ = false;
  std::vector<std::vector<std::uint8_t>> commands_;
  std::shared_ptr<const bool> sampling_;  // lifetime of the scheduled sampling
  Pace pace_{};
  std::uint64_t frames_ = 0;
  std::uint64_t droppedFrames_ = 0;
  std::uint64_t packets_ = 0;
  std::deque<QueuedPacket> queue_;
  std::optional<QueuedPacket> swapped_;  // waits until the next packet is sent before it
  std::optional<std::uint64_t> lastFrameTaken_;
};

}  // namespace simulator

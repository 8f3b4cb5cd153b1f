// Joins the 20-byte packets of one glove into frames and queues them.
//
// Only complete frames are queued: a packet out of sequence is discarded together with the frame being
// assembled, and the store waits for the next packet with index 0.
//
//   waiting     -- packet 0 --------------> assembling
//   assembling  -- expected packet -------> assembling
//   assembling  -- expected, last packet -> waiting, frame queued
//   either      -- any other packet ------> waiting, packet dropped
//
// Threads: the reading thread only. Owns its queues; keeps no reference to the caller's memory.
// Errors: the results below; throws only std::bad_alloc, which costs the frame in assembly. A packet
// that completes no frame allocates nothing.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <span>
#include <string>
#include <vector>

#include "stream/Bytestream.h"
#include "stream/Framelet.h"

class PacketStore {
 public:
  // One value of the measurement attribute.
  static constexpr std::size_t packetSize = 20;
  using Packet = std::span<const std::uint8_t, packetSize>;

  // May be ignored: a frame that is lost shows in the numbers of those that follow.
  enum class Result : int {
    done = 0,
    unusable = 5,  // nothing to hand out, or a complete frame with half a sample
    refused = 10,  // packet out of sequence, or a complete frame that carries a fault
  };

  PacketStore();

  // The module index that framelets carry; 42 until it is set.
  void setModule(std::int32_t module) { module_ = module; }

  // 0: compact packets. Anything else: extended packets.
  void setPacketFormat(std::uint32_t format);

  // Processes the next packet. `following` is the readable memory after it in the received message: an
  // extended packet may claim more payload than fits into it. Missing payload reads as zero.
  Result addPacket(Packet packet, std::span<const std::uint8_t> following = {});

  // Appends the oldest framelet to `out` and removes it from the queue; `trim` first discards all but the
  // newest two. `unusable` if there is none; `out` is then unchanged.
  Result takeFramelet(std::vector<Framelet>& out, bool trim);

  std::size_t frameletCount() const { return framelets_.size(); }

  // The glove's 5-bit battery code, updated when the frame after the one that carried it begins. Initially 0.
  std::int32_t batteryCode() const { return batteryCode_; }

  bool hasNumber(std::int32_t frameNumber) const;

  // The number of the first queued framelet that is not below `frameNumber`; -1 if there is none.
  std::int32_t nextNumber(std::int32_t frameNumber) const;

  // Appends the first framelet with exactly this number to `out` and removes it and all older ones.
  // `unusable` if there is none; `out` is then unchanged.
  Result takeNumbered(std::vector<Framelet>& out, std::int32_t frameNumber);

  // Processes a repeat notice: if it addresses this module, queues the newest samples again under the
  // notice's number and time. Always `done`.
  Result addRepeat(Packet notice);

  // Diagnostic texts: all queued samples with the mean time between frames, and the state of the assembly.
  std::string report() const;
  std::string dump() const;

 private:
  void discardFrame();
  void startFrame(std::uint16_t clock, std::uint8_t counter, std::uint8_t packetCount);
  Result startCompactFrame(Packet packet);
  Result startExtendedFrame(Packet packet);
  Result continueCompactFrame(Packet packet, std::uint8_t index);
  Result continueExtendedFrame(Packet packet, std::uint8_t index, std::span<const std::uint8_t> following);
  Result completeFrame();
  Result publish();
  void widenClock(std::uint16_t clock);
  void widenCounter(std::uint8_t counter, unsigned shift);

  Bytestream bytestream_;  // payload of the frame in assembly
  std::int32_t module_ = 42;
  std::uint32_t packetFormat_ = 0;
  std::uint32_t timeStamp_ = 0;  // widened clock of the current frame
  std::uint16_t lastClock_ = 0;
  std::uint16_t clockWraps_ = 0;
  std::int32_t frameNumber_ = 0;  // widened counter of the current frame
  std::uint8_t lastCounter_ = 0;
  std::uint32_t counterWraps_ = 0;
  std::uint8_t counterShift_ = 8;    // width of the frame counter in bits
  std::uint32_t frameFault_ = 0;     // not 0: the frame in assembly must not be queued
  std::uint8_t expectedPacket_ = 0;  // index of the next packet; 0 while no frame is in assembly
  std::int32_t lastPacket_ = 0;      // index of the last packet of the frame in assembly
  std::int32_t completed_ = 0;       // frames whose last packet arrived, queued or not
  std::deque<Framelet> framelets_;   // oldest first
  std::deque<Framelet> published_;   // the latest framelet taken by number, at most one
  std::int32_t batteryCode_ = 0;
  std::int32_t batteryLow_ = -1;   // bits 0 to 3 of the code as seen in this frame, -1 for none
  std::int32_t batteryHigh_ = -1;  // 0 or 16 likewise
};

// Maximum number of gloves.
inline constexpr std::size_t MAX_DEVICES = 2;

namespace stream_state {

// One store for each module, by module index. They live as long as the library and are never emptied:
// counters and queued frames survive a connection.
extern std::array<PacketStore, MAX_DEVICES> stores;

}  // namespace stream_state

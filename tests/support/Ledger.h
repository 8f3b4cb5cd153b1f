// The simulator's own account of a recording: what became of every frame that a glove was heard to send. It
// knows what no host knows: the frame of each packet, and which packets the plug-in consumed at which read.
// The host's books are compared with it, so it shares only the struct of the result with them, and no code
// with the plug-in. Needs memory only for frames that are under way.
#pragma once

#include <array>
#include <cstdint>
#include <deque>
#include <optional>
#include <span>
#include <vector>

#include "host/capture/Books.h"
#include "simulator/Glove.h"

struct LedgerFrame {
  std::uint64_t number;  // as the glove counts
  std::uint32_t ticks;   // of its clock, not wrapped
  simulator::Duration sampled;
};

// One glove's part: joins the packets as the plug-in has to, and counts.
class GloveLedger {
 public:
  // From now on it counts in these books, which must outlive it.
  void connect(GloveBooks& books) { books_ = &books; }
  void sample(const simulator::SentFrame& frame, simulator::Duration now);
  void requestStart(bool isConfirmed);
  void confirm();
  void end();
  void hear(std::uint64_t frame, const simulator::Packet& packet);

  struct Published {
    std::uint64_t frame;
    std::vector<std::uint16_t> samples;
  };
  std::size_t depth() const { return published_.size(); }
  // The frame that a fetch returns, of a queue cut to two frames if `trim` is set.
  Published fetch(bool trim);
  LedgerFrame sampled(std::uint64_t number);
  GloveBooks& books() { return *books_; }
  // The plug-in was unloaded.
  void unload();

 private:
  static constexpr std::size_t maxPackets = 15;

  // The latest first packet, and what was heard after it.
  struct Heard {
    std::uint64_t frame;
    std::uint64_t unheard;  // frames before it whose first packet was not heard
    bool isRepeat;
    std::size_t packets;
    std::array<bool, maxPackets + 1> isHere{};
    bool isPublished = false;

    bool isComplete() const;
  };

  void beginFrame(std::uint64_t frame, std::size_t packets);
  void settle(bool isFollowed);
  void assemble(const simulator::Packet& packet);

  GloveBooks* books_ = nullptr;
  bool isRequested_ = false;
  bool isOpen_ = false;
  std::optional<Heard> heard_;
  std::size_t expected_ = 0;  // index of the next packet that the plug-in accepts
  std::size_t count_ = 0;
  std::vector<std::uint16_t> samples_;
  std::deque<Published> published_;
  std::deque<LedgerFrame> sampled_;
};

class Ledger {
 public:
  // A record holds this number of elements of each of the gloves.
  Ledger(std::size_t gloves, std::size_t elements) : sensors_(gloves), elements_(elements) {}

  // Observes the glove, which has to send nothing after the ledger is destroyed.
  void observe(simulator::Glove& glove, const VirtualClock& clock);
  // The next message holds a packet of this frame.
  struct Packet {
    std::size_t glove;
    std::uint64_t frame;
  };
  void announce(Packet packet) { announced_ = packet; }
  const std::optional<Packet>& announced() const { return announced_; }

  // A message is ready for the plug-in to read.
  void deliver(std::span<const std::uint8_t> message);
  // The plug-in has read, or purged, this number of the delivered bytes in all.
  void consume(std::uint64_t bytes);
  // The plug-in wrote these bytes.
  void write(std::span<const std::uint8_t> bytes);

  struct Record {
    std::vector<LedgerFrame> frames;
    std::vector<std::uint16_t> elements;
  };
  // After each call of readRecord: the record that it has to deliver, if any. `isWritten`: the host keeps it.
  std::optional<Record> turn(bool isWritten);
  // The plug-in was unloaded: what is queued stays there. It may be loaded again.
  void unload();

  std::uint64_t delivered() const { return delivered_; }
  // In the order of the records: of each place in them, whichever glove had it.
  std::vector<GloveBooks> books() const;

 private:
  struct Sent {
    std::uint64_t start;  // of its message, in the delivered bytes
    Packet packet;
  };
  struct Observed {
    const simulator::Glove* glove;
    GloveLedger ledger;
  };
  // A number that the dongle gives to connections; the plug-in's left, or only, glove has 0.
  struct Connection {
    Observed* glove = nullptr;
    GloveBooks books = {};
  };

  void dispatch(std::span<const std::uint8_t> message, const std::optional<Packet>& packet);
  GloveLedger* connected(std::uint8_t connection);
  void dispatchWrite(std::span<const std::uint8_t> command);

  const std::size_t sensors_, elements_;
  std::deque<Observed> gloves_;
  std::array<Connection, 8> connections_;
  std::optional<Packet> announced_;
  std::uint64_t delivered_ = 0;
  std::uint64_t position_ = 0;        // in the delivered bytes: the next message that the plug-in reads
  std::deque<std::uint8_t> waiting_;  // from there on
  std::deque<Sent> packets_;
  std::vector<std::uint8_t> written_;
  bool hasHandled_ = false;  // a message, since the latest turn
  int failedTurns_ = 0;
};

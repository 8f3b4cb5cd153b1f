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
  // The glove confirms a change: the start, or else the end.
  void confirm();
  // What comes now is not accounted for, though the plug-in may still take it.
  void end();
  void stopListening();
  void hear(const LedgerFrame& frame, const simulator::Packet& packet);

  struct Published {
    LedgerFrame frame;
    std::uint32_t clock;  // the 16 bits that the glove sends, widened from packet to packet
    bool isAccounted;
    std::vector<std::uint16_t> samples;
  };
  std::size_t depth() const { return published_.size(); }
  // The frame that a fetch returns, of a queue cut to two frames if `trim` is set.
  Published fetch(bool trim);
  // The latest frame of this number.
  LedgerFrame sampled(std::uint64_t number);
  GloveBooks& books() { return *books_; }
  // The plug-in was unloaded.
  void unload();

 private:
  static constexpr std::size_t maxPackets = 15;

  // The latest first packet, and what was heard after it.
  struct Heard {
    LedgerFrame frame;
    std::uint64_t unheard;  // frames before it whose first packet was not heard
    bool isRepeat;
    std::size_t packets;
    std::array<bool, maxPackets + 1> isHere{};
    bool isPublished = false;

    bool isComplete() const;
  };

  void beginFrame(const LedgerFrame& frame, std::size_t packets);
  void settle(bool isFollowed);
  void assemble(const LedgerFrame& frame, const simulator::Packet& packet);

  GloveBooks* books_ = nullptr;
  bool isRequested_ = false;
  bool isListening_ = false;
  bool isOpen_ = false;  // and accounts
  std::optional<Heard> heard_;
  std::size_t expected_ = 0;  // index of the next packet that the plug-in accepts
  std::size_t count_ = 0;
  LedgerFrame assembled_{};  // the frame in assembly, and its clock
  std::uint32_t clock_ = 0;
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
    LedgerFrame frame;
  };
  void announce(const Packet& packet) { announced_ = packet; }
  const std::optional<Packet>& announced() const { return announced_; }

  // A message, or the beginning of one, is ready for the plug-in to read.
  void deliver(std::span<const std::uint8_t> message);
  // The plug-in's next read moved this number of the delivered bytes; 0 if it failed or timed out.
  void read(std::size_t bytes);
  // What was not read is gone.
  void purge();
  // The plug-in wrote these bytes.
  void write(std::span<const std::uint8_t> bytes);
  // It could not write them.
  void refuseWrite(std::span<const std::uint8_t> bytes);

  struct Record {
    std::vector<LedgerFrame> frames = {};
    std::vector<std::uint16_t> elements = {};
    std::uint32_t clock = 0;  // of the first glove's frame, widened, 0.1 ms
    std::size_t backlog = 0;  // frames in the longer queue
  };
  struct Turn {
    enum class Outcome { dead, silent, tooShort, record };
    Outcome outcome;  // dead: two reads in a row without a message
    std::optional<Record> record = {};
  };
  // After each call of readRecord: what it has to do. `isWritten`: the host keeps a record.
  Turn turn(bool isWritten);
  // The plug-in opens the gloves again without being unloaded; and has opened them, so that reads follow.
  void reopen();
  void beginReading() { hasHandled_ = false; }
  // The plug-in was unloaded: what is queued stays there. It may be loaded again.
  void unload();

  // How often the plug-in did what its capture does not show: it read a part of what it wanted, and goes on
  // behind the place where that ended, or gave up a glove without being able to tell it.
  std::uint64_t hidden() const { return hidden_; }
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
    std::uint16_t revision = 0;  // as the plug-in has read it
    GloveBooks books = {};
  };

  void beginMessage();
  void completeMessage();
  void dispatch(std::span<const std::uint8_t> message, const std::optional<Packet>& packet);
  void dispatchValue(std::span<const std::uint8_t> message, const std::optional<Packet>& packet);
  GloveLedger* connected(std::uint8_t connection);
  void dispatchWrite(std::span<const std::uint8_t> command);

  const std::size_t sensors_, elements_;
  std::deque<Observed> gloves_;
  std::array<Connection, 8> connections_;
  std::optional<Packet> announced_;
  std::uint64_t delivered_ = 0;
  std::uint64_t position_ = 0;        // in the delivered bytes: what the plug-in reads next
  std::deque<std::uint8_t> waiting_;  // from there on
  std::deque<Sent> packets_;
  // The message that the plug-in reads, first its header, then its payload. A payload that is shorter than
  // that of an earlier message leaves the end of that one in place.
  static constexpr std::size_t headerSize = 4, maxPayload = 255;
  std::array<std::uint8_t, headerSize + maxPayload> message_{};
  std::uint64_t start_ = 0;                       // in the delivered bytes
  std::size_t part_ = 0, partSize_ = headerSize;  // begin and size of header or payload
  std::size_t offset_ = 0,
              missing_ = headerSize;  // in the part: where the next byte goes, how many are to come
  std::vector<std::uint8_t> written_;
  bool hasHandled_ = false;  // a message, since the latest turn
  int failedTurns_ = 0;
  std::uint64_t hidden_ = 0;
};

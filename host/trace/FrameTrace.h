// A capture frame by frame: what was heard of each frame, and counts of what became of them. Frames are found
// and counted by GloveAccount, as `tessel record` does. Threads: one. Throws only std::bad_alloc.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "host/capture/GloveAccount.h"
#include "host/capture/LinkDecoder.h"
#include "host/trace/GloveNames.h"
#include "host/trace/MessageTrace.h"
#include "host/trace/TraceOutput.h"
#include "host/trace/TraceView.h"

class FrameTrace final : public TraceView, private LinkListener {
 public:
  enum class Content { frames, books };

  FrameTrace(TraceOutput& output, GloveFilter filter, Content content);

  void add(const CaptureBlock& block, const TraceMoment& moment, bool hasTime) override;
  void addSkipped(std::uint64_t bytes, const TraceMoment& moment) override;
  void end(std::size_t unfinishedBytes, const TraceMoment& moment) override;

 private:
  struct Samples {
    std::size_t count = 0;
    std::uint16_t min = 0;
    std::uint16_t max = 0;
  };

  // One glove's, by connection.
  class Glove final : public GloveAccount::Listener {
   public:
    void addPacket(Packet packet, Time time);
    void frameBegins(std::int64_t ticks, Time arrival) override;
    void connectionBegins() override { ++connections; }
    void frameEnds(const GloveAccount::Heard& frame, bool isCounted) override;

    FrameTrace* trace = nullptr;
    std::size_t connection = 0;
    GloveAccount account;
    std::uint64_t complete = 0;  // taken from the account
    std::uint64_t connections = 0;
    std::vector<unsigned> order;  // indices of the packets of the current frame, as they came
    std::optional<Samples> samples;
    std::optional<Time> previous;  // arrival of the frame before
  };

  void begin() override;
  void message(Time) override {}
  void notificationsBegin(std::size_t glove, Time time) override;
  void notificationsEnd(std::size_t glove, Time time) override;
  void packet(std::size_t glove, Packet packet, Time time) override
  {
    gloves_[glove].addPacket(packet, time);
  }

  void printFrame(const Glove& glove, const GloveAccount::Heard& frame, bool isCounted);
  void printEvent(const TraceMoment& moment, std::string_view kind, const std::string& text);
  void printBooks(const TraceMoment& moment);
  GloveBooks booksOf(const Glove& glove) const;
  bool isWanted(std::size_t connection) const;
  TraceMoment momentOf(Time time) const { return {time, time + toWall_}; }

  TraceOutput& output_;
  const GloveFilter filter_;
  const Content content_;
  LinkDecoder decoder_{*this};
  GloveNames names_;
  std::array<Glove, LinkDecoder::maxGloves> gloves_;
  Time toWall_{0};
  std::uint64_t sections_ = 0;
  std::uint64_t lostBlocks_ = 0;
  std::uint64_t skippedBytes_ = 0;
};

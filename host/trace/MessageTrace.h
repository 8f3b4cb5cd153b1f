// A capture message by message, with everything else that happened at the port. Bytes that are no message are
// shown as such. Threads: one. Throws only std::bad_alloc.
#pragma once

#include <nlohmann/json_fwd.hpp>

#include <optional>
#include <string>
#include <string_view>

#include "host/capture/MessageReader.h"
#include "host/trace/GloveNames.h"
#include "host/trace/Payload.h"
#include "host/trace/TraceOutput.h"
#include "host/trace/TraceView.h"

// Which glove: a connection, or a side. Neither: all.
struct GloveFilter {
  std::optional<std::size_t> connection{};
  std::string side{};

  bool isSet() const { return connection || !side.empty(); }
};

class MessageTrace final : public TraceView {
 public:
  // Of the messages, those of the filter's glove; all else in any case. `showsBytes`: those of each message.
  MessageTrace(TraceOutput& output, GloveFilter filter, bool showsBytes)
      : output_(output), filter_(std::move(filter)), showsBytes_(showsBytes)
  {
  }

  void add(const CaptureBlock& block, const TraceMoment& moment, bool hasTime) override;
  void addSkipped(std::uint64_t bytes, const TraceMoment& moment) override;
  void end(std::size_t unfinishedBytes, const TraceMoment& moment) override;

 private:
  // The bytes of one direction.
  struct Stream {
    bool isReceived;
    MessageReader reader{};
  };

  void addCall(const CaptureBlock& block);
  void printMessage(const Stream& stream, const Message& message);
  void endUnfinished(Stream& stream, std::string_view reason);
  void endUnfinished(std::string_view reason);
  void printRemark(std::string_view kind, std::string_view text, const nlohmann::ordered_json& details);
  bool isWanted(const Payload& payload) const;

  TraceOutput& output_;
  const GloveFilter filter_;
  const bool showsBytes_;
  Stream received_{true};
  Stream sent_{false};
  GloveNames gloves_;
  TraceMoment moment_;
  bool hasCalls_ = false;
};

// What became of every frame that a glove was heard to send.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

struct GloveBooks {
  // Each lost frame is counted once, under the first cause that applies.
  struct Lost {
    std::uint64_t unheard = 0;    // no first packet was heard
    std::uint64_t radio = 0;      // another packet was missing before the next first packet
    std::uint64_t refused = 0;    // all packets were heard, but not in an order that the plug-in accepts
    std::uint64_t faulty = 0;     // too short for the record, or paired with such a frame
    std::uint64_t pairing = 0;    // skipped by the plug-in to keep two gloves together
    std::uint64_t queued = 0;     // still waiting in the plug-in at the end
    std::uint64_t discarded = 0;  // delivered by the plug-in, but not written

    std::uint64_t total() const { return unheard + radio + refused + faulty + pairing + queued + discarded; }
    friend bool operator==(const Lost&, const Lost&) = default;
  };

  std::uint64_t sent = 0;       // from the first frame heard to the last
  std::uint64_t repeated = 0;   // complete frames that came again
  std::uint64_t recorded = 0;   // in a record that was written
  std::uint64_t ambiguous = 0;  // stretches in which the number of frames stays undecided
  double awaySeconds = 0;       // between two connections
  Lost lost;

  // False if a frame has no fate, or two of them.
  bool isBalanced() const { return sent + repeated == recorded + lost.total(); }
  // From 0 to 1.
  double lostShare() const
  {
    const std::uint64_t all = sent + repeated;
    return all == 0 ? 0 : static_cast<double>(lost.total()) / static_cast<double>(all);
  }
  friend bool operator==(const GloveBooks&, const GloveBooks&) = default;
};

struct Books {
  std::vector<GloveBooks> gloves;       // in the order of the records
  std::uint64_t unmatchedRecords = 0;   // contain other samples than any frames that were heard
  std::uint64_t unexpectedRecords = 0;  // made of other frames than the plug-in's rules say
  std::uint64_t lostBlocks = 0;         // of the capture
  std::uint64_t skippedBytes = 0;       // of the capture: damaged
  bool isFinal = true;                  // false: of frames that are on their way nothing is known yet

  // Empty if bytes of the capture are missing, or while frames are on their way.
  std::optional<bool> balanced() const
  {
    if (lostBlocks > 0 || skippedBytes > 0 || !isFinal) return std::nullopt;
    for (const GloveBooks& glove : gloves) {
      if (!glove.isBalanced() || glove.ambiguous > 0) return false;
    }
    return unmatchedRecords == 0 && unexpectedRecords == 0;
  }
};

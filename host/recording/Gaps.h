// Finds the holes in a recording by its stamps: an interval well above the usual one.
// The plug-in tells no losses itself. What is usual is the median of the latest intervals, so neither the
// rate need be known nor do single stamps that were corrected matter.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>

class Gaps {
 public:
  // The stamp of the next record, in ms; stamps wrap.
  void add(std::uint32_t stampMs);

  std::uint64_t count() const { return count_; }
  // Records that would have filled the gaps.
  std::uint64_t missing() const { return missing_; }
  std::uint32_t longestMs() const { return longestMs_; }
  // The usual interval; 0 until two records are there.
  std::uint32_t usualMs() const;

 private:
  void judge(std::uint32_t intervalMs, std::uint32_t usualMs);

  std::optional<std::uint32_t> last_;
  std::deque<std::uint32_t> latest_;
  std::uint64_t intervals_ = 0;
  std::uint64_t count_ = 0;
  std::uint64_t missing_ = 0;
  std::uint32_t longestMs_ = 0;
};

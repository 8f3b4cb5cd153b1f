// Finds the holes in a recording by its stamps, since the plug-in tells no losses itself: an interval well
// above the usual one. What is usual comes from the shorter intervals of the whole recording, so neither the
// rate need be known, nor do many losses or a pause of the computer matter.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>

class Gaps {
 public:
  // The stamp of the next record, in ms; stamps wrap.
  void add(std::uint32_t stampMs);

  // Intervals that are no usual ones. The first one of a recording is not looked at: gloves begin one by one.
  std::uint64_t count() const;
  std::uint32_t longestMs() const;
  // Records that would have filled the time from the first to the latest; about.
  std::uint64_t missing() const;
  // The usual interval; 0 until there are some.
  double usualMs() const;
  // From the first stamp to the latest one.
  double seconds() const { return static_cast<double>(spanMs_) / 1000; }
  // Over that time; 0 until there are two.
  double recordsPerSecond() const;

 private:
  // Longer intervals are kept together with the last of these.
  static constexpr std::size_t bins = 2000;

  std::optional<std::uint32_t> last_;
  std::uint64_t records_ = 0;
  std::uint64_t spanMs_ = 0;
  std::uint32_t longestMs_ = 0;
  std::array<std::uint32_t, bins> intervals_{};  // how many there were of each length in ms
};

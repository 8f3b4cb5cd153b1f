// Estimates gaps in a recording from its timestamps. A gap is an interval well longer than the usual one,
// which is the most frequent length in the whole recording: so the rate need not be known, and neither many
// losses nor a pause of the computer change the result. The same rule applies while recording and when
// reading a recording. It is an estimate: the plug-in reports no losses, and moves each timestamp by 5 % of
// its distance from the time at which the computer read the frame. So frames that waited while the computer
// paused have uneven intervals and look like gaps.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>

// The time from one timestamp to the next, in ms; they wrap at 32 bits. Empty if the second is earlier.
std::optional<std::uint32_t> timestampStep(std::uint32_t first, std::uint32_t second);

class GapDetector {
 public:
  // The timestamp of the next record, in ms; wraps at 32 bits.
  void add(std::uint32_t timestampMs);

  std::uint64_t count() const;
  std::uint32_t longestMs() const;
  // Estimated number of records that are missing in all gaps.
  std::uint64_t missing() const;
  // Timestamps earlier than the one before; they count as an interval of 0.
  std::uint64_t backwardSteps() const { return backwardSteps_; }
  // The usual interval; 0 while unknown.
  double usualMs() const;
  // A longer interval is a gap; infinite while unknown.
  double maxUsualMs() const;
  // From the first timestamp to the latest.
  double seconds() const { return static_cast<double>(spanMs_) / 1000; }
  // Mean over seconds(); 0 before the second record.
  double recordsPerSecond() const;

 private:
  std::uint64_t intervals() const;

  // The last bin counts all longer intervals.
  static constexpr std::size_t bins = 2000;

  std::optional<std::uint32_t> last_;
  std::uint64_t records_ = 0;
  std::uint64_t backwardSteps_ = 0;
  std::uint64_t spanMs_ = 0;
  std::uint32_t longestMs_ = 0;
  std::array<std::uint32_t, bins> intervals_{};  // number of intervals of each length in ms
};

// What timestamps say about a recording: how evenly its records follow each other. A gap is an interval well
// longer than the usual one, which is the length of most intervals of the whole recording: so the rate need
// not be known, and neither many losses nor a pause of the computer change it. The same rule holds while
// recording and for who reads a recording. An estimate: the plug-in reports no losses, and moves each
// timestamp by 5 % of its distance from the time at which the computer read the frame. So frames that waited
// while the computer paused have uneven intervals, and look like gaps.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>

class GapDetector {
 public:
  // The timestamp of the next record, in ms; timestamps wrap.
  void add(std::uint32_t timestampMs);

  std::uint64_t count() const;
  std::uint32_t longestMs() const;
  // Records that would have filled the time from the first to the latest; about.
  std::uint64_t missing() const;
  // Timestamps before the one of the record ahead; the time is taken to stand still there.
  std::uint64_t backwardSteps() const { return backwardSteps_; }
  // The usual interval; 0 while it is not known.
  double usualMs() const;
  // A longer interval is a gap; infinite while that is not known.
  double maxUsualMs() const;
  // From the first timestamp to the latest one.
  double seconds() const { return static_cast<double>(spanMs_) / 1000; }
  // Over that time; 0 until there are two.
  double recordsPerSecond() const;

 private:
  std::uint64_t intervals() const;

  // Longer intervals are kept together with the last of these.
  static constexpr std::size_t bins = 2000;

  std::optional<std::uint32_t> last_;
  std::uint64_t records_ = 0;
  std::uint64_t backwardSteps_ = 0;
  std::uint64_t spanMs_ = 0;
  std::uint32_t longestMs_ = 0;
  std::array<std::uint32_t, bins> intervals_{};  // how many there were of each length in ms
};

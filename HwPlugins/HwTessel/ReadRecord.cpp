// HWTessel::readRecord: polls the link and fills one record with its timestamp.

#include <algorithm>

#include "HWTessel.h"

namespace {

// The low 32 bits of a number truncated towards zero; 0 if no 64-bit integer can hold it.
std::uint32_t lowBits(double number)
{
  constexpr double limit = 9223372036854775808.0;  // 2 to the 63rd
  if (!(number > -limit && number < limit)) return 0;
  return static_cast<std::uint32_t>(static_cast<std::int64_t>(number));
}

// Device time in ms; the host's time if there is no divisor.
std::uint32_t deviceTime(std::uint32_t ticks, double ticksPerMs, std::uint32_t now)
{
  constexpr std::uint32_t sevenDaysMs = 604'800'000;
  if (!(ticksPerMs > 0.0)) return now;
  const std::uint32_t rounded = lowBits(ticks / ticksPerMs + 0.5);
  // Intentional: after seven days timestamps fall back to that of the first frame.
  return rounded > sevenDaysMs ? 0 : rounded;
}

}  // namespace

std::int32_t HWTessel::readRecord()
{
  // Also when an exception leaves the function.
  struct Emptied {
    std::vector<Framelet>& frames;
    ~Emptied() { frames.clear(); }
  } const emptied{frames_};

  BleDevice& device = *bleDevice_.load();
  if (!device.poll()) return -1;
  std::uint64_t backlog = 0;
  if (!device.fetchFrame(frames_, settings_.numSensors, backlog)) return decideOnSilence();
  timestampRecord(frames_.front(), backlog);
  return fillRecord();
}

std::int32_t HWTessel::decideOnSilence() const
{
  // Intentional: no silence is too long before the first frame, or after one that arrived when the host's
  // clock read 0.
  if (lastDelivery_ == 0) return 0;
  // Intentional: a negative timeout becomes a very large one.
  return clock_() - lastDelivery_ > static_cast<std::uint32_t>(settings_.readTimeout) ? -1 : 0;
}

void HWTessel::timestampRecord(const Framelet& frame, std::uint64_t backlog)
{
  constexpr double kept = 0.95;
  constexpr double taken = 1 - kept;  // 0.050000000000000044, not 0.05: timestamps must match to the bit
  constexpr std::uint64_t lateBacklog = 6;

  lastDelivery_ = clock_();
  const std::uint32_t time = deviceTime(frame.timeStamp, settings_.timeDivisor, lastDelivery_);
  if (firstFrame_) {
    deviceBase_ = time;
    hostBase_ = clock_();
    firstFrame_ = false;
    driftFilter_ = 0.0;
  }
  recordStamp_ = hostBase_ - deviceBase_ + time;
  // A frame that waited in a queue carries no information about the clocks. Intentional: its timestamp gets
  // no correction at all.
  if (backlog < lateBacklog) {
    // Intentional: the difference ignores wrapping. If only one of host clock and timestamp has wrapped, the
    // timestamps jump and recover within some hundred frames.
    const double difference = static_cast<double>(clock_()) - static_cast<double>(recordStamp_);
    driftFilter_ = difference * taken + driftFilter_ * kept;
    recordStamp_ += lowBits(driftFilter_);
  }

  const std::int64_t number = frame.frameNumber;
  lostFrames_ += number - lastFrameNumber_ - 1;
  lastFrameNumber_ = number;
}

std::int32_t HWTessel::fillRecord()
{
  ReorderingMap<unsigned short>& record = getRecord();
  const std::uint64_t elements =
      getNativeSize() - static_cast<std::uint64_t>(std::int64_t{settings_.auxCount});
  const std::uint64_t perFrame = elements / frames_.size();
  const auto isShort = [perFrame](const Framelet& frame) { return frame.samples.size() < perFrame; };
  if (std::ranges::any_of(frames_, isShort)) return -1;

  std::uint32_t position = 0;
  for (const Framelet& frame : frames_) {
    // A negative number of auxiliary elements makes the record shorter than its gloves.
    const auto count = static_cast<std::uint32_t>(std::min(perFrame, getNativeSize() - position));
    if (record.indices_.empty() && count > 0) {
      std::copy_n(frame.samples.begin(), count, &record[position]);
    } else {
      for (std::uint32_t index = 0; index < count; ++index) {
        record[position + index] = frame.samples[index];
      }
    }
    position += count;
  }
  RecordBuffer& buffer = *record.buffer_;
  *buffer.stampCell() = recordStamp_;
  buffer.advance();
  record.data_ = buffer.writePointer();
  return 0;
}

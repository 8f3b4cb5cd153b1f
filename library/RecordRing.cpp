#include "library/RecordRing.h"

#include <algorithm>

namespace library {

namespace {

// Records for which the lock is held: some microseconds.
constexpr std::uint64_t pieceSize = 32;

}  // namespace

RecordRing::RecordRing(std::size_t capacity, std::size_t gloves, std::size_t elements)
    : capacity_(capacity),
      gloves_(gloves),
      frames_(capacity * gloves),
      elements_(capacity * elements),
      slots_(capacity)
{
  for (std::size_t slot = 0; slot < capacity; ++slot) {
    slots_[slot].frames = std::span(frames_).subspan(slot * gloves, gloves);
    slots_[slot].elements = std::span(elements_).subspan(slot * elements, elements);
  }
}

RecordRing::Lock RecordRing::lockToWrite()
{
  isWriterWaiting_ = true;
  Lock lock(mutex_);
  isWriterWaiting_ = false;
  isWriterWaiting_.notify_all();
  return lock;
}

RecordRing::Lock RecordRing::lockToRead() const
{
  // A mutex alone is not fair: a reader that copies piece after piece could get it again and again.
  isWriterWaiting_.wait(true);
  return Lock(mutex_);
}

void RecordRing::add(const Record& record)
{
  {
    const Lock lock = lockToWrite();
    const std::size_t index = next_ % capacity_;
    Record& slot = slots_[index];
    slot.timeMs = record.timeMs;
    slot.arrivalMs = record.arrivalMs;
    slot.pluginMs = record.pluginMs;
    std::ranges::copy(record.frames.first(gloves_), frames_.data() + index * gloves_);
    const std::size_t elements = slot.elements.size();
    std::ranges::copy(record.elements.first(elements), elements_.data() + index * elements);
    ++next_;
    if (next_ - taken_ > capacity_) {
      ++taken_;
      ++overflowed_;
    }
  }
  added_.notify_one();
}

void RecordRing::end()
{
  {
    const Lock lock = lockToWrite();
    isEnded_ = true;
  }
  added_.notify_all();
}

std::uint32_t RecordRing::copyPiece(std::uint64_t first, std::uint64_t end, tessel_block& block,
                                    std::uint32_t row) const
{
  const auto count = static_cast<std::uint32_t>(std::min(pieceSize, end - first));
  for (std::uint32_t index = 0; index < count; ++index) {
    copyRecord(slots_[(first + index) % capacity_], block, row + index);
  }
  return count;
}

std::uint32_t RecordRing::take(tessel_block& block, std::chrono::milliseconds timeout)
{
  Lock lock = lockToRead();
  const auto isReady = [this] { return taken_ < next_ || isEnded_; };
  if (timeout < timeout.zero()) {
    added_.wait(lock, isReady);
  } else {
    added_.wait_for(lock, timeout, isReady);
  }
  block.count = 0;
  block.first = taken_;
  block.overflowed = overflowed_ - reported_;
  reported_ = overflowed_;
  for (;;) {
    const std::uint64_t end = std::min(next_, block.first + block.capacity);
    const std::uint32_t count = copyPiece(taken_, end, block, block.count);
    block.count += count;
    taken_ += count;
    if (taken_ == end) break;
    lock.unlock();
    lock = lockToRead();
    // Meanwhile another reader may have taken the next ones, or they were dropped: a block has no gaps.
    if (taken_ != block.first + block.count) break;
  }
  return block.count;
}

std::uint32_t RecordRing::copyLatest(tessel_block& block) const
{
  block.overflowed = 0;
  // Again with fewer ones, should the writer overtake this; the last piece is always copied.
  for (std::uint64_t wanted = std::min<std::uint64_t>(block.capacity, capacity_);;
       wanted = (wanted + 1) / 2) {
    Lock lock = lockToRead();
    const std::uint64_t end = next_;
    std::uint64_t number = end - std::min(wanted, end);
    block.first = number;
    block.count = 0;
    while (next_ - number <= capacity_) {
      const std::uint32_t count = copyPiece(number, end, block, block.count);
      block.count += count;
      number += count;
      if (number == end) return block.count;
      lock.unlock();
      lock = lockToRead();
    }
  }
}

bool RecordRing::hasEnded() const
{
  const Lock lock = lockToRead();
  return isEnded_;
}

RecordRing::Counts RecordRing::counts() const
{
  const Lock lock = lockToRead();
  return {.records = next_, .buffered = next_ - taken_, .overflowed = overflowed_};
}

}  // namespace library

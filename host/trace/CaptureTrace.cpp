#include "host/trace/CaptureTrace.h"

#include <utility>

void CaptureTrace::add(std::span<const std::uint8_t> bytes)
{
  reader_.add(bytes);
  readBlocks();
}

void CaptureTrace::end()
{
  passSkipped();
  const std::size_t unfinished = reader_.unfinishedBytes();
  const std::uint64_t blocks = blocks_;
  // A damaged length may hide whole blocks.
  reader_.end();
  readBlocks();
  if (!hasSection()) return;
  const bool wasCut = blocks_ == blocks;
  if (!wasCut) passSkipped();
  view_.end(wasCut ? unfinished : reader_.unfinishedBytes(), time_.latest());
}

void CaptureTrace::readBlocks()
{
  while (auto block = reader_.next()) {
    ++blocks_;
    passSkipped();
    const TraceMoment moment = time_.of(*block, reader_.wallTime(block->time));
    block->time = moment.sinceStart;
    view_.add(*block, moment, !time_.wasReplaced());
  }
}

void CaptureTrace::passSkipped()
{
  const std::uint64_t bytes = reader_.skippedBytes() - skipped_;
  if (bytes == 0 || !hasSection()) return;
  skipped_ = reader_.skippedBytes();
  view_.addSkipped(bytes, time_.latest());
}

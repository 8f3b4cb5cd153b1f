#include "host/recording/Gaps.h"

#include <algorithm>
#include <vector>

namespace {

constexpr std::size_t mostLatest = 63;
// Intervals that have to be there before any is judged; those before are judged then.
constexpr std::size_t leastLatest = 9;

}  // namespace

std::uint32_t Gaps::usualMs() const
{
  if (latest_.empty()) return 0;
  std::vector<std::uint32_t> sorted(latest_.begin(), latest_.end());
  const auto middle = sorted.begin() + static_cast<std::ptrdiff_t>(sorted.size() / 2);
  std::ranges::nth_element(sorted, middle);
  return *middle;
}

void Gaps::judge(std::uint32_t intervalMs, std::uint32_t usualMs)
{
  // Stamps are whole milliseconds: at high rates their rounding alone makes intervals uneven.
  constexpr std::uint32_t leastExcessMs = 2;
  if (usualMs == 0 || intervalMs <= usualMs + std::max(usualMs / 2, leastExcessMs)) return;
  ++count_;
  missing_ += (intervalMs + usualMs / 2) / usualMs - 1;
  longestMs_ = std::max(longestMs_, intervalMs);
}

void Gaps::add(std::uint32_t stampMs)
{
  const auto before = last_;
  last_ = stampMs;
  if (!before) return;
  const std::uint32_t interval = stampMs - *before;
  if (interval > 0x7FFFFFFF) return;  // a stamp that went back
  ++intervals_;
  latest_.push_back(interval);
  if (latest_.size() > mostLatest) latest_.pop_front();
  if (intervals_ < leastLatest) return;
  const std::uint32_t usual = usualMs();
  if (intervals_ > leastLatest) return judge(interval, usual);
  for (const std::uint32_t early : latest_) {
    judge(early, usual);
  }
}

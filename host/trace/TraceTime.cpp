#include "host/trace/TraceTime.h"

#include <fmt/format.h>

#include <algorithm>

using namespace std::chrono;

namespace {

constexpr nanoseconds maxPause = hours(24);
constexpr nanoseconds maxTime = hours(24 * 366 * 100);

// Damaged times may be any numbers.
nanoseconds difference(nanoseconds later, nanoseconds earlier)
{
  return nanoseconds(static_cast<std::int64_t>(static_cast<std::uint64_t>(later.count()) -
                                               static_cast<std::uint64_t>(earlier.count())));
}

}  // namespace

TraceMoment TraceTime::of(const CaptureBlock& block, Time wall)
{
  wasReplaced_ = false;
  if (block.kind == CaptureBlock::Kind::section) sectionBegin_.reset();
  // A section that another tool has written may have no clocks.
  const bool isUnknown = block.kind == CaptureBlock::Kind::section && wall <= Time::zero();
  if (isUnknown) return latest_;
  if (!sectionBegin_) {
    if (!captureBegin_) captureBegin_ = wall;
    sectionBegin_ = wall;
    const Time distance = difference(wall, *captureBegin_);
    sectionStart_ = distance > maxTime ? latest_.sinceStart : std::max(distance, latest_.sinceStart);
  }
  const Time inSection = difference(wall, *sectionBegin_);
  const bool isPlausible = inSection >= Time::zero() && inSection < maxTime &&
                           (block.kind == CaptureBlock::Kind::section ||
                            sectionStart_ + inSection - latest_.sinceStart <= maxPause);
  wasReplaced_ = !isPlausible || sectionStart_ + inSection > maxTime;
  if (!wasReplaced_) latest_ = {sectionStart_ + inSection, wall};
  return latest_;
}

std::string wallText(nanoseconds wall)
{
  const auto day = floor<days>(wall);
  const year_month_day date{sys_days(day)};
  const hh_mm_ss time(floor<microseconds>(wall - day));
  return fmt::format("{:04}-{:02}-{:02}T{:02}:{:02}:{:02}.{:06}Z", static_cast<int>(date.year()),
                     static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()),
                     time.hours().count(), time.minutes().count(), time.seconds().count(),
                     time.subseconds().count());
}

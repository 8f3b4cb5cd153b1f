#include "host/live/LiveCurves.h"

#include <algorithm>
#include <cmath>

LiveCurves::LiveCurves(std::size_t curves)
    : curves_(curves), ms_(curves > 0 ? capacity : 0), values_(curves > 0 ? capacity * curves : 0)
{
}

void LiveCurves::add(double ms, std::span<const float> values)
{
  if (curves_ == 0 || values.size() != curves_) return;
  forgetBefore(ms - maxMs);
  if (size_ == capacity) {
    first_ = slot(1);
    --size_;
  }
  const std::size_t at = slot(size_++);
  ms_[at] = ms;
  std::ranges::copy(values, values_.begin() + static_cast<std::ptrdiff_t>(at * curves_));
}

void LiveCurves::forgetBefore(double ms)
{
  while (size_ > 0 && ms_[first_] < ms) {
    first_ = slot(1);
    --size_;
  }
}

void CurvePoints::add(double ms, std::span<const float> values)
{
  const auto interval = static_cast<std::int64_t>(std::floor(ms * LiveSource::picturesPerSecond / 1000));
  if (isOpen_ && interval == interval_) {
    ms_.back() = ms;
    auto own = values_.end() - static_cast<std::ptrdiff_t>(values.size());
    for (const float value : values) {
      *own = std::max(*own, value);
      ++own;
    }
    return;
  }
  interval_ = interval;
  isOpen_ = true;
  ms_.push_back(ms);
  values_.insert(values_.end(), values.begin(), values.end());
}

void CurvePoints::finish()
{
  isOpen_ = false;
}

void CurvePoints::moveTo(LiveCurves& curves)
{
  const std::size_t finished = ms_.size() - (isOpen_ ? 1 : 0);
  if (finished == 0) return;
  const std::size_t each = curves.curves();
  for (std::size_t point = 0; point < finished; ++point)
    curves.add(ms_[point], std::span(values_).subspan(point * each, each));
  ms_.erase(ms_.begin(), ms_.begin() + static_cast<std::ptrdiff_t>(finished));
  values_.erase(values_.begin(), values_.begin() + static_cast<std::ptrdiff_t>(finished * each));
}

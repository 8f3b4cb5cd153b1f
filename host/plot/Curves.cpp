#include "host/plot/Curves.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <iterator>
#include <limits>
#include <numeric>
#include <utility>

namespace {

// Lines of fewer columns could not be told from each other.
constexpr std::size_t minColumns = 50;

// Writes points in whole tenths of a pixel, each relative to the one before: half as long as absolute ones.
class PathData {
 public:
  void start(long x, long y)
  {
    flush();
    fmt::format_to(std::back_inserter(text_), "M{:g} {:g}", inPixels(x), inPixels(y));
    x_ = x;
    y_ = y;
    isFirst_ = true;
  }

  void lineTo(long x, long y)
  {
    if (y != y_) {
      flush();
      append(x - x_, y - y_);
    } else {
      horizontal_ += x - x_;
    }
    x_ = x;
    y_ = y;
  }

  std::string finish()
  {
    flush();
    return std::move(text_);
  }

 private:
  static double inPixels(long tenths) { return static_cast<double>(tenths) / 10; }

  // What lies on one horizontal line needs one point.
  void flush()
  {
    if (horizontal_ != 0) append(horizontal_, 0);
    horizontal_ = 0;
  }

  void append(long x, long y)
  {
    fmt::format_to(std::back_inserter(text_), "{}{:g}{}{:g}",
                   isFirst_ ? "l"
                   : x < 0  ? ""
                            : " ",
                   inPixels(x), y < 0 ? "" : " ", inPixels(y));
    isFirst_ = false;
  }

  std::string text_;
  long x_ = 0;
  long y_ = 0;
  long horizontal_ = 0;
  bool isFirst_ = true;
};

long tenths(double pixels)
{
  return std::lround(10 * pixels);
}

}  // namespace

Curves::Curves(const TimeAxis& axis, std::size_t count, std::size_t maxPoints)
    : axis_(axis),
      columns_(axis.columns()),
      hasEnds_(4 * count * columns_ <= maxPoints),
      lowest_(std::numeric_limits<double>::infinity()),
      highest_(-lowest_)
{
  lines_.assign(count, {highest_, {}, {}});
  if (!hasEnds_) columns_ = std::clamp(maxPoints / (2 * count), minColumns, columns_);
}

double Curves::columnOf(std::size_t record) const
{
  return std::floor(axis_.position(record) * static_cast<double>(columns_) /
                    static_cast<double>(axis_.columns()));
}

void Curves::add(std::size_t record, std::span<const double> values)
{
  const bool isAfterGap = latest_ && axis_.columnsOf(*latest_).end < axis_.columnsOf(record).first;
  const bool isNewColumn = !latest_ || isAfterGap || columnOf(*latest_) != columnOf(record);
  if (latest_ && isNewColumn) closeColumn(isAfterGap);
  latest_ = record;
  for (std::size_t line = 0; line < lines_.size(); ++line) {
    Column& column = lines_[line].column;
    const Value value{record, values[line]};
    if (isNewColumn) column = {value, value, value, value};
    if (value.value < column.lowest.value) column.lowest = value;
    if (value.value > column.highest.value) column.highest = value;
    column.last = value;
  }
}

void Curves::finish()
{
  if (latest_) closeColumn(true);
  latest_.reset();
}

void Curves::closeColumn(bool isBeforeGap)
{
  const auto isEarlier = [](const Value& one, const Value& other) { return one.record < other.record; };
  for (auto& [lineHighest, column, points] : lines_) {
    const auto& [first, lowest, highest, last] = column;
    lowest_ = std::min(lowest_, lowest.value);
    lineHighest = std::max(lineHighest, highest.value);
    highest_ = std::max(highest_, highest.value);
    const auto& [earlier, later] = std::minmax(lowest, highest, isEarlier);
    const std::array values{hasEnds_ ? first : earlier, earlier, later, hasEnds_ ? last : later};
    for (std::size_t index = 0; index < values.size(); ++index) {
      const auto& [record, value] = values[index];
      if (index > 0 && record == values[index - 1].record) continue;
      points.push_back({axis_.position(record), value, isStart_ && index == 0});
    }
    // The last record before a gap lasts for the usual period.
    if (isBeforeGap) points.push_back({axis_.endPosition(*latest_), last.value, false});
  }
  isStart_ = isBeforeGap;
}

std::vector<std::size_t> Curves::drawingOrder() const
{
  std::vector<std::size_t> order(lines_.size());
  std::iota(order.begin(), order.end(), std::size_t{0});
  std::ranges::stable_sort(order, std::ranges::greater(),
                           [this](std::size_t line) { return lines_[line].highest; });
  return order;
}

std::string Curves::path(std::size_t line, const Scale& scale) const
{
  PathData path;
  for (const auto& [position, value, isStart] : lines_[line].points) {
    const long x = tenths(scale.left + position);
    const long y = tenths(scale.zero - scale.unit * value);
    isStart ? path.start(x, y) : path.lineTo(x, y);
  }
  return path.finish();
}

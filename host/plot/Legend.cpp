#include "host/plot/Legend.h"

#include <fmt/core.h>

#include <algorithm>
#include <utility>

#include "host/plot/TextFit.h"

namespace {

constexpr std::size_t maxCurves = 20;
constexpr double entryHeight = 16;
constexpr double swatchWidth = 16;
constexpr double nameLeft = swatchWidth + 6;
constexpr double maxNameWidth = 110;

}  // namespace

Legend::Legend(std::vector<LegendEntry> curves, const std::vector<LegendEntry>& others)
    : entries_(std::move(curves))
{
  if (entries_.size() > maxCurves) {
    const std::size_t surplus = entries_.size() - (maxCurves - 1);
    entries_.resize(maxCurves - 1);
    entries_.push_back({LegendEntry::Swatch::none, fmt::format("and {} more", surplus), {}});
  }
  entries_.insert(entries_.end(), others.begin(), others.end());
  for (LegendEntry& entry : entries_) {
    entry.name = shortened(entry.name, maxNameWidth, svgFontSize);
  }
}

double Legend::width() const
{
  double width = 0;
  for (const LegendEntry& entry : entries_) {
    const double left = entry.swatch == LegendEntry::Swatch::none ? 0 : nameLeft;
    width = std::max(width, left + textWidth(entry.name, svgFontSize));
  }
  return width;
}

double Legend::height() const
{
  return static_cast<double>(entries_.size()) * entryHeight;
}

void Legend::draw(Svg& svg, double left, double top) const
{
  double y = top + entryHeight / 2;
  for (const auto& [swatch, name, styles] : entries_) {
    for (const std::string& style : styles) {
      switch (swatch) {
        case LegendEntry::Swatch::none:
          break;
        case LegendEntry::Swatch::line:
          svg.line(left, y, left + swatchWidth, y, style);
          break;
        case LegendEntry::Swatch::upright:
          svg.line(left + swatchWidth / 2, y - 6, left + swatchWidth / 2, y + 6, style);
          break;
        case LegendEntry::Swatch::area:
          svg.rectangle({left, y - 5, swatchWidth, 10}, style);
          break;
      }
    }
    svg.text(swatch == LegendEntry::Swatch::none ? left : left + nameLeft, y + 4, name, "");
    y += entryHeight;
  }
}

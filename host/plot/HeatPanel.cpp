#include "host/plot/HeatPanel.h"

#include <fmt/core.h>

#include <algorithm>
#include <cstdint>
#include <limits>

#include "host/plot/Bands.h"
#include "host/plot/Panel.h"
#include "host/plot/Png.h"
#include "host/plot/TextFit.h"
#include "host/plot/Ticks.h"

namespace {

constexpr double separatorHeight = 1;  // between bands
constexpr double labelHeight = 11;
constexpr double maxLabelWidth = 110;
constexpr double swatchWidth = 4;  // the colour of the region's curve
constexpr double swatchDistance = 2;
constexpr double labelDistance = swatchWidth + 2 * swatchDistance;

// Height of an element in pixels. An integer, because some viewers lose peaks when they scale an image.
std::size_t rowHeight(std::size_t elements, std::size_t bands)
{
  constexpr std::size_t minHeight = 120;  // of a heat map
  if (elements > 260) return 1;
  const std::size_t height = std::max(minHeight, bands * static_cast<std::size_t>(labelHeight + 1));
  return std::max<std::size_t>(2, (height + elements - 1) / elements);
}

// Moves labels as little as needed to have room for each.
void spread(std::vector<double>& positions, double low, double high)
{
  double next = low;
  for (double& position : positions) {
    position = std::max(position, next);
    next = position + labelHeight;
  }
  next = high;
  for (auto position = positions.rbegin(); position != positions.rend(); ++position) {
    *position = std::min(*position, next);
    next = *position - labelHeight;
  }
}

}  // namespace

HeatPanel::HeatPanel(const Recording& recording, const ElementGroup& glove, const TimeAxis& axis)
{
  const std::vector<Region> bands = bandsOf(glove);
  rowHeight_ = rowHeight(glove.count, bands.size());
  double top = 0;
  for (const Region& region : bands) {
    bands_.push_back({region.name, makeHeatMap(recording, glove, region.elements, axis), top});
    top += heightOf(bands_.back()) + separatorHeight;
  }
}

double HeatPanel::heightOf(const Band& band) const
{
  return static_cast<double>(band.map.rows * rowHeight_);
}

double HeatPanel::height() const
{
  return bands_.back().top + heightOf(bands_.back());
}

double HeatPanel::labelWidth(const ElementGroup& glove)
{
  double width = 0;
  for (const Region& region : glove.hand.regions) {
    width = std::max(width, textWidth(region.name, svgFontSize));
  }
  return std::min(width, maxLabelWidth) + labelDistance;
}

CountRange HeatPanel::rangeOf(const std::vector<HeatPanel>& panels)
{
  constexpr std::int32_t largest = std::numeric_limits<std::uint16_t>::max();
  std::int32_t low = largest;
  std::int32_t high = 0;
  for (const HeatPanel& panel : panels) {
    for (const Band& band : panel.bands_) {
      for (const std::int32_t count : band.map.counts) {
        if (count == HeatMap::nothing) continue;
        low = std::min(low, count);
        high = std::max(high, count);
      }
    }
  }
  if (low == high) (high < largest ? high : low) += high < largest ? 1 : -1;
  return {static_cast<std::uint16_t>(low), static_cast<std::uint16_t>(high)};
}

void HeatPanel::draw(Svg& svg, const Box& box, CountRange range, const RegionStyles& styles) const
{
  for (const Band& band : bands_) {
    svg.image({box.left, box.top + band.top, box.width, heightOf(band)},
              encodePng(paint(band.map, range, rowHeight_), band.map.columns, band.map.rows * rowHeight_));
  }
  const bool hasRegions = !bands_.front().region.empty();
  hasRegions ? drawRegions(svg, box, styles) : drawNumbers(svg, box);
  drawAxisName(svg, box, hasRegions ? "region" : "element");
}

void HeatPanel::drawNumbers(Svg& svg, const Box& box) const
{
  const Ticks ticks(0, static_cast<double>(bands_.front().map.rows - 1), 7, 1);
  for (const double element : ticks.values()) {
    drawTick(svg, box, box.top + (element + 0.5) * static_cast<double>(rowHeight_), ticks.label(element));
  }
}

void HeatPanel::drawRegions(Svg& svg, const Box& box, const RegionStyles& styles) const
{
  std::vector<double> positions;
  for (const Band& band : bands_) {
    positions.push_back(band.top + heightOf(band) / 2);
  }
  spread(positions, labelHeight / 2, box.height - labelHeight / 2);
  double free = -labelHeight;  // where there are more regions than labels fit, some go without
  for (std::size_t index = 0; index < bands_.size(); ++index) {
    const Band& band = bands_[index];
    svg.rectangle({box.left - swatchWidth - swatchDistance, box.top + band.top, swatchWidth, heightOf(band)},
                  fmt::format("fill=\"{}\"", styles.colour(band.region)));
    if (positions[index] < free) continue;
    free = positions[index] + labelHeight - 1;
    svg.text(box.left - labelDistance, box.top + positions[index] + 4,
             shortened(band.region, maxLabelWidth, svgFontSize), "text-anchor=\"end\"");
  }
}

void drawColourBar(Svg& svg, const Box& panel, CountRange range)
{
  const Box bar{panel.right() + sideDistance, panel.top, 12, panel.height};
  svg.text(bar.left, bar.top - nameDistance, "counts", "");
  svg.colourBar(bar);
  const Ticks ticks(range.low, range.high, 8, 1);
  for (const double count : ticks.values()) {
    const double y = bar.bottom() - bar.height * (count - range.low) / (range.high - range.low);
    svg.line(bar.right(), y, bar.right() + tickLength, y, axisStyle);
    svg.text(bar.right() + tickDistance, y + 4, ticks.label(count), "");
  }
}

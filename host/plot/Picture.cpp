#include "host/plot/Picture.h"

#include <fmt/core.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "host/base/Failure.h"
#include "host/base/Text.h"
#include "host/plot/Curve.h"
#include "host/plot/EventLayer.h"
#include "host/plot/HeatMap.h"
#include "host/plot/Png.h"
#include "host/plot/Svg.h"
#include "host/plot/TextFit.h"
#include "host/plot/Ticks.h"
#include "host/plot/TimeAxis.h"

namespace {

constexpr double leftMargin = 66;
constexpr double rightMargin = 100;
constexpr double headHeight = 92;  // down to the first heat map, without the texts of markers
constexpr double curvesHeight = 110;
constexpr double panelDistance = 12;
constexpr double gloveDistance = 60;  // holds the labels of one glove and the name of the next
constexpr double footHeight = 48;
constexpr double tickLength = 4;
constexpr double edge = 4;           // which text keeps clear of
constexpr double sideDistance = 16;  // between the panels and the colour bar or legend

constexpr const char* axisStyle = "stroke=\"#999\" stroke-width=\"1\"";
constexpr const char* gridStyle = "stroke=\"#000\" stroke-opacity=\"0.1\" stroke-width=\"1\"";
constexpr const char* frameStyle = "fill=\"none\" stroke=\"#999\" stroke-width=\"1\"";
constexpr const char* meanStyle =
    "fill=\"none\" stroke=\"#0072b2\" stroke-width=\"1.5\" stroke-linejoin=\"round\" "
    "stroke-linecap=\"round\"";
constexpr const char* highestStyle =
    "fill=\"none\" stroke=\"#d55e00\" stroke-width=\"1.5\" stroke-linejoin=\"round\" "
    "stroke-linecap=\"round\"";

std::string styleOf(const Colour& colour)
{
  return fmt::format("fill=\"#{:02x}{:02x}{:02x}\"", colour.red, colour.green, colour.blue);
}

// Height of an element in pixels. An integer, because some viewers lose peaks when they scale an image.
std::size_t rowHeight(std::size_t elements)
{
  constexpr std::size_t minHeight = 120;  // of a heat map
  if (elements > 260) return 1;
  return std::max<std::size_t>(2, (minHeight + elements - 1) / elements);
}

// Shared by all gloves, so that they can be compared.
CountRange rangeOf(const std::vector<HeatMap>& maps)
{
  std::int32_t low = 0xFFFF;
  std::int32_t high = 0;
  for (const HeatMap& map : maps) {
    for (const std::int32_t count : map.counts) {
      if (count == HeatMap::nothing) continue;
      low = std::min(low, count);
      high = std::max(high, count);
    }
  }
  if (low == high) (high < 0xFFFF ? high : low) += high < 0xFFFF ? 1 : -1;
  return {static_cast<std::uint16_t>(low), static_cast<std::uint16_t>(high)};
}

// The count axis of the curves, from one round number to another.
Ticks curveTicks(const std::vector<Levels>& levels)
{
  double low = 0xFFFF;
  double high = 0;
  for (const Levels& glove : levels) {
    low = std::min(low, *std::ranges::min_element(glove.mean));
    high = std::max(high, *std::ranges::max_element(glove.highest));
  }
  const double step = Ticks(low, std::max(high, low + 1), 4, 1).step();
  low = std::floor(low / step) * step;
  high = (std::floor(high / step) + 1) * step;
  return Ticks(low, high, static_cast<std::size_t>(std::lround((high - low) / step)));
}

class Picture {
 public:
  Picture(const Recording& recording, const PictureOptions& options)
      : recording_(recording),
        options_(options),
        width_(static_cast<double>(options.width)),
        axis_(recording, options.from, options.to,
              options.width - static_cast<std::size_t>(leftMargin + rightMargin)),
        timeTicks_(options.from, options.to, axis_.columns() / 80),
        events_(recording, axis_, leftMargin, width_ - edge)
  {
    for (const auto& group : recording.groups) {
      if (!group.isGlove()) continue;
      gloves_.push_back(group);
      maps_.push_back(makeHeatMap(recording, group, axis_));
      levels_.push_back(levelsOf(recording, group, axis_));
    }
  }

  std::string draw()
  {
    const auto& gaps = axis_.gaps();
    if (!gaps.empty() && gaps.front().first == 0 && gaps.front().end == axis_.columns()) {
      throw Failure(ExitCode::usage,
                    fmt::format("there are no records from {:g} s to {:g} s.", options_.from, options_.to),
                    "Choose other times with --from and --to, or omit them.");
    }
    double top = headHeight + events_.textHeight();
    double height = top + footHeight - gloveDistance;
    for (const auto& glove : gloves_) {
      height += heatHeight(glove) + panelDistance + curvesHeight + gloveDistance;
    }
    Svg svg(width_, height, pictureMark);
    drawHead(svg);
    events_.drawTexts(svg, top);
    const CountRange range = rangeOf(maps_);
    const Ticks ticks = curveTicks(levels_);
    for (std::size_t glove = 0; glove < gloves_.size(); ++glove) {
      const Box heat = panel(top, heatHeight(gloves_[glove]));
      const Box curves = panel(heat.bottom() + panelDistance, curvesHeight);
      drawHeatMap(svg, heat, glove, range);
      drawColourBar(svg, heat, range);
      drawCurves(svg, curves, glove, ticks);
      drawLegend(svg, curves);
      events_.draw(svg, heat, curves);
      drawTimeTicks(svg, heat, curves);
      top = curves.bottom() + gloveDistance;
    }
    svg.text(leftMargin + plotWidth() / 2, height - 12, "time (s)", "text-anchor=\"middle\"");
    return svg.finish();
  }

 private:
  double plotWidth() const { return static_cast<double>(axis_.columns()); }
  Box panel(double top, double height) const { return {leftMargin, top, plotWidth(), height}; }

  static double heatHeight(const ElementGroup& glove)
  {
    return static_cast<double>(glove.count * rowHeight(glove.count));
  }

  void drawHead(Svg& svg) const
  {
    constexpr double titleSize = 18;
    constexpr const char* separator = "  \xC2\xB7  ";
    svg.text(leftMargin, 32, shortened(options_.title, width_ - leftMargin - edge, titleSize),
             "font-size=\"18\" font-weight=\"bold\" fill=\"#111\"");
    std::string facts = recording_.started.empty() ? "" : recording_.started + separator;
    facts += fmt::format("{}{}{} record{}", durationText(duration(recording_)), separator,
                         recording_.records(), recording_.records() == 1 ? "" : "s");
    if (recording_.records() > 1) {
      facts += fmt::format("{}{:.3g} records/s", separator, 1 / usualPeriod(recording_));
    }
    if (options_.from > 0 || options_.to < duration(recording_)) {
      facts += fmt::format("{}shown from {:g} s to {:g} s", separator, options_.from, options_.to);
    }
    svg.text(leftMargin, 52, facts, "font-size=\"12\" fill=\"#666\" xml:space=\"preserve\"");
  }

  void drawHeatMap(Svg& svg, const Box& box, std::size_t glove, CountRange range) const
  {
    constexpr double nameSize = 13;
    const HeatMap& map = maps_[glove];
    svg.text(box.left, box.top - 8, shortened(gloves_[glove].label, box.width, nameSize),
             "font-size=\"13\" font-weight=\"bold\" fill=\"#111\" stroke=\"#fff\" stroke-width=\"3\" "
             "paint-order=\"stroke\"");
    const std::size_t height = rowHeight(map.rows);
    svg.image(box, encodePng(paint(map, range, height), map.columns, map.rows * height));
    const Ticks ticks(0, static_cast<double>(map.rows - 1), 7, 1);
    for (const double element : ticks.values()) {
      drawTick(svg, box, box.top + (element + 0.5) * static_cast<double>(height), ticks.label(element));
    }
    drawAxisName(svg, box, "element");
  }

  void drawCurves(Svg& svg, const Box& box, std::size_t glove, const Ticks& ticks) const
  {
    for (const ColumnSpan& gap : axis_.gaps()) {
      svg.rectangle({box.left + static_cast<double>(gap.first), box.top,
                     static_cast<double>(gap.end - gap.first), box.height},
                    styleOf(colourOfNothing));
    }
    const double low = ticks.values().front();
    const double unit = box.height / (ticks.values().back() - low);
    for (const double count : ticks.values()) {
      const double y = box.bottom() - unit * (count - low);
      drawTick(svg, box, y, ticks.label(count));
      svg.line(box.left, y, box.right(), y, gridStyle);
    }
    for (const double time : timeTicks_.values()) {
      svg.line(xOf(time), box.top, xOf(time), box.bottom(), gridStyle);
    }
    const Scale scale{box.left, box.bottom() + unit * low, unit};
    svg.path(box, curveOf(levels_[glove].highest, axis_, scale), highestStyle);
    svg.path(box, curveOf(levels_[glove].mean, axis_, scale), meanStyle);
    svg.rectangle(box, frameStyle);
    drawAxisName(svg, box, "counts");
  }

  static void drawTick(Svg& svg, const Box& box, double y, const std::string& label)
  {
    svg.line(box.left - tickLength, y, box.left, y, axisStyle);
    svg.text(box.left - tickLength - 3, y + 4, label, "text-anchor=\"end\"");
  }

  static void drawAxisName(Svg& svg, const Box& box, std::string_view name)
  {
    const double x = 18;
    const double y = box.top + box.height / 2;
    svg.text(x, y, name, fmt::format("text-anchor=\"middle\" transform=\"rotate(-90 {:.1f} {:.1f})\"", x, y));
  }

  static void drawColourBar(Svg& svg, const Box& heat, CountRange range)
  {
    const Box bar{heat.right() + sideDistance, heat.top, 12, heat.height};
    svg.text(bar.left, bar.top - 8, "counts", "");
    svg.colourBar(bar);
    const Ticks ticks(range.low, range.high, 8, 1);
    for (const double count : ticks.values()) {
      const double y = bar.bottom() - bar.height * (count - range.low) / (range.high - range.low);
      svg.line(bar.right(), y, bar.right() + tickLength, y, axisStyle);
      svg.text(bar.right() + tickLength + 3, y + 4, ticks.label(count), "");
    }
  }

  void drawLegend(Svg& svg, const Box& curves) const
  {
    constexpr double swatch = 16;
    const double left = curves.right() + sideDistance;
    double y = curves.top + 8;
    const auto name = [&](const char* text) {
      svg.text(left + swatch + 6, y + 4, text, "");
      y += 18;
    };
    svg.line(left, y, left + swatch, y, highestStyle);
    name("maximum");
    svg.line(left, y, left + swatch, y, meanStyle);
    name("mean");
    if (!axis_.gaps().empty()) {
      svg.rectangle({left, y - 5, swatch, 10}, styleOf(colourOfNothing));
      name("no records");
    }
    if (events_.hasAbsences()) {
      svg.rectangle({left, y - 5, swatch, 10}, styleOf(colourOfNothing));
      svg.rectangle({left, y - 5, swatch, 10}, EventLayer::absenceStyle);
      name("away");
    }
    if (events_.hasMarkers()) {
      svg.line(left + swatch / 2, y - 7, left + swatch / 2, y + 7, EventLayer::markerStyle);
      name("marker");
    }
  }

  double xOf(double time) const { return leftMargin + axis_.positionOf(time); }

  void drawTimeTicks(Svg& svg, const Box& heat, const Box& curves) const
  {
    for (const double time : timeTicks_.values()) {
      const double x = xOf(time);
      for (const Box& box : {heat, curves}) {
        svg.line(x, box.bottom(), x, box.bottom() + tickLength, axisStyle);
      }
      svg.text(x, curves.bottom() + tickLength + 13, timeTicks_.label(time), "text-anchor=\"middle\"");
    }
  }

  const Recording& recording_;
  const PictureOptions& options_;
  double width_;
  TimeAxis axis_;
  Ticks timeTicks_;
  EventLayer events_;
  std::vector<ElementGroup> gloves_;
  std::vector<HeatMap> maps_;
  std::vector<Levels> levels_;
};

}  // namespace

std::string drawPicture(const Recording& recording, const PictureOptions& options)
{
  return Picture(recording, options).draw();
}

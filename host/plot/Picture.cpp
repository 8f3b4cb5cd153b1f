#include "host/plot/Picture.h"

#include <fmt/core.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "host/base/Failure.h"
#include "host/plot/CurvePanel.h"
#include "host/plot/EventLayer.h"
#include "host/plot/HandRow.h"
#include "host/plot/Head.h"
#include "host/plot/HeatPanel.h"
#include "host/plot/Legend.h"
#include "host/plot/Panel.h"
#include "host/plot/Svg.h"
#include "host/plot/Ticks.h"
#include "host/plot/TimeAxis.h"

namespace {

constexpr double minLeftMargin = 66;
constexpr double minRightMargin = 100;
constexpr double headHeight = 92;  // down to the first heat map, without the texts of markers
constexpr double minCurvesHeight = 110;
constexpr double panelDistance = 12;
constexpr double gloveDistance = 60;  // holds the labels of one glove and the name of the next
constexpr double footHeight = 48;
constexpr double timeTickDistance = 80;

std::vector<ElementGroup> glovesOf(const Recording& recording)
{
  std::vector<ElementGroup> gloves = recording.groups;
  std::erase_if(gloves, [](const ElementGroup& group) { return !group.isGlove(); });
  return gloves;
}

CurvesBy curvesBy(const PictureOptions& options, const std::vector<ElementGroup>& gloves)
{
  const CurvesBy usual = usualCurves(gloves);
  const CurvesBy by = options.by.value_or(usual);
  if (by == CurvesBy::region && usual != CurvesBy::region) {
    throw Failure(ExitCode::usage, "--by region: it is not known where on the hand the elements are.",
                  "Name a layout with --layout FILE, or use --by glove or --by element.");
  }
  if (options.value && by != CurvesBy::region) {
    throw Failure(ExitCode::usage, "--value is for curves of regions only.",
                  usual == CurvesBy::region ? "Use it with --by region, or omit it."
                                            : "Name a layout with --layout FILE, or omit it.");
  }
  return by;
}

class Picture {
 public:
  Picture(const Recording& recording, const PictureOptions& options)
      : recording_(recording),
        options_(options),
        gloves_(glovesOf(recording)),
        regions_(gloves_),
        by_(curvesBy(options, gloves_)),
        value_(options.value.value_or(RegionValue::mean)),
        leftMargin_(leftMarginOf(gloves_)),
        rightMargin_(std::max(minRightMargin, sideDistance + curveLegend().width() + textEdge)),
        axis_(recording, options.from, options.to,
              options.width - static_cast<std::size_t>(leftMargin_ + rightMargin_)),
        timeTicks_(options.from, options.to,
                   static_cast<std::size_t>(std::max(plotWidth() / timeTickDistance, 2.0))),
        events_(recording, axis_, leftMargin_, width() - textEdge),
        legend_(wholeLegend())
  {
    checkRecords();
    for (const ElementGroup& glove : gloves_) {
      heats_.emplace_back(recording, glove, axis_);
      series_.push_back(seriesOf(recording, glove, axis_, by_, value_, regions_));
    }
  }

  std::string draw()
  {
    const HandRow hands(recording_, gloves_, findMoments(recording_, axis_, options_.at), width());
    const double curvesHeight = std::max(minCurvesHeight, legend_.height());
    double top = headHeight + events_.textHeight();
    double panelsBottom = top - gloveDistance;
    for (const HeatPanel& heat : heats_) {
      panelsBottom += heat.height() + panelDistance + curvesHeight + gloveDistance;
    }
    const double handsTop = panelsBottom + footHeight;
    Svg svg(width(), std::ceil(handsTop + hands.height()), pictureMark);
    drawHead(svg, recording_, options_, leftMargin_);
    events_.drawTexts(svg, top);
    const CountRange range = HeatPanel::rangeOf(heats_);
    const Ticks counts = countTicks(series_);
    for (std::size_t glove = 0; glove < gloves_.size(); ++glove) {
      const Box heat{leftMargin_, top, plotWidth(), heats_[glove].height()};
      const Box curves{leftMargin_, heat.bottom() + panelDistance, plotWidth(), curvesHeight};
      drawPanelName(svg, heat, gloves_[glove].label, gloves_[glove].module);
      heats_[glove].draw(svg, heat, range, regions_);
      drawColourBar(svg, heat, range);
      drawCurvePanel(svg, curves, series_[glove], axis_, timeTicks_, counts);
      legend_.draw(svg, curves.right() + sideDistance, curves.top);
      events_.draw(svg, heat, curves);
      hands.drawMoments(svg, axis_, heat, curves);
      drawTimeTicks(svg, heat, curves);
      top = curves.bottom() + gloveDistance;
    }
    svg.text(leftMargin_ + plotWidth() / 2, handsTop - 12, "time (s)", "text-anchor=\"middle\"");
    hands.draw(svg, handsTop, range);
    return svg.finish();
  }

 private:
  double width() const { return static_cast<double>(options_.width); }
  double plotWidth() const { return static_cast<double>(axis_.columns()); }
  double xOf(double time) const { return leftMargin_ + axis_.positionOf(time); }

  static double leftMarginOf(const std::vector<ElementGroup>& gloves)
  {
    double margin = minLeftMargin;
    for (const ElementGroup& glove : gloves) {
      margin = std::max(margin, axisNameWidth + HeatPanel::labelWidth(glove));
    }
    return std::ceil(margin);
  }

  void checkRecords() const
  {
    const auto& gaps = axis_.gaps();
    if (gaps.empty() || gaps.front().first != 0 || gaps.front().end != axis_.columns()) return;
    throw Failure(ExitCode::usage,
                  fmt::format("there are no records from {:g} s to {:g} s.", options_.from, options_.to),
                  "Choose other times with --from and --to, or omit them.");
  }

  Legend curveLegend() const { return Legend(legendOf(by_, value_, regions_)); }

  Legend wholeLegend() const
  {
    using enum LegendEntry::Swatch;
    std::vector<LegendEntry> entries;
    if (!axis_.gaps().empty()) entries.push_back({area, "no records", {fillOf(colourOfNothing)}});
    if (events_.hasAbsences()) {
      entries.push_back({area, "away", {fillOf(colourOfNothing), std::string(EventLayer::absenceStyle)}});
    }
    if (events_.hasMarkers()) entries.push_back({upright, "marker", {std::string(EventLayer::markerStyle)}});
    if (!options_.at.empty()) entries.push_back({upright, "hands", {std::string(momentStyle)}});
    return Legend(legendOf(by_, value_, regions_), entries);
  }

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
  std::vector<ElementGroup> gloves_;
  RegionStyles regions_;
  CurvesBy by_;
  RegionValue value_;
  double leftMargin_;
  double rightMargin_;
  TimeAxis axis_;
  Ticks timeTicks_;
  EventLayer events_;
  Legend legend_;
  std::vector<HeatPanel> heats_;
  std::vector<Series> series_;
};

}  // namespace

std::string drawPicture(const Recording& recording, const PictureOptions& options)
{
  return Picture(recording, options).draw();
}

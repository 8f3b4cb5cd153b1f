#include "host/plot/EventLayer.h"

#include <fmt/core.h>

#include <algorithm>
#include <cmath>
#include <string>

#include "host/base/Text.h"
#include "host/plot/TextFit.h"
#include "host/recording/Names.h"

namespace {

constexpr double labelHeight = 14;
constexpr double nameHeight = 25;  // of the glove's name, between labels and panel
constexpr double edge = 4;         // which text keeps clear of

constexpr std::string_view denseMarkerStyle =
    "fill=\"none\" stroke=\"#e6007e\" stroke-width=\"1\" stroke-opacity=\"0.4\"";
constexpr std::string_view markerTextStyle = "fill=\"#b00060\"";
constexpr std::string_view absenceTextStyle =
    "text-anchor=\"middle\" fill=\"#803800\" stroke=\"#e1c9ba\" stroke-width=\"4\" paint-order=\"stroke\"";

}  // namespace

EventLayer::EventLayer(const Recording& recording, const TimeAxis& axis, double left, double right)
    : axis_(axis), left_(left), absences_(absencesOf(recording))
{
  std::erase_if(absences_, [&](const Absence& absence) {
    return absence.to <= axis.from() || absence.from >= axis.to();
  });
  findMarkers(recording);
  labels_ = placeLabels(markers_, right, svgFontSize);
}

double EventLayer::xOf(double time) const
{
  return left_ + axis_.positionOf(time);
}

void EventLayer::findMarkers(const Recording& recording)
{
  std::size_t number = 0;
  for (const Recording::Event& event : recording.events) {
    if (event.name != names::markerEvent) continue;
    ++number;
    // One before the first or after the last record is drawn at the edge.
    const double time = std::clamp(event.seconds, 0.0, duration(recording));
    if (time < axis_.from() || time > axis_.to()) continue;
    markers_.push_back({std::floor(xOf(time)) + 0.5, event.detail, number});
  }
}

double EventLayer::textHeight() const
{
  std::size_t rows = 0;
  for (const MarkerLabel& label : labels_) {
    rows = std::max(rows, label.row + 1);
  }
  return static_cast<double>(rows) * labelHeight;
}

void EventLayer::drawTexts(Svg& svg, double panelTop) const
{
  for (const MarkerLabel& label : labels_) {
    const double y = panelTop - nameHeight - static_cast<double>(label.row) * labelHeight;
    svg.line(label.x, y - 9, label.x, panelTop, markerStyle);
    svg.text(label.x + 3, y, label.text, markerTextStyle);
  }
}

void EventLayer::draw(Svg& svg, const Box& heat, const Box& curves) const
{
  for (const Absence& absence : absences_) {
    svg.rectangle(boxOf(absence, heat), absenceStyle);
    svg.rectangle(boxOf(absence, curves), absenceStyle);
  }
  drawLines(svg, {heat.left, heat.top, heat.width + 1, curves.bottom() - heat.top});
  for (const Absence& absence : absences_) {
    drawDuration(svg, absence, curves);
  }
}

Box EventLayer::boxOf(const Absence& absence, const Box& panel) const
{
  const double left = xOf(std::max(absence.from, axis_.from()));
  return {left, panel.top, xOf(std::min(absence.to, axis_.to())) - left, panel.height};
}

void EventLayer::drawLines(Svg& svg, const Box& panels) const
{
  constexpr double minDistance = 10;
  if (markers_.empty()) return;
  std::string lines;
  double latest = 0;
  for (const MarkedPosition& marker : markers_) {
    if (marker.x == latest) continue;
    latest = marker.x;
    lines += fmt::format("M{:.1f} {:.1f}V{:.1f}", marker.x, panels.top, panels.bottom());
  }
  const bool isDense = static_cast<double>(markers_.size()) * minDistance > panels.width;
  svg.path(panels, lines, isDense ? denseMarkerStyle : markerStyle);
}

// With the name or alone, lying or upright, where there is room.
void EventLayer::drawDuration(Svg& svg, const Absence& absence, const Box& panel) const
{
  const Box box = boxOf(absence, panel);
  const double x = box.left + box.width / 2;
  const double y = box.top + box.height / 2;
  const std::string time = durationText(absence.to - absence.from);
  const std::string name = absence.glove.empty() ? "gloves" : absence.glove;
  for (const std::string& text : {fmt::format("{} away {}", name, time), time}) {
    const double needed = textWidth(text, svgFontSize) + 2 * edge;
    const bool isLying = needed <= box.width;
    if (!isLying && (needed > box.height || svgFontSize + edge > box.width)) continue;
    svg.text(
        x, y + 4, text,
        fmt::format("{} transform=\"rotate({} {:.1f} {:.1f})\"", absenceTextStyle, isLying ? 0 : -90, x, y));
    return;
  }
}

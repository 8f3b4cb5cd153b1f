// The events of a recording on the panels of a picture: a line with a text for each marker, and a shade where
// gloves were away. The axis must outlive it.
#pragma once

#include <cstddef>
#include <string_view>
#include <vector>

#include "host/plot/Absences.h"
#include "host/plot/MarkerLabels.h"
#include "host/plot/Svg.h"
#include "host/plot/TimeAxis.h"
#include "host/recording/Recording.h"

class EventLayer {
 public:
  // A colour that neither the heat map nor a curve has.
  static constexpr std::string_view markerStyle = "fill=\"none\" stroke=\"#e6007e\" stroke-width=\"1\"";
  static constexpr std::string_view absenceStyle = "fill=\"#d55e00\" fill-opacity=\"0.2\"";

  // The axis begins at `left`, and texts end before `right`.
  EventLayer(const Recording& recording, const TimeAxis& axis, double left, double right);

  bool hasMarkers() const { return !markers_.empty(); }
  bool hasAbsences() const { return !absences_.empty(); }

  // The texts of markers, above the first panel.
  double textHeight() const;
  void drawTexts(Svg& svg, double panelTop) const;
  // Over both panels of a glove.
  void draw(Svg& svg, const Box& heat, const Box& curves) const;

 private:
  double xOf(double time) const;
  void findMarkers(const Recording& recording);
  Box boxOf(const Absence& absence, const Box& panel) const;
  void drawLines(Svg& svg, const Box& panels) const;
  void drawDuration(Svg& svg, const Absence& absence, const Box& panel) const;

  const TimeAxis& axis_;
  double left_;
  std::vector<Absence> absences_;
  std::vector<MarkedPosition> markers_;
  std::vector<MarkerLabel> labels_;
};

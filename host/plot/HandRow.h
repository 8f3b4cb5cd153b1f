// The hands at some moments, side by side below the panels, in the colours of the heat maps. Each has a
// letter that also names its moment in the panels.
#pragma once

#include <cstddef>
#include <vector>

#include "host/plot/ColourMap.h"
#include "host/plot/HandPicture.h"
#include "host/plot/Moments.h"
#include "host/plot/Svg.h"
#include "host/plot/TimeAxis.h"
#include "host/recording/Recording.h"

class HandRow {
 public:
  // In a picture of this width. Recording and gloves must outlive it. A Failure with ExitCode::usage if there
  // are moments, but no positions of elements.
  HandRow(const Recording& recording, const std::vector<ElementGroup>& gloves, std::vector<Moment> moments,
          double width);

  // Over both panels of a glove.
  void drawMoments(Svg& svg, const TimeAxis& axis, const Box& heat, const Box& curves) const;
  double height() const;  // 0 without moments
  void draw(Svg& svg, double top, CountRange range) const;

 private:
  double handWidth() const;
  HandPicture pictureOf(const ElementGroup& glove) const;  // without counts
  void drawHands(Svg& svg, const Box& box, const Moment& moment, CountRange range) const;

  const Recording& recording_;
  const std::vector<ElementGroup>& gloves_;
  std::vector<Moment> moments_;
  double width_;
  std::size_t columns_ = 1;
  double cellWidth_ = 0;
  double handHeight_ = 0;
  double scale_ = 0;  // of all hands
};

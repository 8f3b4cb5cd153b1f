// The heat map of one glove as a panel: a band for each region, with its name, or all elements by number if
// regions are unknown.
#pragma once

#include <string>
#include <vector>

#include "host/plot/ColourMap.h"
#include "host/plot/HeatMap.h"
#include "host/plot/Series.h"
#include "host/plot/Svg.h"
#include "host/plot/TimeAxis.h"
#include "host/recording/Recording.h"

class HeatPanel {
 public:
  HeatPanel(const Recording& recording, const ElementGroup& glove, const TimeAxis& axis);

  // Of what is at the left of the panel.
  static double labelWidth(const ElementGroup& glove);
  double height() const;
  void draw(Svg& svg, const Box& box, CountRange range, const RegionStyles& styles) const;

  // Of all panels, so that they can be compared.
  static CountRange rangeOf(const std::vector<HeatPanel>& panels);

 private:
  struct Band {
    std::string region;
    HeatMap map;
    double top;  // within the panel
  };

  double heightOf(const Band& band) const;
  void drawNumbers(Svg& svg, const Box& box) const;
  void drawRegions(Svg& svg, const Box& box, const RegionStyles& styles) const;

  std::size_t rowHeight_;
  std::vector<Band> bands_;
};

// With its ticks, right of a panel.
void drawColourBar(Svg& svg, const Box& panel, CountRange range);

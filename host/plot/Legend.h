// What the lines and areas of a panel mean, at its right side.
#pragma once

#include <string>
#include <vector>

#include "host/plot/Svg.h"

struct LegendEntry {
  enum class Swatch { none, line, upright, area };

  Swatch swatch;
  std::string name;
  std::vector<std::string> styles;  // of the swatch, drawn one on top of another, as SVG attributes
};

class Legend {
 public:
  // Curves that don't fit into a picture are counted instead.
  explicit Legend(std::vector<LegendEntry> curves, const std::vector<LegendEntry>& others = {});

  double width() const;
  double height() const;
  void draw(Svg& svg, double left, double top) const;

 private:
  std::vector<LegendEntry> entries_;
};

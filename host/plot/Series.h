// Which curves a picture has of each glove: of its regions, its elements, or of the glove as a whole.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "host/plot/Curves.h"
#include "host/plot/Legend.h"
#include "host/plot/TimeAxis.h"
#include "host/recording/Recording.h"

enum class CurvesBy { region, element, glove };
enum class RegionValue { mean, maximum };

// Of the regions of all gloves, whose names have the same colour in each glove. The colours can be told apart
// by colour-blind readers; where there are more regions than colours, they are used again with dashes.
class RegionStyles {
 public:
  explicit RegionStyles(const std::vector<ElementGroup>& gloves);

  const std::vector<std::string>& names() const { return names_; }
  std::string colour(const std::string& region) const;
  std::string curve(const std::string& region) const;
  std::string thinCurve(const std::string& region) const;

 private:
  std::size_t indexOf(const std::string& region) const;

  std::vector<std::string> names_;
};

struct Series {
  Curves curves;
  std::vector<std::string> styles;  // of each curve
};

// Regions where they are known.
CurvesBy usualCurves(const std::vector<ElementGroup>& gloves);

Series seriesOf(const Recording& recording, const ElementGroup& glove, const TimeAxis& axis, CurvesBy by,
                RegionValue value, const RegionStyles& regions);

std::vector<LegendEntry> legendOf(CurvesBy by, RegionValue value, const RegionStyles& regions);

// Draws a value of each record as a line over time, with at most four points per column: the first, the
// lowest, the highest and the last. The line is interrupted at empty columns.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "host/plot/TimeAxis.h"
#include "host/recording/Recording.h"

// One entry for each record on the axis.
struct Levels {
  std::vector<double> mean;
  std::vector<double> highest;
};

Levels levelsOf(const Recording& recording, const ElementGroup& group, const TimeAxis& axis);

struct Scale {
  double left;  // of column 0; columns are 1 wide
  double zero;  // y of the value 0
  double unit;  // height of the value 1; y grows downwards
};

// The data of an SVG path.
std::string curveOf(const std::vector<double>& values, const TimeAxis& axis, const Scale& scale);

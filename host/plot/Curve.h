// A value of each record as a line over time, with no more points than the eye can tell apart: of all records
// in a column the first, the lowest, the highest and the last. The line is broken where columns are empty.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "host/plot/TimeAxis.h"
#include "host/recording/Recording.h"

// For each record of the axis, from its first one on.
struct Levels {
  std::vector<double> mean;
  std::vector<double> highest;
};

Levels levelsOf(const Recording& recording, const Recording::Group& group, const TimeAxis& axis);

struct Scale {
  double left;  // of column 0, each is 1 wide
  double zero;  // where the value 0 lies
  double unit;  // by how much the value 1 lies higher; y grows downwards
};

// The data of an SVG path.
std::string curveOf(const std::vector<double>& values, const TimeAxis& axis, const Scale& scale);

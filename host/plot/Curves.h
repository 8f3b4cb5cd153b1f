// Values over time as lines. Each line has at most four points for each of its columns: the first, the
// lowest, the highest and the last record. So peaks stay visible, and a long recording needs no more memory
// than a short one. Where columns of the axis are empty, lines are interrupted.
#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "host/plot/TimeAxis.h"

struct Scale {
  double left;  // of the axis's column 0; columns are 1 wide
  double zero;  // y of the value 0
  double unit;  // height of the value 1; y grows downwards
};

class Curves {
 public:
  // Of `count` lines, which together have at most `maxPoints` points. The axis must outlive them.
  Curves(const TimeAxis& axis, std::size_t count, std::size_t maxPoints);

  // A value of each line, for each record of the axis in order.
  void add(std::size_t record, std::span<const double> values);
  // After the last one.
  void finish();

  std::size_t count() const { return lines_.size(); }
  double lowest() const { return lowest_; }  // of all lines
  double highest() const { return highest_; }
  // The highest line first: where lines of a long recording are as dense as areas, each one's top stays
  // visible.
  std::vector<std::size_t> drawingOrder() const;
  // The data of an SVG path.
  std::string path(std::size_t line, const Scale& scale) const;

 private:
  struct Value {
    std::size_t record;
    double value;
  };
  struct Column {
    Value first, lowest, highest, last;
  };
  struct Point {
    double position;  // on the axis
    double value;
    bool isStart;
  };
  struct Line {
    double highest;
    Column column;  // that is being filled
    std::vector<Point> points;
  };

  double columnOf(std::size_t record) const;
  void closeColumn(bool isBeforeGap);

  const TimeAxis& axis_;
  std::size_t columns_;
  bool hasEnds_;  // of columns; otherwise only the lowest and the highest
  std::vector<Line> lines_;
  std::optional<std::size_t> latest_;  // record
  bool isStart_ = true;                // of the column that is being filled
  double lowest_, highest_;
};

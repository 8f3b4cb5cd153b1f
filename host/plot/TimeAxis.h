// Maps records to the columns of a picture. A record lasts until the next one; before a gap (see
// GapDetector.h) it lasts for the usual period, and the columns after it stay empty. Times are seconds of the
// recording, which must outlive the axis.
#pragma once

#include <cstddef>
#include <vector>

#include "host/recording/Recording.h"

struct ColumnSpan {
  std::size_t first;
  std::size_t end;
};

// The usual time from one record to the next.
double usualPeriod(const Recording& recording);

// Includes the last record.
double duration(const Recording& recording);

class TimeAxis {
 public:
  // From `from` to a later `to`, divided into columns.
  TimeAxis(const Recording& recording, double from, double to, std::size_t columns);

  double from() const { return from_; }
  double to() const { return to_; }
  std::size_t columns() const { return columns_; }

  // The visible records, and one more on either side for lines that cross the edge.
  std::size_t firstRecord() const { return firstRecord_; }
  std::size_t endRecord() const { return endRecord_; }

  // In columns from the left edge; may be outside.
  double positionOf(double time) const;
  // Begin and end of a record, in the same way.
  double position(std::size_t record) const;
  double endPosition(std::size_t record) const;
  // Empty for an invisible record, at the edge of its side.
  ColumnSpan columnsOf(std::size_t record) const;
  // Columns without records, in order.
  const std::vector<ColumnSpan>& gaps() const { return gaps_; }

 private:
  double endOf(std::size_t record) const;
  void findGaps();

  const Recording& recording_;
  double period_;
  double maxUsualMs_;  // a longer interval is a gap
  double from_;
  double to_;
  std::size_t columns_;
  std::size_t firstRecord_;
  std::size_t endRecord_;
  std::vector<ColumnSpan> gaps_;
};

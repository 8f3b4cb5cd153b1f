// Which columns of a picture a record fills. A record counts until the next one; if there is a gap between
// them (see Gaps.h), it counts as long as a record usually does, and the columns behind it stay empty. Times
// are seconds of the recording. The recording must outlive it.
#pragma once

#include <cstddef>
#include <vector>

#include "host/recording/Recording.h"

struct ColumnSpan {
  std::size_t first;
  std::size_t end;
};

// From one record to the next, as a rule.
double usualPeriod(const Recording& recording);

// The last record counts.
double duration(const Recording& recording);

class TimeAxis {
 public:
  // From `from` to `to`, which is later, in so many columns.
  TimeAxis(const Recording& recording, double from, double to, std::size_t columns);

  double from() const { return from_; }
  double to() const { return to_; }
  std::size_t columns() const { return columns_; }

  // Those that can be seen, and one more on either side for the lines that lead there.
  std::size_t firstRecord() const { return firstRecord_; }
  std::size_t endRecord() const { return endRecord_; }

  // Where it begins and ends, in columns from the left edge; may lie outside.
  double position(std::size_t record) const;
  double endPosition(std::size_t record) const;
  // Empty for a record that can't be seen; it then tells on which side that lies.
  ColumnSpan columnsOf(std::size_t record) const;
  // Columns that no record fills, in order.
  const std::vector<ColumnSpan>& gaps() const { return gaps_; }

 private:
  double endOf(std::size_t record) const;
  double positionOf(double time) const;
  void findGaps();

  const Recording& recording_;
  double period_;
  double maxUsualMs_;  // between two records with no gap between them
  double from_;
  double to_;
  std::size_t columns_;
  std::size_t firstRecord_;
  std::size_t endRecord_;
  std::vector<ColumnSpan> gaps_;
};

// Puts the figures of all runs together and prints them: the median of each, and the plug-in against its
// baseline.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "bench/plugin/Run.h"

// What the runs of one kind of reader gave.
struct Results {
  std::vector<Cost> costs;              // one for each run
  std::vector<std::int64_t> latencies;  // of all paced frames, ns

  void add(const Run& run, const Plan& plan);
};

// The runs of both are pairs, in their order; there must be at least one.
void printReport(const Results& plugin, const Results& blocks, const Plan& plan);

// Summarises and prints the figures of all runs: the median of each, and the plug-in compared with its
// baseline.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "bench/plugin/Run.h"

// Results of the runs of one kind of reader.
struct Results {
  std::vector<Cost> costs;              // one for each run
  std::vector<std::int64_t> latencies;  // of all paced frames, ns

  void add(const Run& run, const Plan& plan);
};

// Both lists are in the same order of pairs; there must be at least one pair.
void printReport(const Results& plugin, const Results& blocks, const Plan& plan);

// Records in virtual time and compares the books, kept from the capture, with the simulator's ledger.
#pragma once

#include <string>
#include <vector>

#include "host/capture/Books.h"
#include "tests/support/VirtualRecording.h"

struct Comparison {
  Books books;
  std::vector<GloveBooks> ledger;
  std::uint64_t records = 0;
  std::string differences;  // each with its virtual time; empty if there are none
};

Comparison compare(const RecordingPlan& plan);

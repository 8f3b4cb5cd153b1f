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

// `canMixFrames`: a packet may arrive among those of another frame, so that the books can't tell a missing
// packet from a wrong order: their sum is compared.
Comparison compare(const RecordingPlan& plan, bool canMixFrames);

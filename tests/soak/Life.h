// Lives a script: drives the plug-in, loaded like the real one, as the script says, and checks after every
// step, and within the reads after every record, what has to hold:
//   - each read has the result, the samples and the timestamp that follow from what the port delivered
//   - nothing is written outside of the host's record, and nothing at all without a record
//   - each call ends within its time
//   - an opening with nothing wrong succeeds, one with a single fault fails with the message of that fault
//   - records come as fast as the gloves and the radio make them while nothing is wrong
//   - text commands are answered, and reach the glove
//   - after a link was closed no port is open and no glove connected, and after a life nothing is allocated
//   - the books that are kept from the capture balance, and equal the simulator's ledger
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "tests/soak/Script.h"

struct LifeResult {
  std::string failure;    // empty if all held
  std::size_t steps = 0;  // begun
  double seconds = 0;     // virtual
  std::uint64_t reads = 0, records = 0, openings = 0, refusedOpenings = 0, books = 0;
};

// The first `steps` of the script, and then the end of the host.
LifeResult live(const Script& script, std::size_t steps);

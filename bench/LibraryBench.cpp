// Reads gloves through the C interface for a number of seconds, as a program that wants all records does. Its
// CPU time is compared with that of `tessel record` by scripts/bench.

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include "library/include/tessel.h"

namespace {

int failed()
{
  std::fprintf(stderr, "%s\n%s\n", tessel_error_text(), tessel_error_advice());
  return 1;
}

}  // namespace

int main(int count, char** arguments)
{
  constexpr std::uint32_t capacity = 64;
  const double seconds = count > 1 ? std::atof(arguments[1]) : 20;
  tessel_gloves gloves = 0;
  if (tessel_create(nullptr, &gloves) != TESSEL_OK || tessel_open(gloves, -1) != TESSEL_OK) return failed();
  tessel_shape shape{};
  shape.size = sizeof(shape);
  if (tessel_get_shape(gloves, &shape) != TESSEL_OK) return failed();
  std::vector<double> timeMs(capacity);
  std::vector<std::int64_t> frame(std::size_t{capacity} * shape.gloves);
  std::vector<std::uint16_t> sample(std::size_t{capacity} * shape.elements);
  tessel_block block{};
  block.size = sizeof(block);
  block.capacity = capacity;
  block.gloves = shape.gloves;
  block.elements = shape.elements;
  block.timeMs = timeMs.data();
  block.frame = frame.data();
  block.sample = sample.data();
  double latestMs = 0;
  std::uint64_t records = 0, overflowed = 0;
  while (latestMs < seconds * 1000) {
    const tessel_status status = tessel_read(gloves, &block, 1000);
    if (status < 0) return failed();
    if (status == TESSEL_TIMEOUT) continue;
    records += block.count;
    overflowed += block.overflowed;
    latestMs = timeMs[block.count - 1];
  }
  std::printf("%llu records, %llu not read in time\n", static_cast<unsigned long long>(records),
              static_cast<unsigned long long>(overflowed));
  return tessel_close(gloves) == TESSEL_OK ? 0 : failed();
}

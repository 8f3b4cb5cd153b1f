// Reads that return a record of two gloves, compared with a loop that only stores as many elements through
// the same map.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <numeric>
#include <vector>

#include "HWTessel.h"
#include "Settings.h"
#include "bench/AllocationCounter.h"
#include "bench/ListeningLink.h"
#include "bench/MemoryPlatform.h"
#include "shared/RecordStore.h"

namespace {

constexpr std::size_t elementCount = 2 * samplesPerFrame;

// Counts the records.
class CountingStore final : public plugin::RecordStore {
 public:
  explicit CountingStore(bool isMapped) : RecordStore(elementCount)
  {
    if (!isMapped) return;
    map.indices_.resize(elementCount);
    std::iota(map.indices_.rbegin(), map.indices_.rend(), 0);  // backwards
  }

  void advance() override { ++records; }

  std::int64_t records = 0;
};

std::uint32_t hostClock()
{
  static std::uint32_t now = 0;
  return now += 8;
}

// An object whose link is open.
class Listening : public HWTessel {
 public:
  Listening() : HWTessel(L"", hostClock, L"")
  {
    bleDevice_ = new BleDevice;
    listen(*bleDevice_.load());
  }
};

void storeElementsOnly(benchmark::State& state)
{
  CountingStore record(state.range(0) != 0);
  std::vector<std::uint16_t> samples(elementCount, 7);
  for ([[maybe_unused]] auto _ : state) {
    benchmark::DoNotOptimize(samples.data());
    for (std::uint32_t index = 0; index < elementCount; ++index) {
      record.map[index] = samples[index];
    }
    benchmark::ClobberMemory();
  }
}

// Times only the read, not the packets that fill the stores before it.
void readRecord(benchmark::State& state)
{
  const NoLogs noLogs;
  settings::current.elementCount = elementCount;
  settings::current.numSensors = 2;
  Listening tessel;
  CountingStore record(state.range(0) != 0);
  tessel.mapping_ = &record.map;
  const Stopwatch stopwatch;
  constexpr std::array<std::uint8_t, 4> message{0x80, 0x00, 0x00, 0x06};  // known and ignored
  std::uint64_t maxAllocations = 0;
  for ([[maybe_unused]] auto _ : state) {
    fillStores();
    serve(message);
    const std::uint64_t before = allocationCount();
    state.SetIterationTime(stopwatch.seconds([&] { tessel.readRecord(); }));
    if (record.records > 1) maxAllocations = std::max(maxAllocations, allocationCount() - before);
  }
  if (record.records != state.iterations()) state.SkipWithError("records were lost");
  state.counters["max_allocs"] = static_cast<double>(maxAllocations);
}

BENCHMARK(storeElementsOnly)->ArgName("map")->Arg(0)->Arg(1);
BENCHMARK(readRecord)->ArgName("map")->Arg(0)->Arg(1)->UseManualTime();

}  // namespace

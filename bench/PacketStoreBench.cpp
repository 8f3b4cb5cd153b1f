// Complete compact frames of 14 packets through the store, compared with only appending the same payload
// bytes to a vector with reserved capacity. The store benchmark also removes each framelet.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <vector>

#include "bench/AllocationCounter.h"
#include "stream/PacketStore.h"

namespace {

constexpr int packetsPerFrame = 14;
constexpr std::size_t framesInRun = 16;

using PacketBytes = std::array<std::uint8_t, PacketStore::packetSize>;
using Frame = std::array<PacketBytes, packetsPerFrame>;

// Frames as a glove sends them, 25 ms apart.
std::vector<Frame> makeRun()
{
  std::vector<Frame> run(framesInRun);
  std::uint8_t value = 0;
  for (std::size_t counter = 0; counter < framesInRun; ++counter) {
    for (std::size_t index = 0; index < packetsPerFrame; ++index) {
      PacketBytes& packet = run[counter][index];
      std::generate(packet.begin(), packet.end(), [&] { return value++; });
      packet[0] = static_cast<std::uint8_t>(index == 0 ? counter << 4 : index);
      if (index != 0) continue;
      const std::size_t clock = 250 * (counter + 1);
      packet[1] = packetsPerFrame;
      packet[2] = static_cast<std::uint8_t>(clock >> 8);
      packet[3] = static_cast<std::uint8_t>(clock);
    }
  }
  return run;
}

// Seconds per packet.
benchmark::Counter perPacket()
{
  using benchmark::Counter;
  return {static_cast<double>(framesInRun * packetsPerFrame),
          Counter::kIsIterationInvariantRate | Counter::kInvert};
}

void copyPayloadOnly(benchmark::State& state)
{
  const std::vector<Frame> run = makeRun();
  std::vector<std::uint8_t> buffer;
  buffer.reserve(512);
  for ([[maybe_unused]] auto _ : state) {
    for (const Frame& frame : run) {
      buffer.clear();
      for (const PacketBytes& packet : frame) {
        const std::ptrdiff_t header = &packet == &frame.front() ? 4 : 2;
        buffer.insert(buffer.end(), packet.begin() + header, packet.end());
      }
      benchmark::DoNotOptimize(buffer.data());
      benchmark::ClobberMemory();
    }
  }
  state.counters["per_packet"] = perPacket();
}

// Removes each framelet without copying it, so that the queue does not grow.
void addPacket(benchmark::State& state)
{
  const std::vector<Frame> run = makeRun();
  PacketStore store;
  store.setPacketFormat(0);
  std::vector<Framelet> taken;
  taken.reserve(1);
  std::uint64_t maxInside = 0;
  std::uint64_t maxCompleting = 0;
  std::int64_t frames = 0;
  for ([[maybe_unused]] auto _ : state) {
    for (const Frame& frame : run) {
      const std::uint64_t before = allocationCount();
      for (std::size_t index = 0; index + 1 < packetsPerFrame; ++index) {
        store.addPacket(frame[index]);
      }
      const std::uint64_t inside = allocationCount();
      store.addPacket(frame.back());
      maxInside = std::max(maxInside, inside - before);
      maxCompleting = std::max(maxCompleting, allocationCount() - inside);
      frames += static_cast<std::int64_t>(store.frameletCount());
      taken.clear();
      store.takeFramelet(taken, false);
      benchmark::ClobberMemory();
    }
  }
  if (frames != state.iterations() * static_cast<std::int64_t>(framesInRun))
    state.SkipWithError("frames were lost");
  state.counters["per_packet"] = perPacket();
  state.counters["max_allocs_inside"] = static_cast<double>(maxInside);
  state.counters["max_allocs_completing"] = static_cast<double>(maxCompleting);
}

BENCHMARK(copyPayloadOnly);
BENCHMARK(addPacket);

}  // namespace

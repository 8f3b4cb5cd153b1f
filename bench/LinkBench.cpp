// The open link: polling notifications of a glove from memory, compared with only reading their bytes; and
// fetching the frames of two gloves, compared with only copying their samples.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <tuple>
#include <vector>

#include "bench/AllocationCounter.h"
#include "bench/ListeningLink.h"
#include "bench/MemoryPlatform.h"
#include "link/BleDevice.h"

namespace {

constexpr std::size_t headerSize = 4;
constexpr std::size_t payloadSize = 25;
constexpr std::size_t framesInRun = 256;
constexpr std::size_t messages = packetsPerFrame * framesInRun;

// Notifications of a series of frames, as the dongle sends them.
std::vector<std::uint8_t> makeRun()
{
  std::vector<std::uint8_t> bytes;
  for (std::size_t message = 0; message < messages; ++message) {
    for (const int byte : {0x80, 0x19, 0x04, 0x05, 0x00, 0x11, 0x00, 0x01, 0x14}) {
      bytes.push_back(static_cast<std::uint8_t>(byte));
    }
    for (const std::uint8_t byte : packetOf(message / packetsPerFrame, message % packetsPerFrame)) {
      bytes.push_back(byte);
    }
  }
  return bytes;
}

struct OpenLink {
  OpenLink() { listen(device); }

  NoLogs noLogs;
  BleDevice device;
};

benchmark::Counter secondsPer(std::size_t things)
{
  using benchmark::Counter;
  return {static_cast<double>(things), Counter::kIsIterationInvariantRate | Counter::kInvert};
}

// Reads a series in pieces of header and payload. `read` fills a span.
void readPieces(benchmark::State& state, const auto& read)
{
  const std::vector<std::uint8_t> run = makeRun();
  std::array<std::uint8_t, headerSize> header{};
  std::array<std::uint8_t, payloadSize> payload{};
  for ([[maybe_unused]] auto _ : state) {
    serve(run);
    for (std::size_t message = 0; message < messages; ++message) {
      read(header);
      benchmark::DoNotOptimize(header.data());
      read(payload);
      benchmark::DoNotOptimize(payload.data());
      benchmark::ClobberMemory();
    }
  }
  state.counters["per_message"] = secondsPer(messages);
}

void readPiecesOnly(benchmark::State& state)
{
  OpenLink link;
  readPieces(state, [&](std::span<std::uint8_t> piece) { platform::readPort(link.device.port(), piece); });
}

// The same through the serial layer, which sets the timeouts of each read.
void serialReadPiecesOnly(benchmark::State& state)
{
  OpenLink link;
  readPieces(state, [&](std::span<std::uint8_t> piece) {
    std::ignore = serialRead(link.device.port(), &link.device.stopFlag(), piece, 1000);
  });
}

// The frames are removed from the queue between the timed parts.
void poll(benchmark::State& state)
{
  const std::vector<std::uint8_t> run = makeRun();
  OpenLink link;
  std::vector<Framelet> taken;
  std::uint64_t maxInside = 0;
  std::uint64_t maxCompleting = 0;
  for ([[maybe_unused]] auto _ : state) {
    serve(run);
    for (std::size_t frame = 0; frame < framesInRun; ++frame) {
      const std::uint64_t first = allocationCount();
      for (std::size_t index = 1; index < packetsPerFrame; ++index) {
        link.device.poll();
      }
      const std::uint64_t last = allocationCount();
      link.device.poll();
      maxInside = std::max(maxInside, last - first);
      maxCompleting = std::max(maxCompleting, allocationCount() - last);
    }
    state.PauseTiming();
    taken.clear();
    while (stream_state::stores[0].takeFramelet(taken, false) == PacketStore::Result::done) {
    }
    if (taken.size() != framesInRun) return state.SkipWithError("frames were lost");
    state.ResumeTiming();
  }
  state.counters["per_message"] = secondsPer(messages);
  state.counters["max_allocs_inside"] = static_cast<double>(maxInside);
  state.counters["max_allocs_completing"] = static_cast<double>(maxCompleting);
}

void copySamplesOnly(benchmark::State& state)
{
  const std::array<std::vector<std::uint16_t>, 2> from{std::vector<std::uint16_t>(samplesPerFrame, 1),
                                                       std::vector<std::uint16_t>(samplesPerFrame, 2)};
  std::array<std::vector<std::uint16_t>, 2> to = from;
  for ([[maybe_unused]] auto _ : state) {
    for (std::size_t glove = 0; glove < from.size(); ++glove) {
      std::memcpy(to[glove].data(), from[glove].data(), samplesPerFrame * sizeof(std::uint16_t));
      benchmark::DoNotOptimize(to[glove].data());
    }
    benchmark::ClobberMemory();
  }
}

// Times only the fetch, not the packets that fill the stores before it.
void fetchFrame(benchmark::State& state)
{
  OpenLink link;
  const Stopwatch stopwatch;
  std::vector<Framelet> frames;
  frames.reserve(2);
  std::uint64_t backlog = 0;
  std::uint64_t maxAllocations = 0;
  for ([[maybe_unused]] auto _ : state) {
    fillStores();
    frames.clear();
    const std::uint64_t before = allocationCount();
    bool isFetched = false;
    state.SetIterationTime(
        stopwatch.seconds([&] { isFetched = link.device.fetchFrame(frames, 2, backlog); }));
    maxAllocations = std::max(maxAllocations, allocationCount() - before);
    if (!isFetched || frames.size() != 2) return state.SkipWithError("no set of frames");
  }
  state.counters["max_allocs"] = static_cast<double>(maxAllocations);
}

BENCHMARK(readPiecesOnly);
BENCHMARK(serialReadPiecesOnly);
BENCHMARK(poll);
BENCHMARK(copySamplesOnly);
BENCHMARK(fetchFrame)->UseManualTime();

}  // namespace

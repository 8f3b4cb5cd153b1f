// Reading 1,000 messages of 4 + 25 bytes from a pseudo terminal through the serial layer, compared with only
// reading the same bytes in blocks of 4,096.

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <poll.h>
#include <stdlib.h>
#include <termios.h>
#include <unistd.h>

#include <array>
#include <string>
#include <tuple>
#include <vector>

#include "serial/SerialPort.h"

namespace {

constexpr std::size_t headerSize = 4;
constexpr std::size_t payloadSize = 25;
constexpr std::size_t messages = 1000;
// Few enough to fit into a terminal's buffer at once.
constexpr std::size_t messagesAtOnce = 250;

std::uint64_t systemCalls = 0;

}  // namespace

// The linker redirects the program's calls of these functions here and keeps the real ones under the __real
// names.
extern "C" {
ssize_t __real_read(int descriptor, void* buffer, size_t size);
ssize_t __wrap_read(int descriptor, void* buffer, size_t size)
{
  ++systemCalls;
  return __real_read(descriptor, buffer, size);
}

int __real_poll(pollfd* descriptors, nfds_t count, int timeoutMs);
int __wrap_poll(pollfd* descriptors, nfds_t count, int timeoutMs)
{
  ++systemCalls;
  return __real_poll(descriptors, count, timeoutMs);
}
}
// NOLINTEND(bugprone-reserved-identifier)

namespace {

// A pseudo terminal that the port list contains as COM7.
class Terminal {
 public:
  Terminal() : master_(::posix_openpt(O_RDWR | O_NOCTTY | O_NONBLOCK))
  {
    ::grantpt(master_);
    ::unlockpt(master_);
    ::setenv("TESSEL_SERIAL_PORTS", (std::string(platform::dongleName) + " (COM7)=" + path()).c_str(), 1);
  }
  ~Terminal() { ::close(master_); }
  Terminal(const Terminal&) = delete;
  Terminal& operator=(const Terminal&) = delete;

  const char* path() const { return ::ptsname(master_); }

  bool fill()
  {
    const std::vector<std::uint8_t> bytes(messagesAtOnce * (headerSize + payloadSize), 0x5A);
    return ::write(master_, bytes.data(), bytes.size()) == static_cast<ssize_t>(bytes.size());
  }

 private:
  int master_;
};

// Fills the terminal and calls `empty` until all messages are read. `empty` returns false on failure.
void measure(benchmark::State& state, Terminal& terminal, const auto& empty)
{
  const std::uint64_t before = systemCalls;
  for ([[maybe_unused]] auto _ : state) {
    for (std::size_t done = 0; done < messages; done += messagesAtOnce) {
      state.PauseTiming();
      if (!terminal.fill()) return state.SkipWithError("the terminal did not take the bytes");
      state.ResumeTiming();
      if (!empty()) return state.SkipWithError("the messages did not come whole");
    }
  }
  using benchmark::Counter;
  const auto calls = static_cast<double>(systemCalls - before);
  state.counters["syscalls_per_1000"] = calls / static_cast<double>(state.iterations());
  state.counters["per_message"] = {static_cast<double>(messages),
                                   Counter::kIsIterationInvariantRate | Counter::kInvert};
}

void readBlocksOnly(benchmark::State& state)
{
  Terminal terminal;
  platform::PortHandle port = platform::closedPort;
  std::ignore = serialOpen("COM7", port);  // makes the terminal raw
  const int descriptor = ::open(terminal.path(), O_RDWR | O_NOCTTY);
  std::array<std::uint8_t, 4096> block{};
  measure(state, terminal, [&] {
    std::size_t left = messagesAtOnce * (headerSize + payloadSize);
    while (left > 0) {
      const ssize_t got = ::read(descriptor, block.data(), block.size());
      if (got <= 0) return false;
      left -= static_cast<std::size_t>(got);
      benchmark::DoNotOptimize(block.data());
    }
    return true;
  });
  ::close(descriptor);
  serialClose(port);
}

void readMessages(benchmark::State& state)
{
  Terminal terminal;
  platform::PortHandle port = platform::closedPort;
  if (serialOpen("COM7", port) != OpenResult::done) return state.SkipWithError("the port did not open");
  const StopFlag stop{0};
  std::array<std::uint8_t, headerSize> header{};
  std::array<std::uint8_t, payloadSize> payload{};
  measure(state, terminal, [&] {
    for (std::size_t message = 0; message < messagesAtOnce; ++message) {
      if (serialRead(port, &stop, header, 1000) != ReadResult::filled) return false;
      if (serialRead(port, nullptr, payload, 1000) != ReadResult::filled) return false;
      benchmark::DoNotOptimize(payload.data());
    }
    return true;
  });
  serialClose(port);
}

BENCHMARK(readBlocksOnly);
BENCHMARK(readMessages);

}  // namespace

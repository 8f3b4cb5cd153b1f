#include "bench/plugin/Readers.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <ctime>
#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "bench/plugin/FrameStream.h"
#include "shared/PluginLibrary.h"
#include "shared/RecordStore.h"

namespace {

std::uint64_t readCalls()
{
  std::ifstream counters("/proc/self/io");
  std::string key;
  for (std::uint64_t value = 0; counters >> key >> value;) {
    if (key == "syscr:") return value;
  }
  return 0;
}

// Resources that the process has used since the meter was created.
class Meter {
 public:
  Cost used() const
  {
    const Usage now;  // before the reads are looked up, which takes time itself
    return {.cpuSeconds = now.cpu - begin_.cpu,
            .userSeconds = now.user - begin_.user,
            .waits = now.waits - begin_.waits,
            .reads = readCalls() - reads_};
  }

 private:
  struct Usage {
    Usage()
    {
      rusage usage{};
      ::getrusage(RUSAGE_SELF, &usage);
      user = static_cast<double>(usage.ru_utime.tv_sec) + 1e-6 * static_cast<double>(usage.ru_utime.tv_usec);
      waits = static_cast<std::uint64_t>(usage.ru_nvcsw);
      timespec time{};
      ::clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
      cpu = static_cast<double>(time.tv_sec) + 1e-9 * static_cast<double>(time.tv_nsec);
    }

    double cpu = 0;
    double user = 0;
    std::uint64_t waits = 0;
  };

  std::uint64_t reads_ = readCalls();
  Usage begin_;
};

void noteBurst(Run& run, Cost cost, std::uint64_t frames)
{
  cost.wallSeconds = 1e-9 * static_cast<double>(monotonicNow() - run.burstBegan);
  cost.frames = frames;
  run.cost = cost;
  run.isBurstRead = true;
}

// Records when each paced frame's record arrives, and whether all are in order.
class TimedStore final : public plugin::RecordStore {
 public:
  TimedStore(const Plan& plan, Run& run) : RecordStore(2 * elementsPerGlove), plan_(plan), run_(run) {}

  void advance() override
  {
    if (records >= plan_.burstFrames) run_.delivered.at(records - plan_.burstFrames) = monotonicNow();
    const auto number = static_cast<unsigned short>(records++);
    isInOrder = isInOrder && elements()[0] == number && elements()[elementsPerGlove] == number;
  }

  std::uint64_t records = 0;
  bool isInOrder = true;

 private:
  const Plan& plan_;
  Run& run_;
};

std::uint32_t clockMs()
{
  return static_cast<std::uint32_t>(monotonicNow() / 1'000'000);
}

void readRecords(HwInterface& hardware, const TimedStore& store, std::uint64_t wanted)
{
  while (store.records < wanted) {
    if (hardware.readRecord() == 0) continue;
    throw std::runtime_error(
        fmt::format("reading failed after {} of {} records: messages were lost", store.records, wanted));
  }
  if (!store.isInOrder)
    throw std::runtime_error(fmt::format("not all of {} records hold the frames sent, in order", wanted));
}

}  // namespace

void readWithPlugin(const Plan& plan, Run& run)
{
  waitUntil(run.isPortThere);
  const plugin::Library library(plan.plugin);
  const auto port = "Bluegiga Bluetooth Low Energy (COM7)=" + plan.port.string();
  ::setenv("TESSEL_SERIAL_PORTS", port.c_str(), 1);
  library.setFolders(folder::folders_);
  library.setLog(currentLogManager);
  HwInterface* const hardware = library.create(plan.settings.wstring().c_str(), clockMs, L"bench");
  if (hardware->configure() != 0) {
    const std::wstring& words = hardware->lastError_;
    throw std::runtime_error("opening failed: " + std::string(words.begin(), words.end()));
  }
  TimedStore store(plan, run);
  hardware->mapping_ = &store.map;

  const Meter meter;
  run.isReaderReady = true;
  readRecords(*hardware, store, plan.burstFrames);
  noteBurst(run, meter.used(), store.records);
  readRecords(*hardware, store, plan.burstFrames + plan.pacedFrames);

  library.release(hardware);
  run.isOver = true;
}

void readBlocks(const Plan& plan, Run& run)
{
  waitUntil(run.isPortThere);
  const int descriptor = ::open(plan.port.c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC);
  std::array<std::uint8_t, 4096> block{};
  std::uint64_t largest = 0;
  const auto read = [&] {
    const ssize_t got = ::read(descriptor, block.data(), block.size());
    if (got <= 0) throw std::runtime_error("can't read the terminal");
    largest = std::max(largest, static_cast<std::uint64_t>(got));
    return static_cast<std::size_t>(got);
  };

  const Meter meter;
  run.isReaderReady = true;
  for (std::size_t bytes = 0; bytes < plan.burstFrames * bytesPerFrame;) {
    bytes += read();
  }
  Cost cost = meter.used();
  cost.largestRead = largest;
  noteBurst(run, cost, plan.burstFrames);
  std::size_t bytes = 0;
  for (std::size_t frame = 0; frame < plan.pacedFrames; ++frame) {
    while (bytes < (frame + 1) * bytesPerFrame) {
      bytes += read();
    }
    run.delivered[frame] = monotonicNow();
  }
  ::close(descriptor);
  run.isOver = true;
}

// What it costs to have the disk store a recording while it is made: writes two gloves at 50 records per
// second in each format, with the files left to the system (--sync 0, the baseline), stored every second
// (--sync 1), and stored every second by a disk that takes 0.7 s longer each time. Prints how long the thread
// that reads the gloves waited for a record to be written, and the CPU time of all threads.

#include <fmt/format.h>
#include <sys/resource.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <thread>
#include <vector>

#include "host/base/Failure.h"
#include "host/base/System.h"
#include "host/recording/OutputName.h"
#include "host/recording/RecordingFiles.h"
#include "tests/support/TemporaryFolder.h"

namespace fs = std::filesystem;

namespace {

using namespace std::chrono_literals;

constexpr std::size_t gloveElements = 125;
constexpr auto interval = 20ms;
constexpr auto progressInterval = 200ms;  // as the recorder's

class SlowDisk final : public Disk {
 public:
  std::unique_ptr<Handle> open(const fs::path& path) override
  {
    return std::make_unique<SlowHandle>(ofSystem().open(path));
  }

 private:
  struct SlowHandle final : Handle {
    explicit SlowHandle(std::unique_ptr<Handle> own) : handle(std::move(own)) {}
    std::error_code sync() override
    {
      std::this_thread::sleep_for(700ms);
      return handle->sync();
    }

    std::unique_ptr<Handle> handle;
  };
};

double cpuMs()
{
  rusage usage{};
  ::getrusage(RUSAGE_SELF, &usage);
  const auto msOf = [](const timeval& time) {
    return 1e3 * static_cast<double>(time.tv_sec) + 1e-3 * static_cast<double>(time.tv_usec);
  };
  return msOf(usage.ru_utime) + msOf(usage.ru_stime);
}

struct Figures {
  std::vector<double> waitsMs;
  double cpuMsPerSecond = 0;
};

Figures record(const fs::path& place, RecordFormat format, const SyncRules& sync, int seconds)
{
  RecordingMetadata metadata;
  metadata.layout = {.elements = 2 * gloveElements,
                     .groups = {{"left", "KVXGL00017", 0, gloveElements},
                                {"right", "KVXGR00018", gloveElements, gloveElements}}};
  RecordingFiles files({place, format}, true, sync);
  RecordWriter& writer = files.begin(std::move(metadata));
  writer.begin(host::uptime());
  std::vector<std::uint16_t> elements(2 * gloveElements);
  Figures figures;
  const double cpuBefore = cpuMs();
  const auto begin = std::chrono::steady_clock::now();
  auto progress = begin;
  const int records = seconds * static_cast<int>(1s / interval);
  for (int row = 0; row < records; ++row) {
    std::this_thread::sleep_until(begin + row * interval);
    for (std::size_t element = 0; element < elements.size(); ++element) {
      elements[element] =
          static_cast<std::uint16_t>(2000 + 2000 * std::sin(0.01 * row + 0.1 * static_cast<double>(element)));
    }
    const double ms = 20.0 * row;
    const GloveFrame frame{.number = row, .ticks = 200 * std::int64_t{row}, .sampledMs = ms};
    const std::array frames{frame, frame};
    const auto before = std::chrono::steady_clock::now();
    writer.add({.timeMs = ms, .arrivalMs = ms, .pluginMs = 0, .frames = frames, .elements = elements});
    if (before >= progress) {
      progress = before + progressInterval;
      files.keepUp(host::uptime());
    }
    const std::chrono::duration<double, std::milli> wait = std::chrono::steady_clock::now() - before;
    figures.waitsMs.push_back(wait.count());
  }
  figures.cpuMsPerSecond = (cpuMs() - cpuBefore) / seconds;
  if (const auto failure = files.takeDiskFailure()) throw Failure(*failure);
  files.complete();
  std::ranges::sort(figures.waitsMs);
  return figures;
}

}  // namespace

int main(int count, char** arguments)
{
  const int seconds = count > 1 ? std::max(std::atoi(arguments[1]), 1) : 20;
  SlowDisk slow;
  const struct {
    const char* name;
    SyncRules rules;
  } kinds[] = {{"--sync 0", {}}, {"--sync 1", {1s}}, {"--sync 1, slow", {1s, &slow}}};
  try {
    const TemporaryFolder folder;
    for (const std::string& format : formatNames()) {
      for (const auto& [name, rules] : kinds) {
        const Figures figures = record(folder / ("run." + format), formatNamed(format), rules, seconds);
        const auto& waits = figures.waitsMs;
        fmt::print("{} {:<15} wait: median {:6.3f} ms, 99 % {:6.3f} ms, worst {:7.3f} ms; CPU {:5.2f} ms/s\n",
                   format, name, waits[waits.size() / 2], waits[waits.size() * 99 / 100], waits.back(),
                   figures.cpuMsPerSecond);
        std::fflush(stdout);
      }
    }
  } catch (const Failure& failure) {
    fmt::print(stderr, "{}\n", failure.what());
    return 1;
  }
}

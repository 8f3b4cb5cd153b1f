#include "host/Recorder.h"

#include <fmt/format.h>

#include <algorithm>

#include "host/Failure.h"

namespace {

using namespace std::chrono_literals;

constexpr auto progressInterval = 200ms;
constexpr auto refreshInterval = 1s;
// The plug-in waits for a first record without end, as long as any message comes.
constexpr auto longestWaitForFirst = 10s;

double secondsBetween(Recorder::Clock::time_point begin, Recorder::Clock::time_point end)
{
  return std::chrono::duration<double>(end - begin).count();
}

}  // namespace

Recorder::Recorder(Hardware& hardware, const Layout& layout, RecordWriter& writer,
                   const RecordingLimits& limits)
    : hardware_(hardware), layout_(layout), writer_(writer), limits_(limits), start_(Clock::now())
{
  figures_.latest.resize(layout_.groups.size());
  figures_.highest.resize(layout_.groups.size());
}

bool Recorder::run(const std::atomic<bool>& stop,
                   const std::function<void(const RecordingFigures&)>& onProgress)
{
  auto nextProgress = Clock::now();
  auto nextRefresh = nextProgress;
  while (!stop) {
    if (hardware_.read()) {
      keepRecord();
      figures_.seconds = secondsBetween(*first_, Clock::now());
      if (isAtLimit()) return true;
    }
    const auto now = Clock::now();
    if (!first_) checkSilence();
    if (now < nextProgress) continue;
    nextProgress = now + progressInterval;
    if (first_) figures_.seconds = secondsBetween(*first_, now);
    if (isAtLimit()) return true;
    figures_.battery = hardware_.battery();
    onProgress(figures_);
    if (now < nextRefresh) continue;
    nextRefresh = now + refreshInterval;
    writer_.refresh();
  }
  return false;
}

void Recorder::keepRecord()
{
  const auto elements = hardware_.store().elements();
  writer_.add(hardware_.store().stampMs(), elements);
  if (!first_) first_ = Clock::now();
  ++figures_.records;
  figures_.gaps.add(hardware_.store().stampMs());
  const auto& groups = layout_.groups;
  for (std::size_t index = 0; index < groups.size(); ++index) {
    const auto own = elements.subspan(groups[index].first, groups[index].count);
    figures_.latest[index] = own.empty() ? std::uint16_t{0} : *std::ranges::max_element(own);
    figures_.highest[index] = std::max(figures_.highest[index], figures_.latest[index]);
  }
  if (const double seconds = secondsBetween(*first_, Clock::now()); seconds > 0) {
    figures_.recordsPerSecond = static_cast<double>(figures_.records - 1) / seconds;
  }
}

void Recorder::checkSilence() const
{
  if (Clock::now() - start_ < longestWaitForFirst) return;
  throw Failure(
      ExitCode::silence, "no complete record came, though the gloves were opened.",
      "One of two gloves may have stopped, or the settings want another number of gloves or elements.");
}

bool Recorder::isAtLimit() const
{
  return (limits_.seconds && figures_.seconds >= *limits_.seconds) ||
         (limits_.records && figures_.records >= *limits_.records);
}

#include "host/session/Recorder.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <new>
#include <utility>

#include "host/base/Failure.h"
#include "host/base/MemoryReserve.h"
#include "host/base/System.h"

namespace {

using namespace std::chrono_literals;

constexpr auto progressInterval = 200ms;
// The plug-in itself waits for the first record without a limit as long as messages arrive.
constexpr double maxWaitForFirst = 10;  // seconds
constexpr double maxPause = 1;          // seconds without a frame at the end of a complete recording

double secondsBetween(Recorder::Time begin, Recorder::Time end)
{
  return std::chrono::duration<double>(end - begin).count();
}

}  // namespace

double RecordingFigures::awaySeconds() const
{
  double sum = 0;
  for (const Reconnection& each : reconnections) {
    const double ms = each.backMs - each.lostMs;
    if (!std::isnan(ms)) sum += ms;
  }
  return sum / 1000;
}

double RecordingFigures::recordsPerSecond() const
{
  const double seconds = gaps.seconds() - awaySeconds();
  const auto intervals = static_cast<double>(records) - 1 - static_cast<double>(reconnections.size());
  return seconds > 0 && intervals > 0 ? intervals / seconds : 0;
}

LinkLoss::LinkLoss(std::vector<std::string> gloves)
    : Failure(ExitCode::silence,
              gloves.size() == 1 ? fmt::format("the connection to the {} glove was lost.", gloves.front())
                                 : "the connections to both gloves were lost.",
              "Check that all gloves are switched on, charged and in range."),
      gloves_(std::move(gloves))
{
}

Recorder::Recorder(const Layout& layout, RecordKeeper& keeper, const RecordingLimits& limits, Clock clock)
    : layout_(layout), keeper_(keeper), limits_(limits), clock_(std::move(clock))
{
  figures_.latest.resize(layout_.groups.size());
  figures_.highest.resize(layout_.groups.size());
}

bool Recorder::run(RecordSource& source, const std::atomic<bool>& stop,
                   const std::function<void(const RecordingFigures&)>& onProgress)
{
  // On every exit, including a Failure of the hardware.
  struct Updated {
    Recorder& recorder;
    const RecordSource& source;
    ~Updated()
    {
      const Time now = recorder.clock_();
      recorder.keeper_.endReading(now);
      recorder.updateTimes(source, now);
      recorder.earlierStalls_ = recorder.figures_.stalls;
      try {
        recorder.updateKept();
      } catch (const std::bad_alloc&) {
        // The figures are those of some tenths of a second ago, and finish() tries again.
      }
    }
  } const updated{*this, source};
  const Time begin = clock_();
  latest_ = begin;
  hasRecord_ = false;
  keeper_.beginReading(begin);
  auto nextProgress = begin;
  while (!stop) {
    if (source.read()) keepRecord(source);
    keeper_.writeKnown();
    const auto now = clock_();
    updateTimes(source, now);
    const bool isAtEnd = isAtLimit();
    if (!hasRecord_ || (isAtEnd && !limits_.isPatient)) checkSilence(source);
    const bool isDue = now >= nextProgress;
    if (isAtEnd || isDue) figures_.battery = source.battery();
    if (isAtEnd) return true;
    if (host::isMemoryShort()) throw outOfMemory();
    if (!isDue) continue;
    nextProgress = now + progressInterval;
    updateKept();
    onProgress(figures_);
    checkConnections(begin);
  }
  return false;
}

bool Recorder::wait()
{
  const Time now = clock_();
  figures_.seconds = first_ ? secondsBetween(*first_, now) : 0;
  figures_.silentSeconds = secondsBetween(latest_, now);
  updateKept();
  return isAtLimit();
}

void Recorder::updateTimes(const RecordSource& source, Time now)
{
  const Time resumed = source.link().resumed().value_or(latest_);
  figures_.seconds = first_ ? secondsBetween(*first_, now) : 0;
  figures_.silentSeconds = secondsBetween(std::max(latest_, resumed), now);
  const Stalls& stalls = source.link().stalls();
  figures_.stalls = {.count = earlierStalls_.count + stalls.count,
                     .longest = std::max(earlierStalls_.longest, stalls.longest),
                     .latest = stalls.count > 0 ? stalls.latest : earlierStalls_.latest};
}

void Recorder::keepRecord(const RecordSource& source)
{
  const auto elements = source.store().elements();
  const Time arrival = clock_();
  keeper_.add(arrival, source.store().timestampMs(), elements);
  latest_ = clock_();  // a blocked output is no silence of the gloves
  hasRecord_ = true;
  if (!first_) first_ = arrival;
  ++figures_.records;
  for (std::size_t index = 0; index < layout_.groups.size(); ++index) {
    const auto own = elements.subspan(layout_.groups[index].first, layout_.groups[index].count);
    figures_.latest[index] = own.empty() ? std::uint16_t{0} : *std::ranges::max_element(own);
    figures_.highest[index] = std::max(figures_.highest[index], figures_.latest[index]);
  }
}

void Recorder::updateKept()
{
  figures_.written = keeper_.written();
  figures_.zero = keeper_.zero();
  figures_.gaps = keeper_.gaps();
  figures_.accounts = keeper_.accounts();
}

// The plug-in does not notice the loss of one of two gloves, and of all only as silence.
void Recorder::checkConnections(Time begin) const
{
  if (!figures_.accounts) return;
  std::vector<std::string> lost;
  for (std::size_t glove = 0; glove < figures_.accounts->ended.size(); ++glove) {
    const auto& ended = figures_.accounts->ended[glove];
    if (ended && *ended >= begin) lost.push_back(layout_.groups.at(glove).label);
  }
  if (!lost.empty()) throw LinkLoss(std::move(lost));
}

void Recorder::finish(const std::optional<Books>& books)
{
  updateKept();
  figures_.records = keeper_.written();
  if (books && figures_.accounts) figures_.accounts->books = *books;
}

bool Recorder::isSilent() const
{
  // A short recording may end before the plug-in's read timeout.
  const double usualSeconds = keeper_.gaps().usualMs() / 1000;
  return hasRecord_ && figures_.silentSeconds > std::max(maxPause, 10 * usualSeconds);
}

void Recorder::checkSilence(const RecordSource& source) const
{
  constexpr const char* advice =
      "One of two gloves may have stopped: check that both are switched on, charged and in range.";
  if (!hasRecord_ && figures_.silentSeconds > maxWaitForFirst) {
    throw Failure(ExitCode::silence, "no complete frame arrived, although the gloves are connected.", advice);
  }
  if (!isSilent()) return;
  if (source.link().resumed()) throw source.linkFailure(LinkWatch::Verdict::lostInStall);
  throw Failure(ExitCode::silence,
                fmt::format("the gloves stopped sending: no frame arrived in the last {:.1f} s.",
                            figures_.silentSeconds),
                advice);
}

bool Recorder::isAtLimit() const
{
  return (limits_.seconds && figures_.seconds >= *limits_.seconds) ||
         (limits_.records && figures_.records >= *limits_.records);
}

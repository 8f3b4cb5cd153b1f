#include "host/session/Recorder.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

#include "host/base/Failure.h"
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

Recorder::Recorder(RecordSource& source, const Layout& layout, RecordKeeper& keeper,
                   const RecordingLimits& limits, Clock clock)
    : source_(source),
      layout_(layout),
      keeper_(keeper),
      limits_(limits),
      clock_(std::move(clock)),
      latest_(clock_())
{
  figures_.latest.resize(layout_.groups.size());
  figures_.highest.resize(layout_.groups.size());
}

bool Recorder::run(const std::atomic<bool>& stop,
                   const std::function<void(const RecordingFigures&)>& onProgress)
{
  // On every exit, including a Failure of the hardware.
  struct Updated {
    Recorder& recorder;
    ~Updated()
    {
      const Time now = recorder.clock_();
      recorder.keeper_.endReading(now);
      recorder.updateTimes(now);
      recorder.updateKept();
    }
  } const updated{*this};
  keeper_.beginReading(clock_());
  auto nextProgress = clock_();
  while (!stop) {
    if (source_.read()) keepRecord();
    keeper_.writeKnown();
    const auto now = clock_();
    updateTimes(now);
    const bool isAtEnd = isAtLimit();
    if (isAtEnd || !first_) checkSilence();
    const bool isDue = now >= nextProgress;
    if (isAtEnd || isDue) figures_.battery = source_.battery();
    if (isAtEnd) return true;
    if (!isDue) continue;
    nextProgress = now + progressInterval;
    updateKept();
    onProgress(figures_);
  }
  return false;
}

void Recorder::updateTimes(Time now)
{
  const Time resumed = source_.link().resumed().value_or(latest_);
  figures_.seconds = first_ ? secondsBetween(*first_, now) : 0;
  figures_.silentSeconds = secondsBetween(std::max(latest_, resumed), now);
  figures_.stalls = source_.link().stalls();
}

void Recorder::keepRecord()
{
  const auto elements = source_.store().elements();
  const Time arrival = clock_();
  keeper_.add(arrival, source_.store().timestampMs(), elements);
  latest_ = clock_();  // a blocked output is no silence of the gloves
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
  figures_.zero = keeper_.zero();
  figures_.gaps = keeper_.gaps();
  figures_.accounts = keeper_.accounts();
}

void Recorder::finish(const std::optional<Books>& books)
{
  updateKept();
  figures_.records = keeper_.written();
  if (books && figures_.accounts) figures_.accounts->books = *books;
}

void Recorder::checkSilence() const
{
  constexpr const char* advice =
      "One of two gloves may have stopped: check that both are switched on, charged and in range.";
  if (!first_ && figures_.silentSeconds > maxWaitForFirst) {
    throw Failure(ExitCode::silence, "no complete frame arrived, although the gloves are connected.", advice);
  }
  // A short recording may end before the plug-in's read timeout.
  const double usualSeconds = keeper_.gaps().usualMs() / 1000;
  const bool isSilent = first_ && figures_.silentSeconds > std::max(maxPause, 10 * usualSeconds);
  if (isSilent && source_.link().resumed()) throw source_.linkFailure(LinkWatch::Verdict::lostInStall);
  if (isSilent) {
    throw Failure(ExitCode::silence,
                  fmt::format("the gloves stopped sending: no frame arrived in the last {:.1f} s.",
                              figures_.silentSeconds),
                  advice);
  }
}

bool Recorder::isAtLimit() const
{
  return (limits_.seconds && figures_.seconds >= *limits_.seconds) ||
         (limits_.records && figures_.records >= *limits_.records);
}

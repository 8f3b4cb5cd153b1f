#include "host/live/DiskWatch.h"

#include <exception>
#include <utility>

#include "host/base/DiskUse.h"
#include "host/base/PartFile.h"
#include "host/base/System.h"
#include "host/recording/RecordingSize.h"

namespace {

constexpr std::chrono::seconds interval{1};
constexpr std::chrono::milliseconds tickInterval{500};

}  // namespace

std::optional<double> DiskFigures::secondsLeft() const
{
  if (!freeBytes || bytesPerSecond.value_or(0) <= 0) return std::nullopt;
  return static_cast<double>(*freeBytes) / *bytesPerSecond;
}

DiskQuestions DiskQuestions::about(const std::filesystem::path& recording)
{
  return {
      .bytes = [recording] { return recordingBytes(recording); },
      .freeBytes =
          [recording] { return freeBytesFor(PartFile::namesOf(recording, PartFile::Kind::file).growing); },
      .clock = host::uptime};
}

std::optional<DiskFigures> DiskMeter::ask()
{
  const auto now = questions_.clock();
  if (next_ && now < *next_) return std::nullopt;
  next_ = now + interval;
  DiskFigures figures{.bytes = questions_.bytes(), .freeBytes = {}, .bytesPerSecond = {}, .answered = {}};
  // Of a device or a pipe nothing is known.
  if (figures.bytes) {
    figures.freeBytes = questions_.freeBytes();
    bytes_.add(now, *figures.bytes);
    figures.bytesPerSecond = bytes_.perSecond(now);
  }
  figures.answered = questions_.clock();
  return figures;
}

DiskWatch::DiskWatch(DiskQuestions questions)
    : meter_(std::move(questions)), ticker_([this] { tick(); }, tickInterval)
{
}

std::optional<DiskFigures> DiskWatch::figures() const
{
  const std::scoped_lock lock(mutex_);
  return figures_;
}

void DiskWatch::tick() noexcept
{
  try {
    const auto figures = meter_.ask();
    if (!figures) return;
    const std::scoped_lock lock(mutex_);
    figures_ = figures;
  } catch (const std::exception&) {
    // No answer; it is asked again.
  }
}

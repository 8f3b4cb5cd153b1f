#include "host/session/FileRecording.h"

#include <algorithm>
#include <cmath>
#include <exception>
#include <utility>

#include "host/base/System.h"
#include "host/session/SessionMetadata.h"

namespace {

// Without what is known only of the recording itself.
RecordingMetadata notBegun(RecordingMetadata metadata)
{
  metadata.reconnections.clear();
  metadata.started.reset();
  metadata.startedLocal.clear();
  metadata.zero.reset();
  metadata.recordsPerSecond.reset();
  metadata.records = 0;
  metadata.books = nullptr;
  for (RecordingMetadata::Glove& glove : metadata.gloves) {
    glove.disconnectedSeconds.reset();
  }
  metadata.ended.clear();
  return metadata;
}

// When it was sampled, or, if that is unknown, when it arrived.
double timeOf(const Record& record)
{
  return std::isnan(record.timeMs) ? record.arrivalMs : record.timeMs;
}

}  // namespace

FileRecording::FileRecording(const OutputName& output, bool replaces, const RecordingMetadata& metadata,
                             const RecordKeeper& keeper, const SyncRules& sync)
    : files_(output, replaces, sync), writer_(files_.begin(notBegun(metadata))), keeper_(keeper)
{
}

void FileRecording::add(const Record& record)
{
  if (!std::exchange(hasBegun_, true)) beginAt(record);
  Record own = record;
  own.timeMs = sinceFirst(record.timeMs);
  own.arrivalMs = sinceFirst(record.arrivalMs);
  frames_.assign(record.frames.begin(), record.frames.end());
  for (GloveFrame& frame : frames_) {
    frame.sampledMs -= firstMs_;
  }
  own.frames = frames_;
  writer_.add(own);
  ++records_;
  latestMs_ = timeOf(record);
  latest_ = keeper_.cut();
  if (!std::isnan(own.timeMs)) gaps_.add(static_cast<std::uint32_t>(std::llround(own.timeMs)));
}

void FileRecording::beginAt(const Record& first)
{
  firstMs_ = timeOf(first);
  const std::chrono::duration<double, std::milli> sinceZero(firstMs_);
  zero_ = keeper_.zero().value() + std::chrono::round<std::chrono::nanoseconds>(sinceZero);
  if (const auto& cut = keeper_.cut()) before_ = cut->before();
  files_.metadata().started = wallClockAt(zero_);
  files_.metadata().zero = zero_;
  writer_.begin(zero_);
  for (RecordingEvent& event : std::exchange(waiting_, {})) {
    writeEvent(std::move(event));
  }
}

void FileRecording::addEvent(const RecordingEvent& event)
{
  if (hasBegun_) {
    writeEvent(event);
  } else {
    waiting_.push_back(event);
  }
}

void FileRecording::writeEvent(RecordingEvent event)
{
  event.timeMs = sinceFirst(event.timeMs);
  files_.addEvent(event);
}

// Without a negative zero, which would be written as one. Unknown if the time is.
double FileRecording::sinceFirst(double sessionMs) const
{
  return std::isnan(sessionMs) ? sessionMs : std::max(0.0, sessionMs - firstMs_);
}

void FileRecording::keepUp(const RecordingFigures& figures)
{
  if (records_ == 0) return;
  updateUnfinished(figures);
  files_.keepUp(host::uptime());
}

std::optional<Books> FileRecording::booksUntil(const std::optional<Books>& end) const
{
  if (!before_ || (!end && !latest_)) return std::nullopt;
  Books books = partOf(*before_, end ? *end : latest_->after());
  // What is in the files, whatever the session counted.
  for (GloveBooks& glove : books.gloves) {
    glove.recorded = records_;
  }
  return books;
}

// Those that lie between two of its records, and the one by which it may have ended.
std::vector<Reconnection> FileRecording::reconnectionsAmong(const std::vector<Reconnection>& all) const
{
  std::vector<Reconnection> own;
  for (const Reconnection& each : all) {
    const bool isWithin = each.lostMs >= firstMs_ && each.lostMs <= latestMs_;
    if (!isWithin) continue;
    own.push_back(each);
    own.back().lostMs -= firstMs_;
    own.back().backMs = each.backMs <= latestMs_ ? each.backMs - firstMs_ : Record::unknown;
  }
  return own;
}

void FileRecording::updateMetadata(const RecordingFigures& session, const std::optional<Books>& books)
{
  RecordingFigures own;
  own.records = records_;
  own.zero = zero_;
  own.gaps = gaps_;
  own.accounts = session.accounts;
  own.reconnections = reconnectionsAmong(session.reconnections);
  update(files_.metadata(), own, books);
}

void FileRecording::updateUnfinished(const RecordingFigures& session)
{
  std::optional<Books> books = booksUntil({});
  if (books) books->isFinal = false;
  updateMetadata(session, books);
}

FileRecording::Result FileRecording::complete(const RecordingFigures& figures,
                                              const std::optional<Books>& end, const std::string& words)
{
  if (records_ == 0) {
    files_.discard();
    return {};
  }
  Result result{.place = files_.wanted(), .books = booksUntil(end)};
  updateMetadata(figures, result.books);
  files_.metadata().ended = words;
  files_.complete();
  return result;
}

void FileRecording::abandon(const RecordingFigures& figures, const std::string& words) noexcept
{
  try {
    if (records_ == 0) {
      files_.discard();
      return;
    }
    updateUnfinished(figures);
    files_.metadata().ended = words;
  } catch (const std::exception&) {
    // Without memory, the metadata keeps what it has.
  }
  files_.abandon();
}

#include "library/LiveRecording.h"

#include <fmt/format.h>

#include <utility>

#include "host/base/Text.h"
#include "host/session/BooksText.h"
#include "library/Errors.h"

namespace library {

namespace {

Error gone()
{
  return {TESSEL_ERROR_STATE, "the gloves have ended.", "Open them again, with a new handle."};
}

}  // namespace

void LiveRecording::begin(const RecordOptions& options, const RecordingMetadata& metadata,
                          const RecordKeeper& keeper)
{
  const std::scoped_lock call(calls_);
  {
    const std::scoped_lock lock(mutex_);
    if (hasEnded_) throw gone();
    if (files_ || isWaitingForStop_) {
      throw Error(TESSEL_ERROR_BUSY, "there is a recording already.", "End it with tessel_stop_recording().");
    }
  }
  auto files =
      std::make_unique<FileRecording>(options.output, options.replaces, metadata, keeper, options.sync);
  const std::string place = utf8(options.output.path);
  {
    const std::scoped_lock lock(mutex_);
    if (!hasEnded_) files_.swap(files);
    isRunning_ = files_ != nullptr;
  }
  if (files) {
    // They ended meanwhile. Without a record it is deleted.
    files->complete({}, std::nullopt, "");
    throw gone();
  }
  onEvent_(fmt::format("started: {}", place));
}

void LiveRecording::stop(const RecordingFigures& figures, const std::vector<std::string>& labels)
{
  const std::scoped_lock call(calls_);
  std::unique_ptr<FileRecording> files;
  std::optional<Failure> failure;
  bool hasEndedItself = false;
  {
    const std::scoped_lock lock(mutex_);
    hasEndedItself = std::exchange(isWaitingForStop_, false);
    failure = std::exchange(failure_, std::nullopt);
    files = std::move(files_);
    isRunning_ = false;
  }
  if (hasEndedItself) {
    if (files) files->abandon(figures, failure->what());
    if (failure) throw Failure(*failure);
    return;
  }
  if (!files) {
    throw Error(TESSEL_ERROR_STATE, "there is no recording.", "Begin one with tessel_record().");
  }
  complete(*files, figures, labels, std::nullopt, "as requested.");
}

// Reports what becomes of it; throws the Failure.
void LiveRecording::complete(FileRecording& files, const RecordingFigures& figures,
                             const std::vector<std::string>& labels, const std::optional<Books>& books,
                             const std::string& words)
{
  try {
    const FileRecording::Result result = files.complete(figures, books, words);
    if (result.place.empty()) {
      onEvent_("ended: it had no record, and was deleted");
      return;
    }
    onEvent_(fmt::format("ended: {}, {} records", utf8(result.place), files.records()));
    if (!result.books) return;
    if (const auto failure = booksFailure(*result.books, labels)) throw Failure(*failure);
  } catch (const Failure& failure) {
    onEvent_(fmt::format("failed: {}", failure.what()));
    throw;
  }
}

template <class Action>
void LiveRecording::write(const Action& action)
{
  std::optional<Failure> failed;
  {
    const std::scoped_lock lock(mutex_);
    if (!isRunning_) return;
    try {
      action(*files_);
      return;
    } catch (const Failure& failure) {
      // Whoever calls stop() abandons the files, or end(): that may wait for the disk.
      isRunning_ = false;
      failure_ = failed = failure;
      isWaitingForStop_ = true;
    }
  }
  onEvent_(fmt::format("failed: {}", failed->what()));
}

void LiveRecording::add(const Record& record)
{
  write([&](FileRecording& files) { files.add(record); });
}

void LiveRecording::addEvent(const RecordingEvent& event)
{
  write([&](FileRecording& files) { files.addEvent(event); });
}

void LiveRecording::keepUp(const RecordingFigures& figures)
{
  std::optional<Failure> notStored;
  write([&](FileRecording& files) {
    files.keepUp(figures);
    notStored = files.takeDiskFailure();
  });
  if (notStored) onEvent_(fmt::format("not stored: {}", notStored->what()));
}

void LiveRecording::end(const RecordingFigures& figures, const std::vector<std::string>& labels,
                        const std::optional<Books>& books, const std::string& words)
{
  std::unique_ptr<FileRecording> files;
  std::optional<Failure> failure;
  {
    const std::scoped_lock lock(mutex_);
    hasEnded_ = true;
    files = std::move(files_);
    failure = failure_;
    isRunning_ = false;
    isWaitingForStop_ = isWaitingForStop_ || files;
  }
  if (!files) return;
  if (failure) {
    files->abandon(figures, failure->what());
    return;
  }
  try {
    complete(*files, figures, labels, books, words);
  } catch (const Failure& failure) {
    const std::scoped_lock lock(mutex_);
    failure_ = failure;
  }
}

std::optional<Failure> LiveRecording::takeFailure()
{
  const std::scoped_lock lock(mutex_);
  return std::exchange(failure_, std::nullopt);
}

}  // namespace library

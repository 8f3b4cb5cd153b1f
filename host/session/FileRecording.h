// A recording in files of a part of a session: from the next record to its end, while the session may have
// begun before and goes on afterwards. Its times begin near 0, and its books account for exactly the frames
// between its first and its last record, so they balance by themselves: booksFailure() finds out.
// Threads: begun and completed by any, everything between by the thread that reads the gloves. Errors: a
// Failure with ExitCode::output; everything written before is kept.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "host/recording/RecordSink.h"
#include "host/recording/RecordingFiles.h"
#include "host/session/RecordKeeper.h"
#include "host/session/Recorder.h"

class FileRecording final : public RecordSink {
 public:
  // Reserves the names and writes the headings. `metadata`: of the session. The keeper, which calls add() as
  // a part of its sink, must outlive add().
  FileRecording(const OutputName& output, bool replaces, const RecordingMetadata& metadata,
                const RecordKeeper& keeper, const SyncRules& sync = {});

  // When it throws, call abandon().
  void add(const Record& record) override;
  // At a time of the session. Those before the first record get time 0.
  void addEvent(const RecordingEvent& event) override;
  // Several times a second: brings the metadata up to date.
  void keepUp(const RecordingFigures& figures);

  // Once: see RecordingFiles.
  std::optional<Failure> takeDiskFailure() { return files_.takeDiskFailure(); }

  std::uint64_t records() const { return records_; }
  // Where the records are until it is complete.
  const std::filesystem::path& growing() const { return files_.growing(); }

  struct Result {
    std::filesystem::path place;  // empty: there was no record, and nothing is kept
    std::optional<Books> books;   // of this recording; empty without a capture of the link
  };
  // After the last record. `end`: the books of the whole session, if it has ended, with what became of the
  // frames after its last record; otherwise the recording ends with its own last record. `words`: why it
  // ended. On a Failure the files keep the names that they have while they grow.
  Result complete(const RecordingFigures& figures, const std::optional<Books>& end, const std::string& words);
  // Not all could be written: the files keep these names; without a record, nothing is kept. Waits for the
  // disk if it is at work.
  void abandon(const RecordingFigures& figures, const std::string& words) noexcept;

 private:
  void beginAt(const Record& first);
  void writeEvent(RecordingEvent event);
  double sinceFirst(double sessionMs) const;
  std::optional<Books> booksUntil(const std::optional<Books>& end) const;
  std::vector<Reconnection> reconnectionsAmong(const std::vector<Reconnection>& all) const;
  void updateMetadata(const RecordingFigures& session, const std::optional<Books>& books);
  void updateUnfinished(const RecordingFigures& session);

  RecordingFiles files_;
  RecordWriter& writer_;
  const RecordKeeper& keeper_;
  std::vector<RecordingEvent> waiting_;  // for the first record
  std::uint64_t records_ = 0;
  bool hasBegun_ = false;
  // Of the session's time.
  double firstMs_ = Record::unknown;
  double latestMs_ = Record::unknown;
  std::chrono::nanoseconds zero_{0};  // the first of them, by host::uptime()
  GapDetector gaps_;
  std::vector<GloveFrame> frames_;  // of the record that is being written
  std::optional<Books> before_;     // the session's books before the first record
  std::optional<BooksCut> latest_;  // and at the latest one
};

// A recording in files of a part of a session: from the next record to its end, while the session may have
// begun before and goes on afterwards. Its times begin near 0, and its books account for exactly the frames
// between its first and its last record. Threads: begun and completed by any, everything between by the
// thread that reads the gloves. Errors: a Failure with ExitCode::output; everything written before is kept.
#pragma once

#include <filesystem>
#include <optional>
#include <string>

#include "host/recording/RecordSink.h"
#include "host/recording/RecordingFiles.h"
#include "host/session/RecordKeeper.h"
#include "host/session/Recorder.h"

class FileRecording final : public RecordSink {
 public:
  // Reserves the names and writes the headings. `metadata`: of the session. The keeper, which calls add() as
  // a part of its sink, must outlive add().
  FileRecording(const OutputName& output, bool replaces, const RecordingMetadata& metadata,
                const RecordKeeper& keeper);

  void add(const Record& record) override;
  // Those before the first record get time 0.
  void addEvent(const RecordingEvent& event) override;
  // Several times a second: brings the metadata up to date.
  void keepUp(const RecordingFigures& figures);

  std::uint64_t records() const { return records_; }

  struct Result {
    std::filesystem::path place;  // empty: there was no record, and nothing is kept
    std::optional<Books> books;   // of this recording; empty without a capture of the link
  };
  // After the last record. `end`: the books of the whole session, if it has ended; otherwise those of the
  // latest record count. `words`: why it ended. On a Failure the files keep the names that they have while
  // they grow.
  Result complete(const RecordingFigures& figures, const std::optional<Books>& end, const std::string& words);
  // Not all could be written: the files keep these names.
  void abandon(const RecordingFigures& figures, const std::string& words) noexcept;

 private:
  RecordingFiles files_;
  const RecordKeeper& keeper_;
  RecordWriter& writer_;
  std::uint64_t records_ = 0;
};

// The files of a recording: its records, its metadata and its events. While they grow, their names end in
// ".part". The metadata is replaced as a whole and everything else is handed to the operating system at once,
// so the files of a killed program belong together. Those of a crashed computer have at least what the disk
// was made to store by then, again and again on a thread of its own. A file of XDF has everything; standard
// output, devices and pipes have only records in other formats.
// Threads: one; only the ends of a recording wait for the disk. Errors: a Failure with ExitCode::output;
// everything written so far is kept.
#pragma once

#include <chrono>
#include <cstdint>
#include <exception>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "host/base/DiskSync.h"
#include "host/base/OutputFile.h"
#include "host/base/PartFile.h"
#include "host/recording/OutputName.h"
#include "host/recording/RecordWriter.h"
#include "host/recording/RecordingEvents.h"
#include "host/recording/RecordingMetadata.h"

class RecordingFiles {
 public:
  using Time = std::chrono::nanoseconds;  // of host::uptime()

  // All names that its files have while they grow, and get.
  static std::vector<std::filesystem::path> namesOf(const OutputName& output);

  // Reserves the names. A Failure if one of them is taken, unless `replaces`: then all are replaced in the
  // end, and none if one of them is not a recording's.
  RecordingFiles(const OutputName& output, bool replaces, const SyncRules& sync = {});
  // Deletes everything unless begin() was called.
  ~RecordingFiles() = default;
  RecordingFiles(const RecordingFiles&) = delete;
  RecordingFiles& operator=(const RecordingFiles&) = delete;

  // Where the records are written.
  const std::filesystem::path& growing() const { return records_.growing(); }
  // True for a name that one of them has now or gets.
  bool contain(const std::filesystem::path& path) const;
  // False for standard output, a device or a pipe.
  bool hasPlace() const { return records_.hasPlace(); }

  // Begins the recording of metadata.layout; the records go to the writer.
  RecordWriter& begin(RecordingMetadata metadata);
  // Written by the functions below.
  RecordingMetadata& metadata() { return metadata_; }

  void addEvent(const RecordingEvent& event);
  // Writes the metadata when called for the first time, then every 10 s. If that fails, it is tried again.
  // Has the disk store all at its own interval. Without one, only what is complete is stored.
  void keepUp(Time now);
  // Once: the disk failed to store what was written. The recording goes on, but will not be complete.
  std::optional<Failure> takeDiskFailure();

  // That were written.
  std::uint64_t records() const { return writer_->records(); }
  // False once a record could not be written. No later one is: there would be a hole.
  bool areWhole() const { return writer_->isWhole(); }

  // The recording ends in one of three ways. All is written: the files get their final names, the records
  // last, once the disk has them all. If it does not, they are abandoned, with a Failure.
  void complete();
  // Not all could be written: the files keep their names.
  void abandon() noexcept;
  // There are no records: everything is deleted, unless complete() had got as far as the final names.
  void discard();

  // Where the records are after complete().
  const std::filesystem::path& wanted() const { return records_.wanted(); }

 private:
  // Of a CSV file; those of a folder of arrays are in the folder.
  struct Companions {
    std::filesystem::path metadata, events;
  };

  // Writes records until one fails.
  class Writer final : public RecordWriter {
   public:
    explicit Writer(std::unique_ptr<RecordWriter> writer) : writer_(std::move(writer)) {}

    void begin(Time zero) override { writer_->begin(zero); }
    void add(const Record& record) override;
    void addEvent(const RecordingEvent& event) override { writer_->addEvent(event); }
    void close(bool isComplete) override { writer_->close(isComplete); }

    std::uint64_t records() const { return records_; }
    bool isWhole() const { return error_ == nullptr; }

   private:
    const std::unique_ptr<RecordWriter> writer_;
    std::uint64_t records_ = 0;
    std::exception_ptr error_;
  };

  static std::optional<Companions> checkNames(const OutputName& output, bool replaces);
  void beginSync();
  void requireStored();
  void removeReplaced() const;
  void writeMetadata(bool isComplete);
  void replaceMetadata(const std::string& text, Disk& disk);
  // Files of metadata and events.
  bool hasOthers() const { return hasPlace() && format_ != RecordFormat::xdf; }
  void closeAll(bool isComplete);
  void dropEmptyEvents();

  const RecordFormat format_;
  const bool replaces_;
  const SyncRules syncRules_;
  const std::optional<Companions> companions_;
  PartFile records_;
  std::optional<PartFile> metadataPart_;
  std::optional<PartFile> eventsPart_;
  std::unique_ptr<Writer> writer_;
  std::optional<OutputFile> events_;
  std::uint64_t eventCount_ = 0;
  bool isComplete_ = false;  // but for the names
  RecordingMetadata metadata_;
  std::optional<Time> next_;
  bool isDiskFailureTaken_ = false;
  std::optional<DiskSync> sync_;  // last, since its thread replaces the metadata
};

// Tables of a recording's samples for spreadsheets and statistics programs, in CSV. They have the times of
// the records, and nothing else that a recording has. docs/convert.md documents them.
// Threads: one. Errors: a Failure with ExitCode::output.
#pragma once

#include <filesystem>
#include <memory>

#include "host/recording/Layout.h"
#include "host/recording/RecordSink.h"

enum class TableKind {
  tidy,     // a row for each element of each record
  regions,  // a row for each record: mean, maximum and sum of each glove and of each region
};

class RecordTable : public RecordSink {
 public:
  virtual void close() = 0;
};

// `regions` needs the regions of all gloves.
std::unique_ptr<RecordTable> makeRecordTable(TableKind kind, const std::filesystem::path& file,
                                             const Layout& layout);

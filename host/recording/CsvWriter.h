// Writes a recording as comma-separated values: a line of column names, then a line for each record.
#pragma once

#include <string>

#include "host/base/OutputFile.h"
#include "host/recording/RecordWriter.h"

class CsvWriter final : public RecordWriter {
 public:
  CsvWriter(const std::filesystem::path& file, const Layout& layout);

  void add(const Record& record) override;
  void close(bool /*isComplete*/) override { file_.close(); }

 private:
  OutputFile file_;
  std::string line_;  // a member to reuse its memory
};

// Writes a recording as comma-separated values: a line of column names, then a line for each record.
#pragma once

#include "host/base/OutputFile.h"
#include "host/recording/RecordWriter.h"

class CsvWriter final : public RecordWriter {
 public:
  CsvWriter(const std::filesystem::path& file, const Layout& layout);

  void add(std::uint32_t timestampMs, std::span<const std::uint16_t> elements) override;
  void finish(const RecordingEnd& end) override;

 private:
  OutputFile file_;
  std::string line_;  // a member to reuse its memory
};

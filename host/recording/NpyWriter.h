// Writes a recording as a folder of NumPy arrays: samples.npy [records x elements, uint16], and one number
// for each record in time.npy and arrival.npy [float64, ms], stamps.npy [uint32, ms], and LABEL_frame.npy,
// LABEL_ticks.npy [int64] and LABEL_ms.npy [float64] of each glove.
#pragma once

#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <string_view>

#include "host/base/OutputFile.h"
#include "host/recording/RecordWriter.h"

class NpyWriter final : public RecordWriter {
 public:
  NpyWriter(const std::filesystem::path& folder, const Layout& layout);

  void add(const Record& record) override;
  void close(bool isComplete) override;

 private:
  struct Array {
    // `columns`: none for one number for each record. `type` is in NumPy's notation.
    Array(const std::filesystem::path& folder, std::string_view name, std::string_view type,
          std::optional<std::size_t> columns = std::nullopt);

    std::string_view header(std::uint64_t records);

    OutputFile file;
    const std::string start, end;  // of the header, before and after the number of records
    std::string text;              // of the header: a member to reuse its memory
  };

  std::deque<Array>
      arrays_;  // samples, time, arrival, the plug-in's timestamps, each glove's frames and ticks
  std::uint64_t records_ = 0;
};

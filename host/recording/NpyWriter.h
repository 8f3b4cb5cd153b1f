// Writes a recording as a folder of NumPy arrays: samples.npy [records x elements, uint16], stamps.npy
// [records, uint32, ms], and meta.json, which describes the elements.
#pragma once

#include "host/base/OutputFile.h"
#include "host/recording/RecordWriter.h"

class NpyWriter final : public RecordWriter {
 public:
  NpyWriter(std::filesystem::path folder, const Layout& layout);

  void add(std::uint32_t timestampMs, std::span<const std::uint16_t> elements) override;
  void finish(const RecordingEnd& end) override;

 private:
  void writeMeta(const RecordingEnd* end) const;

  std::filesystem::path folder_;
  Layout layout_;
  std::string started_;
  OutputFile samples_;
  OutputFile timestamps_;
  std::uint64_t records_ = 0;
};

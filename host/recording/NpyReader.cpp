#include "host/recording/NpyReader.h"

#include <fmt/core.h>

#include <algorithm>
#include <deque>
#include <system_error>

#include "host/recording/MetadataReader.h"
#include "host/recording/Names.h"
#include "host/recording/NpyFile.h"
#include "host/recording/RecordingParts.h"

namespace fs = std::filesystem;

namespace {

// Elements that are read at a time, and rows.
constexpr std::size_t blockElements = 1 << 17;
constexpr std::size_t maxBlockRows = 4096;

// The rows of an array, of which one block is in memory. Without a file all rows are unknown.
template <class Number>
class Rows {
 public:
  explicit Rows(NpyFile* file = nullptr) : file_(file) {}

  void readBlock(std::size_t rows)
  {
    if (!file_) return;
    numbers_.resize(rows * static_cast<std::size_t>(file_->columns()));
    file_->read(std::span(numbers_));
  }

  Number numberOr(std::size_t row, Number unknown) const { return file_ ? numbers_[row] : unknown; }
  std::span<const Number> row(std::size_t row) const
  {
    const auto columns = static_cast<std::size_t>(file_->columns());
    return std::span(numbers_).subspan(row * columns, columns);
  }

  // A time in ms. `first`: the number of the block's first row.
  Number timeOr(std::size_t row, std::uint64_t first, Number unknown) const
  {
    const Number ms = numberOr(row, unknown);
    if (!isUsableTime(ms)) {
      damagedRecording(file_->path(),
                       fmt::format("is damaged: {} in row {} is not a time in ms", ms, first + row));
    }
    return ms;
  }

 private:
  NpyFile* file_;
  std::vector<Number> numbers_;
};

class NpyReader final : public RecordReader {
 public:
  explicit NpyReader(const fs::path& folder) : folder_(folder)
  {
    ReadMetadata read = readMetadataFile(folder_ / names::metadataFile);
    metadata_ = std::move(read.metadata);
    notes_ = std::move(read.notes);
    openArrays(read.version > 1);
    records_ = std::ranges::min_element(files_, {}, &NpyFile::rowsInFile)->rowsInFile();
    isComplete_ = read.isComplete && folder_.extension() != ".part";
    if (isComplete_) {
      checkRecords(*read.records);
    } else {
      notes_.emplace_back(incompleteNote);
    }
    blockRows_ = std::clamp(blockElements / metadata_.layout.elements, std::size_t{1}, maxBlockRows);
    row_ = blockRows_;
  }

  const RecordingMetadata& metadata() const override { return metadata_; }
  const std::vector<std::string>& notes() const override { return notes_; }
  bool isComplete() const override { return isComplete_; }

  std::vector<RecordingEvent> events() override { return readEvents(folder_ / names::eventsFile, notes_); }

  double progress() const override
  {
    return records_ == 0 ? 1 : static_cast<double>(position()) / static_cast<double>(records_);
  }

  std::optional<Record> next() override
  {
    if (row_ == blockRows_) readBlock();
    if (position() == records_) return std::nullopt;
    constexpr double unknown = Record::unknown;
    for (std::size_t glove = 0; glove < frames_.size(); ++glove) {
      const FrameArrays& arrays = frameArrays_[glove];
      // Any other negative number is none either.
      frames_[glove] = {.number = std::max<std::int64_t>(arrays.numbers.numberOr(row_, -1), -1),
                        .ticks = std::max<std::int64_t>(arrays.ticks.numberOr(row_, -1), -1),
                        .sampledMs = arrays.sampled.timeOr(row_, first_, unknown)};
    }
    const Record record{.timeMs = times_.timeOr(row_, first_, unknown),
                        .arrivalMs = arrivals_.timeOr(row_, first_, unknown),
                        .pluginMs = pluginTimes_.numberOr(row_, 0),
                        .frames = frames_,
                        .elements = samples_.row(row_)};
    ++row_;
    return record;
  }

 private:
  struct FrameArrays {
    Rows<std::int64_t> numbers, ticks;
    Rows<double> sampled;
  };

  static constexpr NpyFile::Wanted doubles{.type = "<f8", .typeSize = 8, .dimensions = 1};
  static constexpr NpyFile::Wanted integers{.type = "<i8", .typeSize = 8, .dimensions = 1};

  NpyFile* open(std::string_view array, const NpyFile::Wanted& wanted)
  {
    return &files_.emplace_back(folder_ / names::arrayFile(array), wanted);
  }

  NpyFile* openIfThere(const std::string& array, const NpyFile::Wanted& wanted)
  {
    return isThere(folder_ / names::arrayFile(array)) ? open(array, wanted) : nullptr;
  }

  void openArrays(bool hasTimes)
  {
    const Layout& layout = metadata_.layout;
    NpyFile* const samples = open(names::samplesArray, {.type = "<u2", .typeSize = 2, .dimensions = 2});
    samples_ = Rows<std::uint16_t>(samples);
    pluginTimes_ =
        Rows<std::uint32_t>(open(names::pluginArray, {.type = "<u4", .typeSize = 4, .dimensions = 1}));
    if (hasTimes) {
      times_ = Rows<double>(open(names::timeArray, doubles));
      arrivals_ = Rows<double>(open(names::arrivalArray, doubles));
    }
    if (layout.elements == 0 || samples->columns() != layout.elements) {
      damagedRecording(folder_,
                       fmt::format("is damaged: samples.npy has {} elements in a record, meta.json has {}",
                                   samples->columns(), layout.elements));
    }
    for (const ElementGroup& group : layout.groups) {
      if (!group.isGlove()) continue;
      FrameArrays& arrays = frameArrays_.emplace_back();
      frames_.emplace_back();
      // No other label is a part of a file's name.
      if (!isPlainLabel(group.label)) continue;
      const auto arrayOf = [&](std::string_view suffix) { return group.label + std::string(suffix); };
      arrays.numbers = Rows<std::int64_t>(openIfThere(arrayOf(names::frameSuffix), integers));
      arrays.ticks = Rows<std::int64_t>(openIfThere(arrayOf(names::ticksSuffix), integers));
      arrays.sampled = Rows<double>(openIfThere(arrayOf(names::sampledSuffix), doubles));
    }
  }

  void checkRecords(std::uint64_t expected) const
  {
    for (const NpyFile& file : files_) {
      if (file.rows() == expected && file.rowsInFile() == expected) continue;
      damagedRecording(
          file.path(),
          fmt::format(
              "is damaged: {} records according to its header, {} according to meta.json, {} in the file",
              file.rows(), expected, file.rowsInFile()));
    }
  }

  std::uint64_t position() const { return hasBegun_ ? first_ + row_ : 0; }

  void readBlock()
  {
    first_ = position();
    hasBegun_ = true;
    row_ = 0;
    const auto rows = static_cast<std::size_t>(std::min<std::uint64_t>(blockRows_, records_ - first_));
    samples_.readBlock(rows);
    pluginTimes_.readBlock(rows);
    times_.readBlock(rows);
    arrivals_.readBlock(rows);
    for (FrameArrays& arrays : frameArrays_) {
      arrays.numbers.readBlock(rows);
      arrays.ticks.readBlock(rows);
      arrays.sampled.readBlock(rows);
    }
  }

  const fs::path folder_;
  RecordingMetadata metadata_;
  std::vector<std::string> notes_;
  bool isComplete_ = false;
  std::deque<NpyFile> files_;
  std::uint64_t records_ = 0;

  Rows<std::uint16_t> samples_;
  Rows<std::uint32_t> pluginTimes_;
  Rows<double> times_, arrivals_;
  std::vector<FrameArrays> frameArrays_;  // by glove
  std::vector<GloveFrame> frames_;        // of the record that was read last

  std::size_t blockRows_ = 0;
  std::uint64_t first_ = 0;  // row of the block in memory
  std::size_t row_ = 0;      // next one, in the block
  bool hasBegun_ = false;
};

}  // namespace

std::unique_ptr<RecordReader> openNpy(const fs::path& folder)
{
  return std::make_unique<NpyReader>(folder);
}

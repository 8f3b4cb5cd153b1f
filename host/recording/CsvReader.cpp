#include "host/recording/CsvReader.h"

#include <fmt/core.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>
#include <string_view>
#include <system_error>

#include "host/base/Failure.h"
#include "host/base/Text.h"
#include "host/recording/CsvHeading.h"
#include "host/recording/LineReader.h"
#include "host/recording/MetadataReader.h"
#include "host/recording/Names.h"
#include "host/recording/RecordingParts.h"

namespace {

// The header line is the longest.
constexpr std::size_t maxLineLength = 1 << 19;

class CsvReader final : public RecordReader {
 public:
  explicit CsvReader(const std::filesystem::path& path) : path_(path), lines_(path, maxLineLength)
  {
    const auto heading = lines_.next();
    if (!heading && !lines_.hasRest()) damagedRecording(path_, "is empty");
    if (!heading) damagedRecording(path_, "ends within its first line");
    heading_ = parseCsvHeading(*heading, path_);
    readCompanion();
    metadata_.layout = heading_.layout;
    elements_.resize(heading_.layout.elements);
    placeFrames();
  }

  const RecordingMetadata& metadata() const override { return metadata_; }
  const std::vector<std::string>& notes() const override { return notes_; }
  double progress() const override { return lines_.progress(); }
  bool isComplete() const override { return expectedRecords_.has_value(); }

  std::vector<RecordingEvent> events() override
  {
    return readEvents(existingCompanionOf(path_, names::eventsSuffix), notes_);
  }

  std::optional<Record> next() override
  {
    for (;;) {
      const auto line = nextLine();
      if (!line) {
        noteEnd();
        return std::nullopt;
      }
      try {
        return parse(*line);
      } catch (const Failure&) {
        if (!isUnfinished()) throw;
        ++damagedLines_;
      }
    }
  }

 private:
  // When the computer crashed, anything may be behind what the disk had stored.
  bool isUnfinished() const { return isIncomplete_ || path_.extension() == ".part"; }

  std::optional<std::string_view> nextLine()
  {
    if (hasEnded_) return std::nullopt;
    try {
      return lines_.next();
    } catch (const Failure& failure) {
      if (!isUnfinished()) throw;
      notes_.emplace_back(failure.what());
      return std::nullopt;
    }
  }

  Record parse(std::string_view line)
  {
    next_ = line.data();
    end_ = next_ + line.size();
    column_ = 0;
    Record record;
    if (heading_.hasTimes) {
      readTimes(record);
    } else {
      record.pluginMs = readNumber<std::uint32_t>();
    }
    for (std::uint16_t& element : elements_) {
      nextCell();
      element = readNumber<std::uint16_t>();
    }
    if (next_ != end_) {
      damagedRecording(path_, fmt::format("is damaged in line {}: more than {} columns", lines_.number(),
                                          heading_.columns));
    }
    ++records_;
    record.frames = frames_;
    record.elements = elements_;
    return record;
  }

  void readCompanion()
  {
    const std::filesystem::path companion = existingCompanionOf(path_, names::metadataSuffix);
    if (!isThere(companion)) return;
    try {
      ReadMetadata read = readMetadataFile(companion);
      std::ranges::move(read.notes, std::back_inserter(notes_));
      expectedRecords_ = read.records;
      isIncomplete_ = !read.isComplete;
      metadata_ = std::move(read.metadata);
    } catch (const UnreadableFile&) {
      throw;
    } catch (const Failure& failure) {
      notes_.push_back(fmt::format("its metadata was not read: {}", failure.what()));
      return;
    }
    describeColumns();
  }

  // Adds what only the metadata knows. Where both contradict each other, the columns are right.
  void describeColumns()
  {
    bool fits = true;
    for (ElementGroup& group : heading_.layout.groups) {
      const auto& described = metadata_.layout.groups;
      const auto same = std::ranges::find(described, group.label, &ElementGroup::label);
      if (same == described.end() || same->count != group.count) {
        fits = false;
        continue;
      }
      group.module = same->module;
      if (elementNames(*same) == elementNames(group)) {
        group.hand = same->hand;
      } else if (same->hand.isKnown()) {
        fits = false;
      }
    }
    if (fits) return;
    metadata_.hands = nullptr;
    notes_.emplace_back("its metadata describes other elements than its columns, which are used");
  }

  // The columns of frames are in the order of the gloves, but need not be there.
  void placeFrames()
  {
    for (const ElementGroup& group : heading_.layout.groups) {
      if (!group.isGlove()) continue;
      gloveLabels_.push_back(group.label);
    }
    frames_.resize(gloveLabels_.size());
    for (const CsvHeading::FrameColumns& columns : heading_.frames) {
      const auto glove = std::ranges::find(gloveLabels_, columns.label);
      gloveOfColumns_.push_back(static_cast<std::size_t>(glove - gloveLabels_.begin()));
    }
  }

  void readTimes(Record& record)
  {
    record.timeMs = readTime();
    nextCell();
    record.arrivalMs = readTime();
    nextCell();
    record.pluginMs = readNumber<std::uint32_t>();
    for (std::size_t columns = 0; columns < heading_.frames.size(); ++columns) {
      GloveFrame frame;
      nextCell();
      if (!isCellEmpty()) frame.number = readNumber<std::int64_t>();
      nextCell();
      if (!isCellEmpty()) frame.ticks = readNumber<std::int64_t>();
      if (heading_.frames[columns].hasSampled) {
        nextCell();
        frame.sampledMs = readTime();
      }
      if (gloveOfColumns_[columns] < frames_.size()) frames_[gloveOfColumns_[columns]] = frame;
    }
  }

  void nextCell()
  {
    ++column_;
    if (next_ == end_) {
      damagedRecording(path_, fmt::format("is damaged in line {}: {} columns instead of {}", lines_.number(),
                                          column_, heading_.columns));
    }
    ++next_;
  }

  bool isCellEmpty() const { return next_ == end_ || *next_ == ','; }

  double readTime()
  {
    if (isCellEmpty()) return Record::unknown;
    double ms = 0;
    const auto [stop, error] = std::from_chars(next_, end_, ms, std::chars_format::fixed);
    if (error != std::errc{} || (stop != end_ && *stop != ',') || std::isnan(ms) || !isUsableTime(ms)) {
      damagedCell("a time in ms");
    }
    next_ = stop;
    return ms;
  }

  // Moves to the separator after the number, or to the end.
  template <class Number>
  Number readNumber()
  {
    Number number{};
    const auto [stop, error] = std::from_chars(next_, end_, number);
    if (error != std::errc{} || (stop != end_ && *stop != ',') || number < 0) {
      damagedCell(fmt::format("a number from 0 to {}", std::numeric_limits<Number>::max()));
    }
    next_ = stop;
    return number;
  }

  [[noreturn]] void damagedCell(const std::string& wanted) const
  {
    const std::string_view rest(next_, static_cast<std::size_t>(end_ - next_));
    damagedRecording(path_, fmt::format("is damaged in line {}, column {}: '{}' is not {}", lines_.number(),
                                        column_ + 1, excerpt(rest.substr(0, rest.find(','))), wanted));
  }

  void noteEnd()
  {
    if (hasEnded_) return;
    hasEnded_ = true;
    if (lines_.hasRest()) {
      notes_.push_back(fmt::format("line {} is incomplete and was skipped", lines_.number() + 1));
    }
    if (damagedLines_ > 0)
      notes_.push_back(fmt::format("{} line(s) are damaged and were skipped", damagedLines_));
    if (isIncomplete_) notes_.emplace_back(incompleteNote);
    if (expectedRecords_ && *expectedRecords_ != records_) {
      notes_.push_back(
          fmt::format("it has {} records, not {} as its metadata says", records_, *expectedRecords_));
    }
  }

  const std::filesystem::path path_;
  LineReader lines_;
  CsvHeading heading_;
  RecordingMetadata metadata_;
  std::vector<std::string> notes_;
  bool isIncomplete_ = false;
  std::optional<std::uint64_t> expectedRecords_;
  std::uint64_t records_ = 0;
  std::uint64_t damagedLines_ = 0;
  bool hasEnded_ = false;

  std::vector<std::string> gloveLabels_;
  std::vector<std::size_t> gloveOfColumns_;  // of each glove with columns of frames; past the last: none
  // Of the record that was read last.
  std::vector<GloveFrame> frames_;
  std::vector<std::uint16_t> elements_;
  // Where the line is being read.
  const char* next_ = nullptr;
  const char* end_ = nullptr;
  std::size_t column_ = 0;
};

}  // namespace

std::unique_ptr<RecordReader> openCsv(const std::filesystem::path& path)
{
  return std::make_unique<CsvReader>(path);
}

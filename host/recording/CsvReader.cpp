#include "host/recording/CsvReader.h"

#include <fmt/core.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>
#include <string_view>

#include "host/base/Text.h"
#include "host/recording/LineReader.h"
#include "host/recording/Names.h"
#include "host/recording/RecordingParts.h"

namespace {

// The header line is the longest.
constexpr std::size_t maxLineLength = 1 << 19;

class CsvReader {
 public:
  explicit CsvReader(const std::filesystem::path& path) : path_(path), lines_(path, maxLineLength) {}

  Recording read()
  {
    const auto heading = lines_.next();
    if (!heading && !lines_.hasRest()) damagedRecording(path_, "is empty");
    if (!heading) damagedRecording(path_, "ends within its first line");
    readHeading(*heading);
    while (const auto line = lines_.next()) {
      readRecord(*line);
    }
    if (recording_.samples.empty()) {
      damagedRecording(path_, "contains no records", "Record for longer, or wait until the gloves send.");
    }
    if (lines_.hasRest()) {
      recording_.notes.push_back(fmt::format("line {} is incomplete and was skipped", lines_.number() + 1));
    }
    hasTimes_ ? setTimes(recording_, times_) : setTimestamps(recording_, timestamps_);
    return std::move(recording_);
  }

 private:
  void readHeading(std::string_view line)
  {
    const std::string_view first = line.substr(0, line.find(','));
    if (first != names::timeColumn) {
      damagedRecording(path_, fmt::format("is not a recording: line 1 begins with '{}' instead of '{}'",
                                          excerpt(first), names::timeColumn));
    }
    std::vector<std::string_view> columns;
    for (std::size_t begin = 0; begin <= line.size(); begin += columns.back().size() + 1) {
      columns.push_back(line.substr(begin, line.find(',', begin) - begin));
    }
    hasTimes_ = columns.size() > 1 && columns[1] == names::arrivalColumn;
    std::size_t column = 1;
    if (hasTimes_) {
      ++column;
      expectColumn(columns, column++, names::pluginColumn);
      while (column < columns.size() && columns[column].ends_with(names::frameSuffix)) {
        const auto label = columns[column].substr(0, columns[column].size() - names::frameSuffix.size());
        expectColumn(columns, column + 1, fmt::format("{}{}", label, names::ticksSuffix));
        column += 2;
        ++frameColumns_;
        const bool hasSampled =
            column < columns.size() && columns[column] == fmt::format("{}{}", label, names::sampledSuffix);
        if (hasSampled) ++column;
        hasSampled_ = hasSampled;
      }
    }
    if (column == columns.size()) damagedRecording(path_, "has no elements in line 1");
    columnCount_ = columns.size();
    for (; column < columns.size(); ++column) {
      addColumn(columns[column]);
    }
  }

  void expectColumn(const std::vector<std::string_view>& columns, std::size_t index,
                    std::string_view wanted) const
  {
    const std::string_view column = index < columns.size() ? columns[index] : "";
    if (column == wanted) return;
    damagedRecording(
        path_, fmt::format("is damaged in line 1: '{}' instead of '{}'", excerpt(column), excerpt(wanted)));
  }

  void addColumn(std::string_view column)
  {
    const std::size_t separator = std::min(column.rfind('_'), column.size());
    const std::string_view label = column.substr(0, separator);
    auto& groups = recording_.groups;
    if (groups.empty() || groups.back().label != label) addGroup(recording_, path_, std::string(label));
    auto& group = groups.back();
    if (column.substr(separator) != fmt::format("_{}", group.count)) {
      damagedRecording(path_, fmt::format("is damaged in line 1: '{}' instead of '{}_{}'", excerpt(column),
                                          excerpt(label), group.count));
    }
    ++group.count;
    if (++recording_.elements > maxElements) {
      damagedRecording(path_, fmt::format("has more than {} elements in a record", maxElements));
    }
  }

  void readRecord(std::string_view line)
  {
    next_ = line.data();
    end_ = next_ + line.size();
    column_ = 0;
    if (hasTimes_) {
      readTimes();
    } else {
      timestamps_.push_back(readNumber<std::uint32_t>());
    }
    const std::size_t first = recording_.samples.size();
    if (first + recording_.elements > maxSamples) {
      damagedRecording(path_, fmt::format("is too large: more than {} samples", maxSamples),
                       "Split it into several files, each with the first line.");
    }
    recording_.samples.resize(first + recording_.elements);
    for (std::size_t element = 0; element < recording_.elements; ++element) {
      nextCell();
      recording_.samples[first + element] = readNumber<std::uint16_t>();
    }
    if (next_ != end_) {
      damagedRecording(
          path_, fmt::format("is damaged in line {}: more than {} columns", lines_.number(), columnCount_));
    }
  }

  void readTimes()
  {
    RowTime& time = times_.emplace_back();
    time.timeMs = readTime();
    nextCell();
    time.arrivalMs = readTime();
    nextCell();
    time.pluginMs = readNumber<std::uint32_t>();
    for (std::size_t frame = 0; frame < frameColumns_; ++frame) {
      for (int cell = 0; cell < 2; ++cell) {
        nextCell();
        if (!isCellEmpty()) readNumber<std::int64_t>();
      }
      if (!hasSampled_) continue;
      nextCell();
      readTime();
    }
  }

  void nextCell()
  {
    ++column_;
    if (next_ == end_) {
      damagedRecording(path_, fmt::format("is damaged in line {}: {} columns instead of {}", lines_.number(),
                                          column_, columnCount_));
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

  std::filesystem::path path_;
  LineReader lines_;
  Recording recording_;
  bool hasTimes_ = false;  // otherwise only timestamps
  std::vector<RowTime> times_;
  std::vector<std::uint32_t> timestamps_;
  std::size_t frameColumns_ = 0;  // gloves
  bool hasSampled_ = false;
  std::size_t columnCount_ = 0;
  // Where the line is being read.
  const char* next_ = nullptr;
  const char* end_ = nullptr;
  std::size_t column_ = 0;
};

}  // namespace

Recording readCsv(const std::filesystem::path& path)
{
  return CsvReader(path).read();
}

#include "host/recording/CsvReader.h"

#include <fmt/core.h>

#include <algorithm>
#include <charconv>
#include <cstring>
#include <limits>
#include <optional>
#include <string_view>

#include "host/base/Text.h"
#include "host/recording/RecordingParts.h"

namespace {

constexpr std::size_t bufferSize = 1 << 20;
// The header line is the longest.
constexpr std::size_t maxLineLength = 1 << 19;

// Reads the lines of an untrusted file of any size in bounded memory.
class Lines {
 public:
  explicit Lines(const std::filesystem::path& path)
      : path_(path), file_(openRecording(path)), buffer_(bufferSize)
  {
  }

  // The next line without its newline, valid until the next call; empty if no complete line is left.
  std::optional<std::string_view> next()
  {
    for (;;) {
      const char* const start = buffer_.data() + begin_;
      const std::size_t size = end_ - begin_;
      const auto* newline = static_cast<const char*>(std::memchr(start, '\n', size));
      const std::size_t length = newline ? static_cast<std::size_t>(newline - start) : size;
      if (length > maxLineLength)
        damagedRecording(path_, fmt::format("has no newline in the first bytes of line {}", number_ + 1));
      if (newline) {
        begin_ += length + 1;
        ++number_;
        const bool endsWithReturn = length > 0 && start[length - 1] == '\r';
        return std::string_view(start, endsWithReturn ? length - 1 : length);
      }
      if (!fill()) return std::nullopt;
    }
  }

  // Of the line that next() returned, from 1.
  std::size_t number() const { return number_; }
  bool hasRest() const { return begin_ < end_; }

 private:
  bool fill()
  {
    std::copy(buffer_.data() + begin_, buffer_.data() + end_, buffer_.data());
    end_ -= begin_;
    begin_ = 0;
    file_.read(buffer_.data() + end_, static_cast<std::streamsize>(buffer_.size() - end_));
    if (file_.bad()) damagedRecording(path_, "can't be read completely", "Check the disk.");
    const auto got = static_cast<std::size_t>(file_.gcount());
    end_ += got;
    return got > 0;
  }

  std::filesystem::path path_;
  std::ifstream file_;
  std::vector<char> buffer_;
  std::size_t begin_ = 0;
  std::size_t end_ = 0;
  std::size_t number_ = 0;
};

class CsvReader {
 public:
  explicit CsvReader(const std::filesystem::path& path) : path_(path), lines_(path) {}

  Recording read()
  {
    const auto heading = lines_.next();
    if (!heading && !lines_.hasRest()) damagedRecording(path_, "is empty");
    if (!heading) damagedRecording(path_, "ends within its first line");
    readHeading(*heading);
    while (const auto line = lines_.next()) {
      readRecord(*line);
    }
    if (timestamps_.empty()) {
      damagedRecording(path_, "contains no records", "Record for longer, or wait until the gloves send.");
    }
    if (lines_.hasRest()) {
      recording_.notes.push_back(fmt::format("line {} is incomplete and was skipped", lines_.number() + 1));
    }
    setTimestamps(recording_, timestamps_);
    return std::move(recording_);
  }

 private:
  void readHeading(std::string_view line)
  {
    constexpr std::string_view time = "time_ms";
    const std::string_view first = line.substr(0, line.find(','));
    if (first != time) {
      damagedRecording(path_, fmt::format("is not a recording: line 1 begins with '{}' instead of '{}'",
                                          excerpt(first), time));
    }
    if (first == line) damagedRecording(path_, "has no elements in line 1");
    line.remove_prefix(time.size());
    while (!line.empty()) {
      line.remove_prefix(1);
      const std::string_view column = line.substr(0, line.find(','));
      addColumn(column);
      line.remove_prefix(column.size());
    }
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
    const char* next = line.data();
    const char* const end = next + line.size();
    timestamps_.push_back(readNumber<std::uint32_t>(next, end, 0));
    const std::size_t first = recording_.samples.size();
    if (first + recording_.elements > maxSamples) {
      damagedRecording(path_, fmt::format("is too large: more than {} samples", maxSamples),
                       "Split it into several files, each with the first line.");
    }
    recording_.samples.resize(first + recording_.elements);
    for (std::size_t element = 0; element < recording_.elements; ++element) {
      if (next == end) {
        damagedRecording(path_, fmt::format("is damaged in line {}: {} columns instead of {}",
                                            lines_.number(), element + 1, recording_.elements + 1));
      }
      recording_.samples[first + element] = readNumber<std::uint16_t>(++next, end, element + 1);
    }
    if (next != end) {
      damagedRecording(path_, fmt::format("is damaged in line {}: more than {} columns", lines_.number(),
                                          recording_.elements + 1));
    }
  }

  // Moves `next` to the separator after the number, or to the end.
  template <class Number>
  Number readNumber(const char*& next, const char* end, std::size_t column) const
  {
    Number number{};
    const auto [stop, error] = std::from_chars(next, end, number);
    if (error != std::errc{} || (stop != end && *stop != ',')) {
      const std::string_view rest(next, static_cast<std::size_t>(end - next));
      damagedRecording(path_,
                       fmt::format("is damaged in line {}, column {}: '{}' is not a number from 0 to {}",
                                   lines_.number(), column + 1, excerpt(rest.substr(0, rest.find(','))),
                                   std::numeric_limits<Number>::max()));
    }
    next = stop;
    return number;
  }

  std::filesystem::path path_;
  Lines lines_;
  Recording recording_;
  std::vector<std::uint32_t> timestamps_;
};

}  // namespace

Recording readCsv(const std::filesystem::path& path)
{
  return CsvReader(path).read();
}

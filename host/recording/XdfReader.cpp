#include "host/recording/XdfReader.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <map>
#include <utility>

#include "host/base/Failure.h"
#include "host/base/Text.h"
#include "host/base/Xml.h"
#include "host/recording/EventText.h"
#include "host/recording/MetadataReader.h"
#include "host/recording/RecordingParts.h"
#include "host/recording/StreamDescription.h"
#include "host/recording/XdfInput.h"
#include "host/recording/XdfNumbers.h"

namespace {

constexpr std::size_t maxEvents = 10'000;
constexpr std::size_t maxStreams = 1000;
// Where the names of another program's streams are looked for.
constexpr std::size_t maxForeignChunks = 10'000;
constexpr std::size_t maxShownNames = 8;
// Each costs reading up to a chunk of the largest size.
constexpr std::size_t maxDamages = 1000;
// Further numbers are not exact as float64.
constexpr double maxCount = 9'007'199'254'740'992.0;

// NaN if unknown.
double takeTime(XdfNumbers& numbers)
{
  const auto ms = numbers.take<double>();
  numbers.expect(isUsableTime(ms));
  return ms;
}

// -1 if unknown.
std::int64_t takeCount(XdfNumbers& numbers)
{
  const auto count = numbers.take<double>();
  numbers.expect(count >= -1 && count < maxCount && count == std::floor(count));
  return numbers.isGood() ? static_cast<std::int64_t>(count) : -1;
}

struct StreamHeader {
  std::uint32_t id = 0;
  std::string name;
  std::optional<std::string> metadata;
};

StreamHeader headerOf(std::string_view content)
{
  XdfNumbers numbers(content);
  const auto id = numbers.take<std::uint32_t>();
  return {id, xmlElement(numbers.rest(), "name").value_or(""), xmlElement(numbers.rest(), "metadata")};
}

[[noreturn]] void refuse(const std::filesystem::path& path, const std::vector<StreamHeader>& headers)
{
  const auto isOwn = [](const StreamHeader& header) { return header.name.starts_with("Tessel "); };
  if (std::ranges::any_of(headers, isOwn)) {
    damagedRecording(path, "ends or is damaged within the descriptions of its streams");
  }
  std::vector<std::string> names;
  for (const StreamHeader& header : headers) {
    if (names.size() < maxShownNames) names.push_back(fmt::format("'{}'", excerpt(header.name)));
  }
  damagedRecording(
      path,
      names.empty() ? "is an XDF file without streams"
                    : fmt::format("is an XDF file of another program, with {} stream(s): {}", headers.size(),
                                  fmt::join(names, ", ")),
      "Open it with a program that reads any XDF file; `tessel` reads those of `tessel record`.");
}

class XdfReader final : public RecordReader {
 public:
  explicit XdfReader(const std::filesystem::path& file) : input_(file) { readHeaders(); }

  const RecordingMetadata& metadata() const override { return metadata_; }
  std::optional<Record> next() override;
  std::vector<RecordingEvent> events() override;
  const std::vector<std::string>& notes() const override { return notes_; }
  bool isComplete() const override { return hasFooter_; }
  double progress() const override;

 private:
  enum class Content { elements, timing, events };
  struct Stream {
    Content content;
    std::size_t group = 0;  // of elements
  };

  void readHeaders();
  void addStreams(const std::vector<StreamHeader>& headers);
  bool readChunk(const XdfInput::Chunk& chunk);
  bool readSample(XdfNumbers sample);
  bool readElements(XdfNumbers sample, std::size_t group);
  bool readTiming(XdfNumbers sample);
  bool readEvent(XdfNumbers sample, double seconds);
  void readFooter(std::string_view content);
  void skipDamage();
  void end();

  XdfInput input_;
  RecordingMetadata metadata_;
  std::map<std::uint32_t, Stream> streams_;
  std::vector<GloveFrame> frames_;
  std::vector<std::uint16_t> elements_;
  std::vector<bool> hasGroup_;  // the elements of the record that is being read
  std::optional<Record> record_;
  std::uint64_t records_ = 0;
  std::uint64_t incompleteRecords_ = 0;
  std::vector<RecordingEvent> events_;
  std::uint64_t skippedEvents_ = 0;
  std::uint64_t damages_ = 0;
  std::uint64_t damagedBytes_ = 0;
  std::optional<std::uint64_t> expected_;  // records, if it is complete
  bool hasFooter_ = false;
  bool hasEnded_ = false;
  std::vector<std::string> notes_;
};

void XdfReader::readHeaders()
{
  std::vector<StreamHeader> headers;
  bool isOwn = false;
  for (std::size_t chunks = 0; chunks < maxForeignChunks && headers.size() < maxStreams; ++chunks) {
    const auto chunk = input_.next();
    if (!chunk) break;
    if (chunk->tag == xdf::Tag::streamHeader) {
      headers.push_back(headerOf(chunk->content));
      isOwn = isOwn || headers.back().name == timingStreamName;
    } else if (isOwn && chunk->tag != xdf::Tag::fileHeader) {
      input_.back();
      break;
    }
  }
  if (headers.empty() && input_.isAtEnd()) emptyRecording(input_.path());
  const auto timing = std::ranges::find(headers, timingStreamName, &StreamHeader::name);
  if (timing == headers.end()) refuse(input_.path(), headers);
  if (!timing->metadata) damagedRecording(input_.path(), "is damaged: it lacks its metadata");
  auto read = readMetadata(*timing->metadata, input_.path());
  metadata_ = std::move(read.metadata);
  notes_ = std::move(read.notes);
  addStreams(headers);
}

void XdfReader::addStreams(const std::vector<StreamHeader>& headers)
{
  const auto add = [&](const std::string& name, const Stream& stream) {
    const auto header = std::ranges::find(headers, name, &StreamHeader::name);
    if (header == headers.end() || !streams_.emplace(header->id, stream).second) {
      damagedRecording(input_.path(), fmt::format("is damaged: it lacks the stream '{}'", excerpt(name)));
    }
  };
  const auto& groups = metadata_.layout.groups;
  for (std::size_t group = 0; group < groups.size(); ++group) {
    add(elementStreamName(groups[group]), {Content::elements, group});
  }
  add(timingStreamName, {Content::timing});
  add(eventStreamName, {Content::events});
  frames_.resize(static_cast<std::size_t>(std::ranges::count_if(groups, &ElementGroup::isGlove)));
  elements_.resize(metadata_.layout.elements);
  hasGroup_.resize(groups.size());
}

std::optional<Record> XdfReader::next()
{
  record_.reset();
  while (!record_ && !hasEnded_) {
    const auto chunk = input_.next();
    if (chunk ? !readChunk(*chunk) : !input_.isAtEnd()) {
      skipDamage();
    } else if (!chunk) {
      end();
    }
  }
  return record_;
}

// False if it is damaged.
bool XdfReader::readChunk(const XdfInput::Chunk& chunk)
{
  switch (chunk.tag) {
    case xdf::Tag::samples:
      return readSample(XdfNumbers(chunk.content));
    case xdf::Tag::streamFooter:
      readFooter(chunk.content);
      return true;
    case xdf::Tag::boundary:
    case xdf::Tag::clockOffset:
      return true;
    case xdf::Tag::fileHeader:
    case xdf::Tag::streamHeader:
      break;
  }
  return false;
}

bool XdfReader::readSample(XdfNumbers sample)
{
  const auto stream = streams_.find(sample.take<std::uint32_t>());
  sample.expect(sample.takeLength() == 1);
  sample.expect(sample.take<char>() == xdf::hasTimestamp);
  const auto seconds = sample.take<double>();
  if (!sample.isGood() || stream == streams_.end()) return false;
  switch (stream->second.content) {
    case Content::elements:
      return readElements(sample, stream->second.group);
    case Content::timing:
      return readTiming(sample);
    case Content::events:
      return readEvent(sample, seconds);
  }
  return false;
}

bool XdfReader::readElements(XdfNumbers sample, std::size_t group)
{
  const ElementGroup& place = metadata_.layout.groups[group];
  for (std::uint16_t& element : std::span(elements_).subspan(place.first, place.count)) {
    const auto value = sample.take<std::int32_t>();
    sample.expect(std::in_range<std::uint16_t>(value));
    element = static_cast<std::uint16_t>(value);
  }
  hasGroup_[group] = sample.isGood() && sample.rest().empty();
  return hasGroup_[group];
}

// Completes the record.
bool XdfReader::readTiming(XdfNumbers sample)
{
  Record record{.frames = frames_, .elements = elements_};
  record.timeMs = takeTime(sample);
  record.arrivalMs = takeTime(sample);
  const std::int64_t pluginMs = takeCount(sample);
  sample.expect(std::in_range<std::uint32_t>(pluginMs));
  record.pluginMs = static_cast<std::uint32_t>(pluginMs);
  for (GloveFrame& frame : frames_) {
    frame.number = takeCount(sample);
    frame.ticks = takeCount(sample);
    frame.sampledMs = takeTime(sample);
  }
  if (!sample.isGood() || !sample.rest().empty()) return false;
  if (std::ranges::find(hasGroup_, false) == hasGroup_.end()) {
    record_ = record;
    ++records_;
  } else {
    ++incompleteRecords_;
  }
  hasGroup_.assign(hasGroup_.size(), false);
  return true;
}

bool XdfReader::readEvent(XdfNumbers sample, double seconds)
{
  const std::uint64_t length = sample.takeLength();
  if (!sample.isGood() || sample.rest().size() != length) return false;
  const double zero =
      std::chrono::duration<double>(metadata_.zero.value_or(std::chrono::nanoseconds(0))).count();
  auto event = parseEventText(sample.rest());
  // Seconds since the computer was started are exact to less than this fraction of a ms.
  constexpr double fractions = 1e4;
  const double ms = std::round((seconds - zero) * 1000 * fractions) / fractions;
  if (!event || !std::isfinite(ms) || !isUsableTime(ms)) return false;
  event->timeMs = ms;
  if (events_.size() < maxEvents) {
    events_.push_back(std::move(*event));
  } else {
    ++skippedEvents_;
  }
  return true;
}

// That of the timing stream has the metadata as they are in the end.
void XdfReader::readFooter(std::string_view content)
{
  const auto text = xmlElement(content, "metadata");
  if (!text) return;
  try {
    auto read = readMetadata(*text, input_.path());
    // The records were read by the first one.
    read.metadata.layout = std::move(metadata_.layout);
    metadata_ = std::move(read.metadata);
    expected_ = read.records;
    hasFooter_ = read.isComplete;
  } catch (const Failure&) {
    notes_.emplace_back("the description at its end is damaged and was not read");
  }
}

void XdfReader::skipDamage()
{
  if (++damages_ > maxDamages) {
    damagedRecording(input_.path(), fmt::format("is damaged at more than {} places", maxDamages));
  }
  const std::uint64_t begin = input_.begin();
  hasGroup_.assign(hasGroup_.size(), false);
  if (input_.skipToBoundary()) {
    damagedBytes_ += input_.position() - begin;
  } else {
    notes_.push_back(fmt::format("its last {} bytes are incomplete or damaged and were skipped",
                                 input_.position() - begin));
    --damages_;
    end();
  }
}

void XdfReader::end()
{
  hasEnded_ = true;
  const auto note = [this](std::uint64_t count, const std::string& text) {
    if (count > 0) notes_.push_back(text);
  };
  note(damages_,
       fmt::format("it is damaged at {} place(s); {} bytes there were skipped", damages_, damagedBytes_));
  note(incompleteRecords_, fmt::format("{} incomplete record(s) were skipped", incompleteRecords_));
  note(skippedEvents_, fmt::format("only its first {} events are used", maxEvents));
  if (!hasFooter_) {
    notes_.emplace_back(incompleteNote);
  } else if (expected_ && *expected_ > records_) {
    notes_.push_back(fmt::format("{} of its {} records are missing", *expected_ - records_, *expected_));
  }
}

std::vector<RecordingEvent> XdfReader::events()
{
  std::ranges::stable_sort(events_, {}, &RecordingEvent::timeMs);
  return std::exchange(events_, {});
}

double XdfReader::progress() const
{
  if (input_.size() == 0) return 1;
  return std::min(1.0, static_cast<double>(input_.position()) / static_cast<double>(input_.size()));
}

}  // namespace

std::unique_ptr<RecordReader> openXdf(const std::filesystem::path& file)
{
  return std::make_unique<XdfReader>(file);
}

bool isXdf(const std::filesystem::path& file)
{
  std::ifstream input = openInput(file);
  std::array<char, xdf::magic.size()> start{};
  input.read(start.data(), start.size());
  return input.gcount() == start.size() && std::string_view(start.data(), start.size()) == xdf::magic;
}

#include "host/recording/XdfWriter.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <utility>

#include "host/recording/EventText.h"
#include "host/recording/XdfChunk.h"

namespace {

// Seconds of the recording.
constexpr double offsetInterval = 5;
constexpr double boundaryInterval = 10;

std::string synchronizationOf(const RecordingMetadata& metadata, std::string_view timestamps)
{
  return fmt::format(
      "timestamps are {} in seconds of the monotonic clock of the computer that recorded; sampling times are "
      "exact but for a constant delay ({})",
      timestamps, metadata.time.method);
}

std::uint32_t idAfter(const RecordingMetadata& metadata, std::uint32_t number)
{
  return static_cast<std::uint32_t>(metadata.layout.groups.size()) + number;
}

DescriptionNode metadataNode(const RecordingMetadata& metadata, std::uint64_t events, bool isComplete)
{
  const auto json = metadataJson(metadata, events, isComplete);
  return {.name = "metadata",
          .value = json.dump(-1, ' ', true, nlohmann::ordered_json::error_handler_t::replace)};
}

}  // namespace

XdfWriter::XdfWriter(const std::filesystem::path& file, const RecordingMetadata& metadata)
    : file_(file),
      metadata_(metadata),
      timing_(idAfter(metadata, 1), "double64",
              timingStream(metadata, synchronizationOf(metadata, "when the record was sampled"))),
      events_(idAfter(metadata, 2), "string",
              eventStream(metadata, synchronizationOf(metadata, "when the event happened")))
{
  std::size_t gloves = 0;
  for (const ElementGroup& group : metadata.layout.groups) {
    const auto id = static_cast<std::uint32_t>(parts_.size() + 1);
    parts_.push_back(
        {.group = group,
         .glove = group.isGlove() ? std::optional(gloves++) : std::nullopt,
         .stream = {
             id, "int32",
             elementStream(group, metadata,
                           synchronizationOf(metadata, group.isGlove() ? "when the glove sampled the elements"
                                                                       : "when the record was sampled"))}});
  }
  bytes_ = xdf::magic;
  xdf::appendChunk(bytes_, xdf::Tag::fileHeader,
                   "<?xml version=\"1.0\"?><info><version>1.0</version></info>");
  file_.append(bytes_);
}

double XdfWriter::secondsOf(double ms) const
{
  return std::chrono::duration<double>(zero_).count() + ms / 1000;
}

void XdfWriter::begin(std::chrono::nanoseconds zero)
{
  zero_ = zero;
  if (!metadata_.started) started_ = wallClockAt(zero);
  writeHeaders();
}

// With the start of the recording, which the session may not have noted yet.
RecordingMetadata XdfWriter::knownMetadata() const
{
  RecordingMetadata known = metadata_;
  if (known.started || !started_) return known;
  known.started = started_;
  known.zero = zero_;
  return known;
}

void XdfWriter::writeHeaders()
{
  hasBegun_ = true;
  timing_.describe({.name = "tessel", .children = {metadataNode(knownMetadata(), 0, false)}});
  const double now = secondsOf(0);
  bytes_.clear();
  for (const Part& part : parts_) {
    part.stream.appendHeader(bytes_, now);
  }
  timing_.appendHeader(bytes_, now);
  events_.appendHeader(bytes_, now);
  nextOffset_ = nextBoundary_ = now;
  file_.append(bytes_);
  for (const RecordingEvent& event : std::exchange(waiting_, {})) {
    writeEvent(event);
  }
}

// A recording of unknown start, of an earlier version, has no beginning.
void XdfWriter::ensureHeaders()
{
  if (hasBegun_) return;
  zero_ = metadata_.zero.value_or(std::chrono::nanoseconds(0));
  writeHeaders();
}

void XdfWriter::add(const Record& record)
{
  ensureHeaders();
  const double seconds = secondsOf(times_.next(record));
  bytes_.clear();
  appendIntervals(seconds);
  for (auto& [group, glove, stream, times] : parts_) {
    Record own = record;
    if (glove && !std::isnan(record.frames[*glove].sampledMs)) own.timeMs = record.frames[*glove].sampledMs;
    values_.clear();
    for (const std::uint16_t element : record.elements.subspan(group.first, group.count)) {
      xdf::append(values_, std::int32_t{element});
    }
    stream.appendSample(bytes_, secondsOf(times.next(own)), values_);
  }
  // Last, since it completes the record for the reader.
  appendTiming(record, seconds);
  file_.append(bytes_);
}

void XdfWriter::appendIntervals(double seconds)
{
  if (seconds >= nextBoundary_) {
    xdf::appendChunk(bytes_, xdf::Tag::boundary, xdf::boundary);
    nextBoundary_ = seconds + boundaryInterval;
  }
  if (seconds < nextOffset_) return;
  nextOffset_ = seconds + offsetInterval;
  for (Part& part : parts_) {
    part.stream.appendClockOffset(bytes_, seconds);
  }
  timing_.appendClockOffset(bytes_, seconds);
  events_.appendClockOffset(bytes_, seconds);
}

void XdfWriter::appendTiming(const Record& record, double seconds)
{
  values_.clear();
  xdf::append(values_, record.timeMs);
  xdf::append(values_, record.arrivalMs);
  xdf::append(values_, static_cast<double>(record.pluginMs));
  for (const GloveFrame& frame : record.frames) {
    xdf::append(values_, static_cast<double>(frame.number));
    xdf::append(values_, static_cast<double>(frame.ticks));
    xdf::append(values_, frame.sampledMs);
  }
  timing_.appendSample(bytes_, seconds, values_);
}

void XdfWriter::addEvent(const RecordingEvent& event)
{
  if (hasBegun_) {
    writeEvent(event);
  } else {
    waiting_.push_back(event);
  }
}

void XdfWriter::writeEvent(const RecordingEvent& event)
{
  const std::string text = eventText(event);
  values_.clear();
  xdf::appendLength(values_, text.size());
  values_ += text;
  bytes_.clear();
  events_.appendSample(bytes_, secondsOf(std::isfinite(event.timeMs) ? event.timeMs : 0), values_);
  file_.append(bytes_);
}

void XdfWriter::close(bool isComplete)
{
  ensureHeaders();
  bytes_.clear();
  // What follows is found even if the last records are damaged.
  xdf::appendChunk(bytes_, xdf::Tag::boundary, xdf::boundary);
  for (const Part& part : parts_) {
    std::vector<DescriptionNode> more;
    if (metadata_.books.is_object() && metadata_.books.contains(part.group.label)) {
      more.push_back({.name = "books", .children = nodesOf(metadata_.books[part.group.label])});
    }
    part.stream.appendFooter(bytes_, std::move(more));
  }
  events_.appendFooter(bytes_, {});
  // Last, so that a file with it has all.
  timing_.appendFooter(bytes_, {metadataNode(knownMetadata(), events_.samples(), isComplete)});
  file_.append(bytes_);
  file_.close();
}

#include "host/recording/Recording.h"

#include <fmt/core.h>

#include <cmath>

#include "host/recording/RecordReader.h"
#include "host/recording/RecordTimes.h"
#include "host/recording/RecordingParts.h"

namespace {

constexpr std::size_t maxSamples = std::size_t{1} << 29;  // 15 hours of two gloves

}  // namespace

void Recording::add(double ms, std::span<const std::uint16_t> record)
{
  if (seconds.empty()) zeroMs = ms;
  seconds.push_back((ms - zeroMs) / 1000);
  gaps.add(static_cast<std::uint32_t>(std::llround(ms - zeroMs)));
  samples.insert(samples.end(), record.begin(), record.end());
}

Recording readRecording(const std::filesystem::path& path)
{
  const auto reader = openRecording(path);
  Recording recording;
  RecordTimes times;
  while (const auto record = reader->next()) {
    if (recording.samples.size() + record->elements.size() > maxSamples) {
      damagedRecording(path, fmt::format("is too large: more than {} samples", maxSamples),
                       "`tessel convert` with --from and --to makes a part of it.");
    }
    recording.add(times.next(*record), record->elements);
  }
  if (recording.records() == 0) emptyRecording(path);
  const RecordingMetadata& metadata = reader->metadata();
  recording.groups = metadata.layout.groups;
  recording.elements = metadata.layout.elements;
  recording.started = metadata.startedLocal;
  for (RecordingEvent& event : reader->events()) {
    if (std::isnan(event.timeMs)) continue;  // before the first record
    recording.events.push_back({(event.timeMs - recording.zeroMs) / 1000, std::move(event.event),
                                std::move(event.glove), std::move(event.detail)});
  }
  recording.notes = reader->notes();
  if (times.backwardSteps() > 0) {
    recording.notes.push_back(
        fmt::format("{} timestamp(s) step back; each is drawn at the time of the previous record",
                    times.backwardSteps()));
  }
  return recording;
}

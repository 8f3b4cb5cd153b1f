// A recording of any format, as its files: it is refused in words, or its records have all elements and times
// that do not decrease where they are used; and converted to any format, it has the same records again.
//
//   the format to convert to (a byte), then for each file its name in a line, its content, and a line "@@"

#include <cmath>

#include "fuzz/Fuzz.h"
#include "host/base/Failure.h"
#include "host/recording/Conversion.h"
#include "host/recording/EventText.h"
#include "host/recording/RecordReader.h"
#include "host/recording/Recording.h"

namespace fs = std::filesystem;
using fuzz::require;

namespace {

constexpr std::string_view names[] = {
    "run.csv",        "run.json",       "run.events.csv", "run.xdf",         "meta.json",
    "events.csv",     "samples.npy",    "stamps.npy",     "time.npy",        "arrival.npy",
    "left_frame.npy", "left_ticks.npy", "left_ms.npy",    "right_frame.npy", "right_ticks.npy",
};

const fs::path& folder()
{
  static const fs::path path = fuzz::scratchFolder() / "recording";
  return path;
}

// Returns what to open.
fs::path writeFiles(fuzz::Input& input)
{
  std::error_code ignored;
  fs::remove_all(folder(), ignored);
  fs::create_directories(folder());
  fs::path recording = folder();
  while (!input.atEnd()) {
    const std::string_view name = input.part("\n");
    const std::string_view content = input.part("\n@@\n");
    if (std::ranges::find(names, name) == std::end(names)) continue;
    fuzz::writeFile("recording/" + std::string(name), content);
    if (name == "run.csv" || name == "run.xdf") recording = folder() / name;
  }
  return recording;
}

struct Content {
  std::vector<std::vector<std::uint16_t>> elements;
  std::vector<std::uint32_t> pluginMs;

  friend bool operator==(const Content&, const Content&) = default;
};

Content read(const fs::path& recording)
{
  const auto reader = openRecording(recording);
  const Layout& layout = reader->metadata().layout;
  std::size_t elements = 0;
  for (const ElementGroup& group : layout.groups) {
    require(group.first == elements, "groups of elements follow each other");
    elements += group.count;
  }
  require(elements == layout.elements, "each element is in a group");
  Content content;
  while (const auto record = reader->next()) {
    require(record->elements.size() == layout.elements, "a record has all elements");
    require(!(std::abs(record->timeMs) > 1e15) && !(std::abs(record->arrivalMs) > 1e15), "a time is a time");
    content.elements.emplace_back(record->elements.begin(), record->elements.end());
    content.pluginMs.push_back(record->pluginMs);
    require(reader->progress() >= 0 && reader->progress() <= 1, "progress is a part");
  }
  for (const RecordingEvent& event : reader->events()) {
    require(fuzz::isOneLine(eventText(event)), "an event is a printable line");
  }
  return content;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
  fuzz::Input input(data, size);
  static constexpr std::variant<RecordFormat, TableKind> formats[] = {
      RecordFormat::csv, RecordFormat::npy, RecordFormat::xdf, TableKind::tidy, TableKind::regions};
  const auto format = input.oneOf(formats);
  const fs::path recording = writeFiles(input);
  const fs::path converted = fuzz::scratchFolder() / "converted";
  std::optional<Content> content;
  try {
    content = read(recording);
    const Recording whole = readRecording(recording);
    require(whole.records() == content->elements.size(), "it has as many records for the picture");
    require(std::ranges::is_sorted(whole.seconds), "times never decrease");
    const ConversionResult result =
        convert({.from = recording, .to = converted, .format = format, .replaces = true});
    require(result.records == content->elements.size(), "all records are converted");
    if (std::holds_alternative<RecordFormat>(format)) {
      require(read(converted) == *content, "the records are the same in another format");
    }
  } catch (const Failure& failure) {
    require(failure.what()[0] != '\0', "a refusal has its reason");
  }
  std::error_code ignored;
  fs::remove_all(converted, ignored);
  return 0;
}

#include "host/recording/Conversion.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <system_error>
#include <utility>

#include "host/base/Failure.h"
#include "host/base/PartFile.h"
#include "host/base/Text.h"
#include "host/base/Version.h"
#include "host/recording/Names.h"
#include "host/recording/RecordReader.h"
#include "host/recording/RecordTimes.h"
#include "host/recording/RecordingFiles.h"
#include "host/recording/RecordingParts.h"
#include "host/recording/RegionChoice.h"

namespace fs = std::filesystem;

namespace {

// In place of "." and the like.
fs::path nameOf(const fs::path& recording)
{
  std::error_code unknown;
  const fs::path name = fs::weakly_canonical(recording, unknown).filename();
  return unknown ? recording.filename() : name;
}

bool isSame(const fs::path& one, const fs::path& other)
{
  std::error_code error;
  if (fs::equivalent(one, other, error)) return true;
  // One of them may not exist.
  return fs::weakly_canonical(one, error) == fs::weakly_canonical(other, error);
}

// Before any name is reserved, because that could already replace a file of the recording.
void checkOutput(const fs::path& input, const std::vector<fs::path>& outputs)
{
  const std::array inputs{input, existingCompanionOf(input, names::metadataSuffix),
                          existingCompanionOf(input, names::eventsSuffix)};
  for (const fs::path& output : outputs) {
    if (isStandardOutput(output)) continue;
    for (const fs::path& each : inputs) {
      if (!isSame(each, output)) continue;
      throw Failure(ExitCode::output,
                    fmt::format("{} belongs to the recording that is converted.", utf8(output)),
                    "Choose another name.");
    }
  }
}

// Their names become parts of columns and of the names of files.
void checkLabels(const Layout& layout)
{
  for (const ElementGroup& group : layout.groups) {
    if (isPlainLabel(group.label)) continue;
    throw Failure(ExitCode::recording,
                  fmt::format("a group of elements has the name '{}', which other formats can't have.",
                              excerpt(group.label)),
                  "Rename it with letters and digits in the recording.");
  }
}

bool isRounded(double ms)
{
  return std::isnan(ms) || std::round(ms * 100) / 100 == ms;
}

// As CSV keeps them.
bool areTimesRounded(const Record& record)
{
  return isRounded(record.timeMs) && isRounded(record.arrivalMs) &&
         std::ranges::all_of(record.frames, isRounded, &GloveFrame::sampledMs);
}

class Converter {
 public:
  explicit Converter(const Conversion& conversion)
      : conversion_(conversion),
        reader_(openRecording(conversion.from)),
        choice_(layoutOf(*reader_, conversion), conversion.regions)
  {
    checkLabels(choice_.layout());
  }

  ConversionResult run()
  {
    if (const auto* const kind = std::get_if<TableKind>(&conversion_.format)) {
      writeTable(*kind);
    } else {
      writeRecording(std::get<RecordFormat>(conversion_.format));
    }
    return std::move(result_);
  }

 private:
  static Layout layoutOf(const RecordReader& reader, const Conversion& conversion)
  {
    Layout layout = reader.metadata().layout;
    if (conversion.hands) conversion.hands->describe(layout);
    return layout;
  }

  void writeTable(TableKind kind)
  {
    if (kind == TableKind::regions) requireRegions(choice_.layout(), "a table of regions");
    const auto [wanted, growing] = PartFile::namesOf(conversion_.to, PartFile::Kind::file);
    checkOutput(conversion_.from, {wanted, growing});
    PartFile output(conversion_.to, PartFile::Kind::file, conversion_.replaces);
    const auto table = makeRecordTable(kind, output.growing(), choice_.layout());
    copyRecords(*table, true);
    table->close();
    output.settle();
    result_.notes = reader_->notes();
    result_.lost = "a table has no frame numbers, clocks, arrival times, events or metadata";
  }

  void writeRecording(RecordFormat format)
  {
    const OutputName output{conversion_.to, format};
    checkOutput(conversion_.from, RecordingFiles::namesOf(output));
    RecordingFiles files(output, conversion_.replaces);
    try {
      RecordWriter& writer = files.begin(metadata());
      if (const auto& zero = files.metadata().zero) writer.begin(*zero);
      copyRecords(writer, false);
      for (const RecordingEvent& event : reader_->events()) {
        if (!isEventKept(event)) continue;
        hasTimelessEvents_ = hasTimelessEvents_ || std::isnan(event.timeMs);
        files.addEvent(event);
      }
      result_.notes = reader_->notes();
      // Now it is known to the end. The writer refers to the layout.
      RecordingMetadata known = metadata();
      noteLosses(format, known, files.hasPlace());
      known.layout = std::move(files.metadata().layout);
      files.metadata() = std::move(known);
      files.complete();
    } catch (...) {
      files.discard();
      throw;
    }
  }

  void copyRecords(RecordSink& sink, bool estimatesTimes)
  {
    RecordTimes times;
    double firstMs = 0;
    double lastMs = 0;
    std::uint64_t records = 0;
    while (auto record = reader_->next()) {
      lastMs = times.next(*record);
      if (++records == 1) firstMs = lastMs;
      conversion_.onProgress(reader_->progress());
      if (!isKept(lastMs)) continue;
      areTimesRounded_ = areTimesRounded_ && areTimesRounded(*record);
      if (estimatesTimes) record->timeMs = lastMs;
      record->elements = choice_.keep(record->elements);
      sink.add(*record);
      ++result_.records;
    }
    if (records == 0) emptyRecording(conversion_.from);
    if (result_.records == 0) {
      throw Failure(ExitCode::usage, "there are no records between --from and --to.",
                    fmt::format("The recording's times go from {:.3f} to {:.3f} seconds.", firstMs / 1000,
                                lastMs / 1000));
    }
  }

  bool isKept(double ms) const
  {
    return ms >= conversion_.fromSeconds * 1000 && ms < conversion_.toSeconds * 1000;
  }

  // Without a time it is before the first record.
  bool isEventKept(const RecordingEvent& event) const
  {
    return std::isnan(event.timeMs) ? std::isinf(conversion_.fromSeconds) : isKept(event.timeMs);
  }

  RecordingMetadata metadata() const
  {
    RecordingMetadata metadata = reader_->metadata();
    metadata.layout = choice_.layout();
    metadata.records = result_.records;
    if (!conversion_.regions.empty()) {
      metadata.hands = handLayoutJson(metadata.layout);
    } else if (conversion_.hands) {
      metadata.hands = conversion_.hands->json();
    } else if (metadata.hands.is_null()) {
      metadata.hands = handLayoutJson(metadata.layout);
    }
    metadata.converted = {{"from", utf8(nameOf(conversion_.from))}, {"program", programVersion}};
    if (std::isfinite(conversion_.fromSeconds)) metadata.converted["fromSeconds"] = conversion_.fromSeconds;
    if (std::isfinite(conversion_.toSeconds)) metadata.converted["toSeconds"] = conversion_.toSeconds;
    if (!conversion_.regions.empty()) metadata.converted["regions"] = conversion_.regions;
    if (!result_.notes.empty()) metadata.converted["notes"] = result_.notes;
    return metadata;
  }

  void noteLosses(RecordFormat format, const RecordingMetadata& known, bool hasPlace)
  {
    const bool isCsv = format == RecordFormat::csv;
    const bool areRegionsKnown =
        std::ranges::any_of(known.layout.groups, &Hand::isKnown, &ElementGroup::hand);
    std::vector<const char*> losses;
    if (isCsv && !areTimesRounded_) losses.push_back("CSV rounds times to 0.01 ms");
    // The columns of CSV name them.
    if (!isCsv && areRegionsKnown && known.hands.is_null())
      losses.push_back("no layout describes the regions of gloves that have different numbers of elements");
    if (isCsv && !hasPlace) losses.push_back("a stream has neither metadata nor events");
    if (format == RecordFormat::xdf && hasTimelessEvents_)
      losses.push_back("XDF has no events without a time; they get the time 0");
    result_.lost = fmt::to_string(fmt::join(losses, "; "));
  }

  const Conversion& conversion_;
  const std::unique_ptr<RecordReader> reader_;
  RegionChoice choice_;
  ConversionResult result_;
  bool areTimesRounded_ = true;  // as CSV has them
  bool hasTimelessEvents_ = false;
};

}  // namespace

ConversionResult convert(const Conversion& conversion)
{
  return Converter(conversion).run();
}

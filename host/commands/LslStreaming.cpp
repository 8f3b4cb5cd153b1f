#include "host/commands/LslStreaming.h"

#include <fmt/format.h>

#include <utility>

#include "host/base/Console.h"
#include "host/base/Failure.h"
#include "host/commands/CommandLine.h"

namespace {

std::string synchronizationOf(const RecordingMetadata& metadata, std::string_view timestamps)
{
  return fmt::format(
      "timestamps are {} on the LSL clock of the computer that sends; sampling times are exact but for a "
      "constant delay ({}); lost frames leave gaps",
      timestamps, metadata.time.method);
}

}  // namespace

void addLslOptions(CLI::App& command, LslOptions& options)
{
  using namespace command_line;
  addText(
      command, "--lsl-markers", "NAME", [&options](const std::string& name) { options.markers = name; },
      "Take the markers of the LSL stream of this name, whenever it is there");
  addPath(command, "--lsl-library", "FILE", options.library,
          "LSL library (liblsl) to load instead of the one next to this program or of the system")
      .completeFiles({"so", "dll"});
}

LslStreaming::LslStreaming(const LslOptions& options) : options_(options)
{
  if (options.areUsed()) {
    library_ = lsl::load(options.library);
  } else if (!options.library.empty()) {
    throw Failure(ExitCode::usage, "--lsl-library has no effect without --lsl or --lsl-markers.",
                  "Add one of them, or omit --lsl-library.");
  }
}

void LslStreaming::begin(const RecordingMetadata& metadata, MarkerQueue& markers)
{
  StreamDescription events = eventStream(metadata, synchronizationOf(metadata, "when the event happened"));
  if (!options_.markers.empty()) {
    markers_.emplace(*library_, options_.markers, std::vector<std::string>{events.sourceId},
                     [&markers](LslMarkers::Time time, std::string_view text) { markers.add(time, text); });
  }
  if (options_.offersStreams) offer(metadata, std::move(events));
}

void LslStreaming::offer(const RecordingMetadata& metadata, StreamDescription events)
{
  std::vector<StreamDescription> groups;
  std::string text;
  for (const ElementGroup& group : metadata.layout.groups) {
    const StreamDescription& stream = groups.emplace_back(
        elementStream(group, metadata, synchronizationOf(metadata, "when the elements were sampled")));
    text += fmt::format("  {}, type {}, {} channels, source {}\n", stream.name, stream.type, stream.channels,
                        printable(stream.sourceId));
  }
  text += fmt::format("  {}, type {}, source {}\n", events.name, events.type, printable(events.sourceId));
  network_.emplace(*library_);
  sink_.emplace(*network_, metadata.layout, std::move(groups), std::move(events));
  console::report("LSL streams of this computer:\n");
  console::reportLines(text);
}

void LslStreaming::endMarkers()
{
  if (!markers_) return;
  wereMarkersFound_ = markers_->wasFound();
  markers_.reset();
}

void LslStreaming::end()
{
  if (!wereMarkersFound_) {
    console::report("No LSL stream {} appeared, so there are no markers of it.\n", options_.markers);
  }
  if (!sink_) return;
  sink_->close();
  if (sink_->dropped() > 0) {
    console::report("{} records and events were not streamed: LSL was too slow.\n", sink_->dropped());
  }
}

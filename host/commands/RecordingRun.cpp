#include "host/commands/RecordingRun.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <optional>

#include "host/base/Console.h"
#include "host/base/PartFile.h"
#include "host/base/System.h"
#include "host/base/Text.h"
#include "host/recording/OutputName.h"
#include "host/recording/SinkList.h"
#include "host/session/GloveConnection.h"
#include "host/session/GloveRun.h"
#include "host/session/MarkerInput.h"
#include "host/session/Markers.h"
#include "host/session/RecordingReport.h"
#include "host/session/SessionMetadata.h"
#include "host/session/Summary.h"

namespace {

// Of the option, or else of the user's own variable, with which the plug-in would write past this program.
std::filesystem::path captureFile(const RecordingOptions& options, const RecordingFiles* files)
{
  const std::filesystem::path variable = takeCaptureVariable();
  const std::filesystem::path& file = options.run.capture.empty() ? variable : options.run.capture;
  if (!options.run.isUncaptured && !file.empty() && files != nullptr && files->contain(file)) {
    throw Failure(ExitCode::usage,
                  fmt::format("the capture {} would be a file of the recording.", utf8(file)),
                  "Choose another name for one of them.");
  }
  return file;
}

void reportCapture(const LinkCapture& capture)
{
  if (capture.place().empty()) return;
  console::report("The link was captured to {}\n", utf8(capture.place()));
  if (const std::string problem = capture.problem(); !problem.empty()) console::report("{}\n", problem);
}

// Where a capture is kept that nobody asked for.
std::filesystem::path capturePlace(const RecordingFiles* files)
{
  const std::filesystem::path place =
      files != nullptr && files->hasPlace() ? files->wanted() : std::filesystem::path("recording");
  return withoutExtension(place) += ".capture.pcapng";
}

void keepCapture(LinkCapture& capture, const RecordingFiles* files)
{
  try {
    capture.keepAt(capturePlace(files));
  } catch (const Failure& notKept) {
    console::report("The capture could not be kept: {}\n", notKept.what());
  }
}

// The recording gets its final name, unless records could not be written, which leaves it incomplete. Returns
// where it is.
std::filesystem::path keep(RecordingFiles& files, const RecordingFigures& figures, Ending& ending)
{
  if (figures.records == 0) {
    files.discard();
    return {};
  }
  update(files.metadata(), figures);
  files.metadata().ended = ending.words;
  if (ending.failure && ending.failure->code() == ExitCode::output) {
    files.abandon();
    return files.growing();
  }
  try {
    files.complete();
    return files.wanted();
  } catch (const Failure& failure) {
    if (!ending.failure) ending = {failure.what(), failure};
    return files.growing();
  }
}

// Returns the failure that ended the recording early, if any. A failure before its start is thrown.
std::optional<Failure> record(const RecordingOptions& options, const FilesMaker& makeFiles)
{
  MarkerQueue markers;
  StopRequest stopRequest([&markers] { markers.add(host::uptime(), ""); });
  const std::unique_ptr<RecordingFiles> files = makeFiles();
  const bool isKept = files && files->hasPlace();
  LslStreaming streaming(options.lsl);
  std::optional<MarkerInput> markerInput;
  if (isKept || options.lsl.offersStreams) {
    markerInput.emplace(markers, options.markers);
  } else if (!options.markers.empty() || !options.lsl.markers.empty()) {
    throw Failure(
        ExitCode::usage,
        fmt::format("{} has no effect: only a recording in a file or folder, or as streams, has events.",
                    options.markers.empty() ? "--lsl-markers" : "--markers"),
        "Record into a file, add --lsl, or omit the option.");
  }
  RunOptions runOptions = options.run;
  runOptions.capture = captureFile(options, files.get());
  GloveRun run(runOptions);
  console::report("Looking for the dongle and the gloves...\n");
  run.open([&](GloveConnector& gloves) {
    try {
      openGloves(gloves, options.run.hardware.waitSeconds, stopRequest);
    } catch (const Failure&) {
      // A capture of what failed is what its file is wanted for.
      if (run.capture() != nullptr) reportCapture(*run.capture());
      throw;
    }
  });

  SinkList sinks;
  if (files) sinks.add(files->begin(run.metadata()));
  streaming.begin(run.metadata(), markers);
  if (RecordSink* const sink = streaming.sink()) sinks.add(*sink);
  const std::string gloves = fmt::to_string(fmt::join(run.modules(), " and "));
  if (files) {
    console::report("Recording {} to {}; Ctrl-C ends it.\n", gloves, outputText(files->growing()));
  } else {
    console::report("Streaming {}; Ctrl-C ends it.\n", gloves);
  }
  RecordingReport report(run.layout(), options.run.rules, files.get(), streaming.sink());
  run.begin(sinks, markers, report);
  Ending ending = run.run(stopRequest.flag());
  markerInput.reset();
  streaming.endMarkers();
  run.finish(ending, [&](LinkCapture& capture) { keepCapture(capture, files.get()); });
  if (files && run.capture() != nullptr && run.figures().records > 0) {
    files->metadata().capture = utf8(run.capture()->place());
  }
  report.finish(run.figures());
  report.end();
  streaming.end();
  if (markers.dropped() > 0)
    console::report("{} markers came too fast and are not kept.\n", markers.dropped());
  const auto place = files ? keep(*files, run.figures(), ending) : std::filesystem::path();
  const RecordingSummary summary{run.layout(), run.figures(), place, ending.words,
                                 ending.failure ? ending.failure->code() : ExitCode::done};
  console::reportLines(summaryText(summary));
  if (run.capture() != nullptr) reportCapture(*run.capture());
  if (options.isJson) console::printJson(summaryJson(summary, options.showsMemory));
  if (!ending.failure && isKept) console::report("Draw it with: tessel plot {}\n", utf8(place));
  return ending.failure;
}

// The JSON of a recording that failed before its start.
nlohmann::ordered_json failureJson(const Failure& failure)
{
  return {{"exitCode", static_cast<int>(failure.code())},
          {"ended", failure.what()},
          {"output", ""},
          {"frames", 0}};
}

}  // namespace

void runRecording(const RecordingOptions& options, const FilesMaker& makeFiles)
{
  std::optional<Failure> failure;
  try {
    failure = record(options, makeFiles);
  } catch (const Failure& early) {
    if (options.isJson) console::printJson(failureJson(early));
    throw;
  }
  if (failure) throw *failure;
}

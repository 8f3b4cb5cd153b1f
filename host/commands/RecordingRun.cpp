#include "host/commands/RecordingRun.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <chrono>
#include <cstdio>
#include <optional>

#include "host/base/Console.h"
#include "host/base/PartFile.h"
#include "host/base/System.h"
#include "host/base/Text.h"
#include "host/recording/OutputName.h"
#include "host/recording/SinkList.h"
#include "host/session/GloveConnection.h"
#include "host/session/GloveRun.h"
#include "host/session/ListenerList.h"
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
  if (files.records() == 0) {
    files.discard();
    return {};
  }
  update(files.metadata(), figures);
  files.metadata().records = files.records();
  files.metadata().ended = ending.words;
  if (!files.areWhole() || (ending.failure && ending.failure->code() == ExitCode::output)) {
    files.abandon();
    return files.growing();
  }
  try {
    files.complete();
    return files.wanted();
  } catch (const Failure& failure) {
    if (ending.failure) {
      console::report("{}\n{}\n", failure.what(), failure.advice());
    } else {
      ending = {failure.what(), failure};
    }
    return files.growing();
  }
}

// Markers that would be lost are refused at once.
void requireEvents(const RecordingOptions& options, bool isKept)
{
  if (isKept || options.lsl.offersStreams || options.view.isShown) return;
  if (options.markers.empty() && options.lsl.markers.empty()) return;
  throw Failure(
      ExitCode::usage,
      fmt::format("{} has no effect: only a recording in a file or folder, or as streams, has events.",
                  options.markers.empty() ? "--lsl-markers" : "--markers"),
      "Record into a file, add --lsl, or omit the option.");
}

LiveFacts factsOf(const RecordingOptions& options, const RecordingFiles* files)
{
  const bool isKept = files != nullptr && files->hasPlace();
  return {.command = options.command,
          .file = isKept ? files->wanted() : std::filesystem::path(),
          .limits = options.run.rules.limits,
          .reconnectSeconds = options.run.rules.reconnectSeconds};
}

// With `tessel view` a typed line is a command of the simulation, if there is one; otherwise it is a marker.
bool isControlled(const RecordingOptions& options)
{
  return options.command == "view" && options.run.hardware.isSimulated;
}

LineTaker typedLines(const RecordingOptions& options, SimulatedGloves* simulated, MarkerQueue& markers)
{
  if (!isControlled(options)) return {};
  return [simulated, &markers](std::chrono::nanoseconds time, const std::string& line) {
    if (line.empty()) {
      markers.add(time, line);
      return;
    }
    try {
      console::reportLines(simulated->request(line) + '\n');
    } catch (const Failure& refused) {
      console::report("{}\n", refused.what());
    }
  };
}

// What there is before the gloves are looked for.
struct Preparation {
  const RecordingOptions& options;
  MarkerQueue& markers;
  const StopRequest& stopRequest;
  RecordingFiles* files;  // null: none
  LslStreaming& streaming;
  LiveBoard* board;  // null: none

  bool isKept() const { return files != nullptr && files->hasPlace(); }
};

void open(GloveRun& run, const Preparation& with)
{
  console::report("Looking for the dongle and the gloves...\n");
  const auto onFailed = [&](const FailedAttempt& attempt) {
    if (with.board != nullptr) with.board->openingFailed(attempt);
  };
  run.open([&](GloveConnector& gloves) {
    try {
      openGloves(gloves, with.options.run.hardware.waitSeconds, with.stopRequest, onFailed);
    } catch (const Failure&) {
      // A capture of what failed is what its file is wanted for.
      if (run.capture() != nullptr) reportCapture(*run.capture());
      throw;
    }
  });
  if (with.board != nullptr) with.board->opened(run.metadata());
}

// What is done with the records, if they go to no file.
struct Words {
  const char* now;
  const char* past;
};

Words wordsOf(const RecordingOptions& options)
{
  if (options.command == "view") return {"Showing", "Showed"};
  if (options.command == "stream") return {"Streaming", "Streamed"};
  return {"Recording", "Recorded"};
}

void reportBeginning(const GloveRun& run, const Preparation& with)
{
  const std::string gloves = fmt::to_string(fmt::join(run.modules(), " and "));
  if (with.files != nullptr) {
    console::report("Recording {} to {}; Ctrl-C ends it.\n", gloves, outputText(with.files->growing()));
  } else {
    console::report("{} {}; Ctrl-C ends it.\n", wordsOf(with.options).now, gloves);
  }
  if (isControlled(with.options) && host::isTerminal(stdin)) {
    console::report("A line that you type is a command of the simulation, such as: drop left\n");
  }
}

// Returns the failure that ended the recording early, if any. A failure before its start is thrown.
std::optional<Failure> record(const Preparation& with)
{
  const RecordingOptions& options = with.options;
  RunOptions runOptions = options.run;
  runOptions.capture = captureFile(options, with.files);
  GloveRun run(runOptions);
  std::optional<MarkerInput> markerInput;
  if (with.isKept() || options.lsl.offersStreams || with.board != nullptr) {
    markerInput.emplace(with.markers, options.markers,
                        typedLines(options, run.source().simulated(), with.markers));
  }
  open(run, with);

  SinkList sinks;
  ListenerList listeners;
  if (with.files != nullptr) sinks.add(with.files->begin(run.metadata()));
  with.streaming.begin(run.metadata(), with.markers);
  if (RecordSink* const sink = with.streaming.sink()) sinks.add(*sink);
  reportBeginning(run, with);
  RecordingReport report(run.layout(), options.run.rules, with.files, with.streaming.sink(),
                         [board = with.board](const Failure& failure) {
                           if (board != nullptr) board->notStored(failure);
                         });
  listeners.add(report);
  if (with.board != nullptr) {
    sinks.add(*with.board);
    listeners.add(*with.board);
  }
  run.begin(sinks, with.markers, listeners);
  Ending ending = run.run(with.stopRequest.flag());
  if (with.board != nullptr) with.board->closing();
  markerInput.reset();
  with.streaming.endMarkers();
  run.finish(ending, [&](LinkCapture& capture) { keepCapture(capture, with.files); });
  if (with.files != nullptr && run.capture() != nullptr && run.figures().records > 0) {
    with.files->metadata().capture = utf8(run.capture()->place());
  }
  report.finish(run.figures());
  report.end();
  with.streaming.end();
  if (with.markers.dropped() > 0)
    console::report("{} markers came too fast and are not kept.\n", with.markers.dropped());
  const auto place =
      with.files != nullptr ? keep(*with.files, run.figures(), ending) : std::filesystem::path();
  const ExitCode code = ending.failure ? ending.failure->code() : ExitCode::done;
  if (with.board != nullptr) with.board->ended(ending.words, code, &run.figures());
  const RecordingSummary summary{run.layout(), run.figures(), place,
                                 ending.words, code,          wordsOf(options).past};
  console::reportLines(summaryText(summary));
  if (run.capture() != nullptr) reportCapture(*run.capture());
  if (options.isJson) console::printJson(summaryJson(summary, options.showsMemory));
  if (!ending.failure && with.isKept()) console::report("Draw it with: tessel plot {}\n", utf8(place));
  return ending.failure;
}

std::optional<Failure> record(const RecordingOptions& options, const FilesMaker& makeFiles)
{
  MarkerQueue markers;
  StopRequest stopRequest([&markers] { markers.add(host::uptime(), ""); });
  const std::unique_ptr<RecordingFiles> files = makeFiles();
  LslStreaming streaming(options.lsl);
  requireEvents(options, files && files->hasPlace());
  LiveView view(options.view, factsOf(options, files.get()), markers);
  try {
    return record({options, markers, stopRequest, files.get(), streaming, view.board()});
  } catch (const Failure& early) {
    if (view.board() != nullptr) view.board()->ended(early.what(), early.code(), nullptr);
    throw;
  }
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

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
#include "host/session/BooksText.h"
#include "host/session/GloveConnection.h"
#include "host/session/GloveLayout.h"
#include "host/session/HardwareConnector.h"
#include "host/session/LinkCapture.h"
#include "host/session/MarkerInput.h"
#include "host/session/Markers.h"
#include "host/session/Recorder.h"
#include "host/session/RecordingReport.h"
#include "host/session/SessionMetadata.h"
#include "host/session/Summary.h"

namespace {

// The dongle reports after 10 s that a glove is out of range, and a read without messages, behind which that
// is seen, takes a second. What is silent for longer has another reason.
constexpr std::chrono::seconds supervisionTime{12};

// Nothing if the user wants none, or if none can be had.
std::unique_ptr<LinkCapture> captureFor(const RecordingOptions& options, const settings::Values& settings,
                                        const RecordingFiles* files)
{
  // The user's own variable would make the plug-in write past this program.
  const std::filesystem::path variable = takeCaptureVariable();
  if (options.isUncaptured) return nullptr;
  const std::filesystem::path& file = options.capture.empty() ? variable : options.capture;
  if (!file.empty() && files != nullptr && files->contain(file)) {
    throw Failure(ExitCode::usage,
                  fmt::format("the capture {} would be a file of the recording.", utf8(file)),
                  "Choose another name for one of them.");
  }
  return startCapture(settings, file, "Losses and times will be estimates.");
}

void reportCapture(const LinkCapture& capture)
{
  if (capture.place().empty()) return;
  console::report("The link was captured to {}\n", utf8(capture.place()));
  if (const std::string problem = capture.problem(); !problem.empty()) console::report("{}\n", problem);
}

// Opens the gloves for the first time. Drops a capture that remains empty.
void open(HardwareConnector& connector, std::unique_ptr<LinkCapture>& capture, double waitSeconds,
          const StopRequest& stopRequest)
{
  try {
    openGloves(connector, waitSeconds, stopRequest);
  } catch (const Failure&) {
    // A capture of what failed is what its file is wanted for.
    if (capture) reportCapture(*capture);
    throw;
  }
  if (!capture || capture->hasBegun()) return;
  if (!capture->place().empty()) {
    throw Failure(ExitCode::plugin, "this plug-in does not capture the link.",
                  "Omit --capture and TESSEL_CAPTURE, or --plugin.");
  }
  console::report("This plug-in does not capture the link. Losses and times will be estimates.\n");
  connector.dropCapture();
  capture.reset();
}

// Where a capture is kept that nobody asked for.
std::filesystem::path capturePlace(const RecordingFiles* files)
{
  const std::filesystem::path place =
      files != nullptr && files->hasPlace() ? files->wanted() : std::filesystem::path("recording");
  return withoutExtension(place) += ".capture.pcapng";
}

// Where the elements are, if that is known. A Failure if it does not fit the gloves of these settings.
std::optional<HandLayout> handsOf(const RecordingOptions& options, const settings::Values& settings)
{
  std::optional<HandLayout> hands = chooseLayout(options.layout, options.hardware, settings);
  if (hands) {
    Layout unknownGloves = gloveLayout(settings, {});
    hands->describe(unknownGloves);
  }
  return hands;
}

// Closes the link, writes the last records and events, and closes the books.
void finish(HardwareConnector& connector, LinkCapture* capture, RecordKeeper& keeper, Recorder& recorder,
            Session& session, const Layout& layout, RecordingFiles* files, Ending& ending)
{
  const auto attempt = [&ending](const auto& step) {
    try {
      step();
    } catch (...) {
      if (!ending.failure) ending = endingByException();
    }
  };
  // Whatever becomes of the capture, the records that wait for it are written.
  attempt([&] { connector.disconnect(); });
  const bool isWriting = !ending.failure || ending.failure->code() != ExitCode::output;
  if (isWriting) attempt([&] { keeper.writeRest(); });
  if (isWriting) attempt([&] { session.noteRest(); });
  std::optional<Books> books;
  if (capture) books = capture->accounts().close();
  recorder.finish(books);
  if (!capture || keeper.written() == 0) return;
  if (const auto failure = booksFailure(*books, gloveLabels(layout))) {
    if (!ending.failure) ending.failure = *failure;
    try {
      capture->keepAt(capturePlace(files));
    } catch (const Failure& notKept) {
      console::report("The capture could not be kept: {}\n", notKept.what());
    }
  }
  if (files != nullptr) files->metadata().capture = utf8(capture->place());
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
  HardwareSource source(options.hardware);
  if (options.rules.reconnectSeconds > 0) source.setPatience(supervisionTime);
  const std::optional<HandLayout> hands = handsOf(options, source.settings());
  std::unique_ptr<LinkCapture> capture = captureFor(options, source.settings(), files.get());
  HardwareConnector connector(source, capture.get());
  console::report("Looking for the dongle and the gloves...\n");
  open(connector, capture, options.hardware.waitSeconds, stopRequest);
  if (!options.acceptsAnyGlove) connector.acceptNoOthers();

  const auto modules = connector.hardware().askModules();
  Layout layout = gloveLayout(source.settings(), modules);
  if (hands) hands->describe(layout);
  RecordingMetadata metadata = describe(connector.hardware(), layout, capture != nullptr);
  if (hands) metadata.hands = hands->json();
  SinkList sinks;
  if (files) sinks.add(files->begin(metadata));
  streaming.begin(metadata, markers);
  if (RecordSink* const sink = streaming.sink()) sinks.add(*sink);
  const std::string gloves = fmt::to_string(fmt::join(modules, " and "));
  if (files) {
    console::report("Recording {} to {}; Ctrl-C ends it.\n", gloves, outputText(files->growing()));
  } else {
    console::report("Streaming {}; Ctrl-C ends it.\n", gloves);
  }
  RecordKeeper keeper(layout, sinks, capture ? &capture->accounts() : nullptr);
  Recorder recorder(layout, keeper, options.rules.limits);
  RecordingReport report(layout, options.rules, files.get(), streaming.sink());
  Session session(connector, recorder, keeper, markers, report, options.rules);
  Ending ending = session.run(connector.hardware(), stopRequest.flag());
  markerInput.reset();
  streaming.endMarkers();
  finish(connector, capture.get(), keeper, recorder, session, layout, files.get(), ending);
  report.finish(recorder.figures());
  report.end();
  streaming.end();
  if (markers.dropped() > 0)
    console::report("{} markers came too fast and are not kept.\n", markers.dropped());
  const auto place = files ? keep(*files, recorder.figures(), ending) : std::filesystem::path();
  const RecordingSummary summary{layout, recorder.figures(), place, ending.words,
                                 ending.failure ? ending.failure->code() : ExitCode::done};
  console::reportLines(summaryText(summary));
  if (capture) reportCapture(*capture);
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

#include "host/commands/RecordingOptions.h"

#include "host/commands/CommandLine.h"
#include "host/commands/HardwareOptions.h"
#include "host/commands/LayoutOption.h"

void addRecordingOptions(CLI::App& command, RecordingOptions& options)
{
  using namespace command_line;
  addNumber(
      command, "--seconds", "SECONDS", {.lowest = 0.001, .highest = 1e9},
      [&options](double seconds) { options.run.rules.limits.seconds = seconds; }, "Recording duration");
  addWholeNumber(
      command, "--frames", "N", {.lowest = 1, .highest = 1'000'000'000'000},
      [&options](std::uint64_t frames) { options.run.rules.limits.records = frames; },
      "Number of frames to record");
  const Option capture = addPath(
      command, "--capture", "FILE", options.run.capture,
      "Keep every byte between the plug-in and the dongle in this file (pcapng); see docs/capture.md");
  capture.completeFiles({"pcapng"});
  addFlag(command, "--no-capture", options.run.isUncaptured,
          "Do not follow the link: save some CPU time, but estimate losses and times")
      .excludes(capture);
  addNumber(
      command, "--sync", "SECONDS", {.lowest = 0, .highest = 1e9},
      [&options](double seconds) {
        const std::chrono::duration<double> interval(seconds);
        options.run.sync.interval = std::chrono::round<std::chrono::nanoseconds>(interval);
      },
      "How often the disk is made to store what was written (1), which then survives a power cut; 0: only "
      "when "
      "it is complete");
  addNumber(
      command, "--reconnect", "SECONDS", {.lowest = 0, .highest = 1e9},
      [&options](double seconds) {
        options.run.rules.reconnectSeconds = seconds;
        options.run.rules.limits.isPatient = seconds > 0;
      },
      "For how long to wait for gloves that are lost while recording (60); 0: their loss ends the recording");
  addFlag(command, "--any-glove", options.run.acceptsAnyGlove,
          "After a loss accept other gloves than those that the recording began with");
  addPath(command, "--markers", "PATH", options.markers,
          "Make this FIFO; each line that is written to it marks a moment of the recording");
  addLayoutOption(command, options.run.layout,
                  "Layout of the hand: which region and position each element has; see docs/layout.md");
  addLslOptions(command, options.lsl);
  addFlag(command, "--json", options.isJson, "Print the summary as JSON on standard output");
  addFlag(command, "--memory", options.showsMemory, "With --json: add the peak memory of the program")
      .needs("--json");
  addHardwareOptions(command, options.run.hardware);
}

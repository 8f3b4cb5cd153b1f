// `tessel doctor`: walks from the computer to the sample and says what is wrong and what to do.

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <cstdio>
#include <memory>
#include <optional>

#include "host/base/Console.h"
#include "host/base/StopRequest.h"
#include "host/base/Text.h"
#include "host/capture/CaptureFeed.h"
#include "host/commands/CommandLine.h"
#include "host/commands/Commands.h"
#include "host/commands/HardwareOptions.h"
#include "host/doctor/Doctor.h"
#include "host/doctor/DoctorReport.h"
#include "host/doctor/DoctorText.h"

namespace {

struct Options {
  DoctorOptions doctor;
  std::filesystem::path report;  // empty: none
  bool replaces = false;
  bool isJson = false;
};

ExitCode run(const Options& options)
{
  if (!std::filesystem::is_directory(options.doctor.root)) {
    throw Failure(ExitCode::usage, fmt::format("{} is no folder.", utf8(options.doctor.root)),
                  "--root takes a folder with the files of a system.");
  }
  takeCaptureVariable();  // the doctor makes captures of its own
  const StopRequest stopRequest;
  // Before the walk, so that a file that can't be written is reported at once.
  std::optional<TarFile> report;
  if (!options.report.empty()) report.emplace(options.report, options.replaces);
  const auto onStep = [&options](const Step& step) {
    if (options.isJson) return;
    console::printLines(stepText(step));
    std::fflush(stdout);
  };
  Doctor doctor(options.doctor, stopRequest,
                {[](const std::string& text) { console::report("{}\n", text); }, onStep});
  doctor.examine();
  if (options.isJson) {
    console::printJson(doctorJson(doctor.steps().steps(), doctor.verdict()));
  } else {
    console::print("Verdict: {}\n", doctor.verdict());
  }
  if (report) {
    writeReport(doctor, *report);
    console::report(
        "The report is in {}: these results, facts of this computer, settings, captures and the plug-in's "
        "log. "
        "Its captures name the Bluetooth devices nearby; its README.txt lists all that it contains.\n",
        utf8(options.report));
  }
  return doctor.exitCode();
}

}  // namespace

void addDoctor(CLI::App& tessel, ExitCode& exitCode)
{
  using namespace command_line;
  const auto options = std::make_shared<Options>();
  CLI::App& command =
      addCommand(tessel, "doctor",
                 "Finds out what is wrong, from the computer to the gloves' samples, and says what to do.");
  DoctorOptions& doctor = options->doctor;
  addPath(command, "--output,-o", "FOLDER", doctor.folder,
          "Folder in which you will record (the current one): its free space and speed are tested");
  addNumber(
      command, "--seconds", "SECONDS", {.lowest = 1, .highest = 600},
      [&doctor](double seconds) { doctor.seconds = seconds; },
      "Duration of the measurement (10); the longer, the more exactly the gloves' clocks are known");
  addPath(command, "--report", "FILE", options->report,
          "Write all that was found, with captures and the plug-in's log, into this tar file")
      .completeFiles({"tar"});
  addFlag(command, "--force", options->replaces, "Replace an existing report").needs("--report");
  addFlag(command, "--json", options->isJson, "Print the results as JSON on standard output");
  addHardwareOptions(command, doctor.hardware);
  addPath(command, "--root", "FOLDER", doctor.root,
          "Read the system's files below this folder instead of /, for tests of this command");
  setNotes(command,
           "Examples:  tessel doctor\n"
           "           tessel doctor --sim\n"
           "           tessel doctor --settings gloves.txt --report problem.tar\n"
           "The exit code is that with which `tessel record` would fail, 0 with warnings.\n"
           "No other program may use the dongle meanwhile.");
  onRun(command, [options, &exitCode] { exitCode = run(*options); });
}

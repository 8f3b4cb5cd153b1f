#include "host/doctor/DoctorReport.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <chrono>
#include <cstdint>
#include <vector>

#include "host/base/Failure.h"
#include "host/base/InputFile.h"
#include "host/base/Text.h"
#include "host/base/Version.h"
#include "host/doctor/DoctorText.h"

namespace {

constexpr const char* readme =
    "A report of `tessel doctor` ({}), to be sent to the authors of the program.\n"
    "\n"
    "steps.txt      each step with its result, and the verdict\n"
    "steps.json     the same for programs\n"
    "system.txt     what was read of the computer, without the names of its user and itself\n"
    "settings.txt   the plug-in's settings, without the text TesselMetaData\n"
    "dongle.pcapng  what was said to the dongle to test it, if it was reached\n"
    "gloves.pcapng  what the plug-in and the dongle said, if gloves were opened; the\n"
    "               samples of the measurement are in it\n"
    "log/           the plug-in's log\n"
    "\n"
    "The captures contain the Bluetooth addresses and advertised names of devices nearby.\n"
    "Nothing else in here is about persons. `tessel trace` shows a capture.\n";

std::string contentOf(const std::filesystem::path& path)
{
  host::InputFile file(path);
  std::string content;
  std::vector<std::uint8_t> piece(std::size_t{1} << 16);
  while (const std::size_t count = file.read(piece)) {
    content.append(piece.begin(), piece.begin() + static_cast<std::ptrdiff_t>(count));
  }
  if (!file.error() || file.error() == std::errc::no_such_file_or_directory) return content;
  throw Failure(
      ExitCode::output,
      fmt::format("{}, a part of the report, can't be read: {}.", utf8(path), file.error().message()),
      "Try again, and check the disk.");
}

std::string stepsText(const Doctor& doctor)
{
  std::string text;
  for (const Step& step : doctor.steps().steps()) {
    text += stepText(step);
  }
  return text + fmt::format("Verdict: {}\n", doctor.verdict());
}

}  // namespace

void writeReport(const Doctor& doctor, TarFile& file)
{
  const auto now = std::chrono::floor<std::chrono::seconds>(std::chrono::system_clock::now());
  const auto add = [&](const std::string& name, const std::string& bytes) { file.add(name, bytes, now); };
  add("README.txt", fmt::format(readme, programVersion));
  const SystemFacts& facts = doctor.facts();
  add("steps.txt", facts.withoutNames(stepsText(doctor)));
  const auto json = doctorJson(doctor.steps().steps(), doctor.verdict());
  using Errors = nlohmann::ordered_json::error_handler_t;
  add("steps.json", facts.withoutNames(json.dump(2, ' ', true, Errors::replace) + '\n'));
  add("system.txt", facts.report());
  add("settings.txt", doctor.settingsText());
  for (const auto& [name, path] : doctor.kept()) {
    const std::string content = contentOf(path);
    add(name, name.ends_with(".log") ? facts.withoutNames(content) : content);
  }
  file.close();
}

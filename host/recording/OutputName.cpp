#include "host/recording/OutputName.h"

#include <fmt/chrono.h>
#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <ctime>

#include "host/base/Failure.h"
#include "host/base/PartFile.h"
#include "host/base/Text.h"

namespace fs = std::filesystem;

namespace {

struct FormatName {
  RecordFormat format;
  const char* name;
  const char* extension;
};

constexpr std::array formats{FormatName{RecordFormat::csv, "csv", ".csv"},
                             FormatName{RecordFormat::npy, "npy", ".npy"},
                             FormatName{RecordFormat::xdf, "xdf", ".xdf"}};

const FormatName& nameOf(RecordFormat format)
{
  return *std::ranges::find(formats, format, &FormatName::format);
}

}  // namespace

std::optional<RecordFormat> formatOf(fs::path path)
{
  if (isStandardOutput(path)) return RecordFormat::csv;
  if (!path.has_filename()) path = path.parent_path();
  for (const FormatName& each : formats) {
    if (hasExtension(path, each.extension)) return each.format;
  }
  return std::nullopt;
}

OutputName chooseOutputName(const std::optional<std::string>& name, std::optional<RecordFormat> format)
{
  if (!name) {
    const auto chosen = format.value_or(RecordFormat::csv);
    return {fmt::format("recording-{:%Y%m%d-%H%M%S}{}", fmt::localtime(std::time(nullptr)),
                        chosen == RecordFormat::npy ? "" : nameOf(chosen).extension),
            chosen};
  }
  if (name->empty()) {
    throw Failure(ExitCode::usage, "--output takes the name of a file or folder, not ''.",
                  "Omit it for a name of date and time.");
  }
  const auto named = formatOf(*name);
  if (named && format && named != format) {
    throw Failure(
        ExitCode::usage,
        isStandardOutput(*name)
            ? fmt::format("--format {} and --output {} contradict each other: standard output is always csv.",
                          nameOf(*format).name, *name)
            : fmt::format("--format {} and --output {} contradict each other.", nameOf(*format).name, *name),
        "Omit --format, or choose another name.");
  }
  return {*name, named.value_or(format.value_or(RecordFormat::csv))};
}

RecordFormat formatNamed(std::string_view name)
{
  const auto* const found = std::ranges::find(formats, name, &FormatName::name);
  return found == formats.end() ? RecordFormat::csv : found->format;
}

std::vector<std::string> formatNames()
{
  std::vector<std::string> names;
  for (const FormatName& each : formats) {
    names.emplace_back(each.name);
  }
  return names;
}

fs::path withoutExtension(fs::path recording)
{
  const auto isOfFormat = [&](const FormatName& each) { return hasExtension(recording, each.extension); };
  return std::ranges::any_of(formats, isOfFormat) ? recording.replace_extension() : recording;
}

#include "host/recording/OutputName.h"

#include <fmt/chrono.h>
#include <fmt/format.h>

#include <ctime>

#include "host/base/Failure.h"
#include "host/base/PartFile.h"
#include "host/base/Text.h"

namespace fs = std::filesystem;

namespace {

const char* nameOf(RecordFormat format)
{
  return format == RecordFormat::csv ? "csv" : "npy";
}

// The format that the name implies, if any.
std::optional<RecordFormat> formatOf(fs::path path)
{
  if (isStandardOutput(path)) return RecordFormat::csv;
  if (!path.has_filename()) path = path.parent_path();
  if (hasExtension(path, ".csv")) return RecordFormat::csv;
  if (hasExtension(path, ".npy")) return RecordFormat::npy;
  return std::nullopt;
}

}  // namespace

OutputName chooseOutputName(const std::optional<std::string>& name, std::optional<RecordFormat> format)
{
  if (!name) {
    const auto chosen = format.value_or(RecordFormat::csv);
    return {fmt::format("recording-{:%Y%m%d-%H%M%S}{}", fmt::localtime(std::time(nullptr)),
                        chosen == RecordFormat::csv ? ".csv" : ""),
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
                          nameOf(*format), *name)
            : fmt::format("--format {} and --output {} contradict each other.", nameOf(*format), *name),
        "Omit --format, or choose another name.");
  }
  return {*name, named.value_or(format.value_or(RecordFormat::csv))};
}

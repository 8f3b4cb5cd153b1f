#include "host/doctor/Storage.h"

#include <fmt/format.h>

#include <chrono>
#include <string>

#include "host/base/OutputFile.h"
#include "host/base/PartFile.h"
#include "host/base/System.h"
#include "host/base/Text.h"
#include "host/doctor/StepResults.h"

namespace fs = std::filesystem;

namespace {

// Bytes per second of a recording as CSV, of two gloves with 125 elements each and 50 frames per second, if
// all values have five digits; and of the capture of its link.
constexpr double recordingRate = 80e3;
constexpr double captureRate = 170e3;
constexpr double neededRate = recordingRate + captureRate;
constexpr double reserve = 10;  // a disk that is faster by this factor also copes with other programs
constexpr double secondsPerHour = 3600;

constexpr std::size_t pieceSize = std::size_t{1} << 20;
constexpr int maxPieces = 8;
constexpr std::chrono::nanoseconds maxDuration = std::chrono::seconds(1);

double writeForAWhile(const fs::path& path)
{
  const std::string piece(pieceSize, 'x');
  OutputFile file(path);
  const auto begin = host::uptime();
  std::chrono::nanoseconds duration{};
  int pieces = 0;
  while (pieces < maxPieces && duration < maxDuration) {
    file.append(piece);
    file.store();
    ++pieces;
    duration = host::uptime() - begin;
  }
  file.close();
  return pieces * static_cast<double>(pieceSize) / std::chrono::duration<double>(duration).count();
}

}  // namespace

Storage measureStorage(const fs::path& folder)
{
  Storage storage;
  try {
    const PartFile trial(folder / "tessel-doctor", PartFile::Kind::file, true);
    storage.bytesPerSecond = writeForAWhile(trial.growing());
  } catch (const Failure& failure) {
    storage.failure = failure;
  }
  std::error_code error;
  const fs::space_info space = fs::space(folder, error);
  if (!error) storage.freeBytes = space.available;
  return storage;
}

Step storageStep(const Storage& storage, const fs::path& folder)
{
  if (storage.failure) return failed("storage", *storage.failure);
  Step step{.name = "storage", .text = ""};
  const auto free = static_cast<double>(storage.freeBytes);
  const double hours = free / neededRate / secondsPerHour;
  step.text = fmt::format(
      "{} has {:.1f} GB free, for {:.{}f} hours with a capture of the link, and takes {:.1f} MB/s",
      utf8(folder), free / 1e9, hours, hours < 10 ? 1 : 0, storage.bytesPerSecond / 1e6);
  if (hours < 1) {
    step.result = Step::Result::warning;
    step.fix = "Free some space, or record to another disk.";
  }
  if (storage.bytesPerSecond < reserve * neededRate) {
    step.result = Step::Result::warning;
    step.fix += fmt::format(
        "{}Record to a faster disk of this computer, and copy the recording afterwards: {:.2f} "
        "MB/s are needed, and a disk that is hardly faster may pause for longer.",
        step.fix.empty() ? "" : "\n", neededRate / 1e6);
  }
  return step;
}

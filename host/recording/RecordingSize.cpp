#include "host/recording/RecordingSize.h"

#include <system_error>

#include "host/base/DiskUse.h"
#include "host/base/PartFile.h"
#include "host/base/Text.h"
#include "host/recording/Names.h"
#include "host/recording/RecordingEvents.h"

namespace fs = std::filesystem;

std::optional<std::uint64_t> recordingBytes(const fs::path& recording)
{
  const auto [wanted, growing] = PartFile::namesOf(recording, PartFile::Kind::file);
  if (wanted == growing) return std::nullopt;
  std::error_code ignored;
  const fs::path& place = fs::exists(growing, ignored) ? growing : wanted;
  if (!fs::exists(place, ignored)) return std::nullopt;
  std::uint64_t bytes = bytesAt(place);
  if (!hasExtension(wanted, ".csv")) return bytes;
  for (const auto suffix : {names::metadataSuffix, names::eventsSuffix})
    bytes += bytesAt(existingCompanionOf(place, suffix));
  return bytes;
}

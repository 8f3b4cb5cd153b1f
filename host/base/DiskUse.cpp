#include "host/base/DiskUse.h"

#include <system_error>

#include "host/base/PartFile.h"
#include "host/base/System.h"

namespace fs = std::filesystem;

std::uint64_t bytesAt(const fs::path& place)
{
  std::error_code error;
  if (isStandardOutput(place)) return 0;
  if (fs::is_regular_file(place, error)) {
    const std::uintmax_t size = fs::file_size(place, error);
    return error ? 0 : size;
  }
  std::uint64_t bytes = 0;
  for (const fs::path& name : host::namesIn(place, error)) {
    std::error_code unknown;
    const std::uintmax_t size = fs::file_size(place / name, unknown);
    if (!unknown) bytes += size;
  }
  return bytes;
}

std::optional<std::uint64_t> freeBytesFor(const fs::path& place)
{
  std::error_code error;
  const fs::path folder = fs::absolute(place, error).parent_path();
  // Of a folder that is not there, Windows reports the disk.
  const bool isThere = !error && fs::is_directory(folder, error);
  const fs::space_info space = isThere ? fs::space(folder, error) : fs::space_info{};
  const bool isUnknown = error || space.capacity == 0 || space.available == static_cast<std::uintmax_t>(-1);
  return isUnknown ? std::nullopt : std::optional<std::uint64_t>(space.available);
}

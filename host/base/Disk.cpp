#include "host/base/Disk.h"

#include <fmt/format.h>

#include "host/base/Failure.h"
#include "host/base/System.h"
#include "host/base/Text.h"

namespace fs = std::filesystem;

namespace {

class SystemDisk final : public Disk {
 public:
  std::unique_ptr<Handle> open(const fs::path& path) override { return std::make_unique<SystemHandle>(path); }

 private:
  struct SystemHandle final : Handle {
    explicit SystemHandle(const fs::path& path) : handle(path) {}
    std::error_code sync() override { return handle.sync(); }

    host::SyncHandle handle;
  };
};

class UnforcedDisk final : public Disk {
 public:
  std::unique_ptr<Handle> open(const fs::path& /*path*/) override { return std::make_unique<NoHandle>(); }

 private:
  struct NoHandle final : Handle {
    std::error_code sync() override { return {}; }
  };
};

}  // namespace

Disk& Disk::ofSystem()
{
  static SystemDisk disk;
  return disk;
}

Disk& Disk::unforced()
{
  static UnforcedDisk disk;
  return disk;
}

Failure notStored(const fs::path& path, const std::error_code& reason)
{
  return {ExitCode::output,
          fmt::format("the disk did not store all of {}: {}.", utf8(path), reason.message()),
          reason == std::errc::no_space_on_device
              ? "The disk is full: free some space, and check the file before you rely on it."
              : "Check the disk and its cable. Copy the file to another disk, and check it before you rely "
                "on it."};
}

void storeAt(Disk& disk, const fs::path& path)
{
  if (const std::error_code error = disk.open(path)->sync()) throw notStored(path, error);
}

void storeNameAt(Disk& disk, const fs::path& path)
{
  std::error_code unknown;
  const fs::path folder = fs::absolute(path, unknown).parent_path();
  if (const std::error_code error = disk.open(folder)->sync()) throw notStored(folder, error);
}

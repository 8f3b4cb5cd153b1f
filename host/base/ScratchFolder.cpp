#include "host/base/ScratchFolder.h"

#include <fmt/format.h>

#include <algorithm>
#include <new>
#include <random>
#include <string_view>

#include "host/base/Failure.h"
#include "host/base/RemoveAll.h"
#include "host/base/Text.h"

namespace fs = std::filesystem;

namespace {

constexpr std::string_view prefix = "tessel-";
constexpr std::size_t digits = 8;

bool isNamedAsOurs(const std::string& name)
{
  return name.size() == prefix.size() + digits && name.starts_with(prefix) &&
         name.find_first_not_of("0123456789abcdef", prefix.size()) == std::string::npos;
}

// Deletes while locked, so that no other run deletes it too, and the lock file last: if it is killed
// meanwhile, a later run finds what is left. Some systems delete the open lock file only once it is closed.
void remove(const fs::path& folder, std::optional<host::FolderLock>& lock)
{
  std::error_code ignored;
  for (const fs::path& name : host::namesIn(folder, ignored)) {
    if (name != host::FolderLock::fileName) removeAll(folder / name);
  }
  if (!removeAll(folder)) return lock.reset();
  lock.reset();
  removeAll(folder);
}

void removeAbandoned(const fs::path& parent)
{
  std::error_code ignored;
  for (const fs::path& name : host::namesIn(parent, ignored)) {
    if (!isNamedAsOurs(utf8(name))) continue;
    std::optional<host::FolderLock> lock;
    lock.emplace(parent / name, host::FolderLock::Kind::abandoned);
    if (lock->isHeld()) {
      remove(parent / name, lock);
    } else if (fs::is_directory(fs::symlink_status(parent / name, ignored))) {
      fs::remove(parent / name, ignored);  // if it is empty: the run was killed before it locked it
    }
  }
}

Failure notMade(const std::string& reason)
{
  return {ExitCode::output, fmt::format("no temporary folder can be created: {}.", reason),
          "Set the environment variable TMPDIR to a folder that you may write to."};
}

}  // namespace

ScratchFolder::ScratchFolder()
{
  // Before the lock is held, another run may mistake the new folder for an abandoned one.
  constexpr int maxAttempts = 5;
  std::random_device random;
  try {
    const fs::path parent = fs::temp_directory_path();
    removeAbandoned(parent);
    for (int attempt = 0; attempt < maxAttempts; ++attempt) {
      do {
        path_ = parent / fmt::format("{}{:0{}x}", prefix, random(), digits);
      } while (!fs::create_directory(path_));  // the name may be taken
      std::error_code error;
      fs::permissions(path_, fs::perms::owner_all, error);
      if (error && error != std::errc::no_such_file_or_directory) throw notMade(error.message());
      lock_.emplace(path_, host::FolderLock::Kind::fresh);
      if (lock_->isHeld()) return;
      removeAll(path_);
    }
  } catch (const fs::filesystem_error& error) {
    throw notMade(error.code().message());
  }
  throw notMade("it can't be locked");
}

ScratchFolder::~ScratchFolder()
{
  try {
    remove(path_, lock_);
  } catch (const std::bad_alloc&) {
    // A later run deletes it.
  }
}

#include "host/ScratchFolder.h"

#include <fmt/format.h>

#include <random>

#include "host/Failure.h"

namespace fs = std::filesystem;

ScratchFolder::ScratchFolder()
{
  std::random_device random;
  try {
    do {
      path_ = fs::temp_directory_path() / fmt::format("tessel-{:08x}", random());
    } while (!fs::create_directory(path_));  // it may be there already
    fs::permissions(path_, fs::perms::owner_all);
  } catch (const fs::filesystem_error& error) {
    throw Failure(ExitCode::output,
                  fmt::format("no temporary folder can be made: {}.", error.code().message()),
                  "Set the variable TMPDIR to a folder that you may write to.");
  }
}

ScratchFolder::~ScratchFolder()
{
  std::error_code ignored;
  fs::remove_all(path_, ignored);
}

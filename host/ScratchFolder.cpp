#include "host/ScratchFolder.h"

#include <fmt/format.h>

#include <random>

namespace fs = std::filesystem;

ScratchFolder::ScratchFolder()
{
  std::random_device random;
  do {
    path_ = fs::temp_directory_path() / fmt::format("tessel-{:08x}", random());
  } while (!fs::create_directory(path_));  // it may be there already
  fs::permissions(path_, fs::perms::owner_all);
}

ScratchFolder::~ScratchFolder()
{
  std::error_code ignored;
  fs::remove_all(path_, ignored);
}

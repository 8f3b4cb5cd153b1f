#include "host/base/ScratchFolder.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <fstream>
#include <thread>
#include <vector>

#include "tests/support/TemporaryFolder.h"

namespace {

TEST(ScratchFolder, NewFoldersAreNotDeletedByConcurrentRuns)
{
  const TemporaryFolder parent;
  host::setEnvironment("TMPDIR", parent.path().string());
  std::atomic<int> lost = 0;
  std::vector<std::jthread> runs;
  for (int run = 0; run < 4; ++run) {
    runs.emplace_back([&lost] {
      for (int time = 0; time < 200; ++time) {
        const ScratchFolder folder;
        std::ofstream(folder.path() / "settings.txt") << "text";
        const ScratchFolder second;  // deletes abandoned folders
        if (!std::filesystem::exists(folder.path() / "settings.txt")) ++lost;
      }
    });
  }
  runs.clear();
  EXPECT_EQ(lost, 0);
#ifndef _WIN32
  EXPECT_EQ(parent.list(), "");
  ::unsetenv("TMPDIR");
#endif
}

}  // namespace

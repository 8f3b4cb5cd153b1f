// A recording that is larger than the memory there is.

#include <gtest/gtest.h>

#include <cstdlib>

#include "tests/e2e/SparseRecording.h"
#include "tests/e2e/Tessel.h"

namespace {

TEST(Keep, ARecordingThatDoesNotFitIntoMemoryIsAnError)
{
#ifdef TESSEL_SANITIZED
  GTEST_SKIP() << "a sanitizer's own memory exceeds the limit";
#endif
  const TemporaryFolder folder;
  writeSparseRecording(folder);
  const std::string command = "cd " + folder.path().string() +
                              " && ulimit -v 400000 && " TESSEL_PROGRAM " plot . 2> messages > output";
  EXPECT_EQ(WEXITSTATUS(std::system(command.c_str())), 1);
  EXPECT_NE(folder.read("messages").find("not enough memory.\n        End other programs"), std::string::npos)
      << folder.read("messages");
}

}  // namespace

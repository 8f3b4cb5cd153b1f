#include <gtest/gtest.h>
#include <sys/stat.h>

#include "host/base/Failure.h"
#include "host/capture/CaptureFeed.h"
#include "host/capture/CaptureFile.h"
#include "tests/support/TemporaryFolder.h"

namespace {

const std::uint8_t bytes[] = {1, 2, 3};

TEST(CaptureFile, AFullDiskEndsTheFileWithAReason)
{
  CaptureFile file("/dev/full");
  file.append(bytes);
  file.append(bytes);
  EXPECT_EQ(file.problem(),
            "/dev/full can't be written: No space left on device. It ends there; the recording goes on. The "
            "disk is full: free some space, or use another disk.");
}

TEST(CaptureFile, APathThatCanNotHoldACaptureIsAFailure)
{
  const TemporaryFolder folder;
  ASSERT_EQ(::mkfifo((folder / "fifo").c_str(), 0600), 0);
  folder.write("notes", "12\n");
  std::filesystem::create_symlink("notes", folder / "link");
  for (const char* name : {"fifo", "missing/capture", ".", "notes", "link"}) {
    EXPECT_THROW(CaptureFile file(folder / name), Failure) << name;
  }
  EXPECT_EQ(folder.read("notes"), "12\n");
}

TEST(CaptureFeed, WithoutAPlaceForTheFifoThereIsAFailureAndNoVariable)
{
  const TemporaryFolder folder;
  folder.write("capture", "taken");
  try {
    const CaptureFeed feed(folder.path());
    FAIL();
  } catch (const Failure& failure) {
    EXPECT_NE(std::string(failure.what()).find("File exists"), std::string::npos) << failure.what();
  }
  EXPECT_EQ(folder.read("capture"), "taken");
  EXPECT_TRUE(host::environmentPath("TESSEL_CAPTURE").empty());
}

}  // namespace

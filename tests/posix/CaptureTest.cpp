// Captures into a real FIFO and a real file.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>

#include "serial/Capture.h"
#include "tests/support/TemporaryFolder.h"

namespace {

class PosixCapture : public testing::Test {
 protected:
  PosixCapture()
  {
    capture::close();
    ::setenv("TESSEL_CAPTURE", path_.c_str(), 1);
  }
  ~PosixCapture() override
  {
    capture::close();
    ::unsetenv("TESSEL_CAPTURE");
  }

  void makeFifo() { ASSERT_EQ(::mkfifo(path_.c_str(), 0600), 0); }

  int openReader() const { return ::open(path_.c_str(), O_RDONLY | O_NONBLOCK); }

  static std::string readAll(int reader)
  {
    std::string all;
    char piece[8192];
    for (ssize_t count = 0; (count = ::read(reader, piece, sizeof piece)) > 0;) {
      all.append(piece, static_cast<std::size_t>(count));
    }
    return all;
  }

  void expectRefusal(const std::string& reason)
  {
    capture::open();
    EXPECT_FALSE(capture::isOn()) << reason;
    EXPECT_EQ(capture::takeError(),
              "The capture TESSEL_CAPTURE=" + std::string(std::getenv("TESSEL_CAPTURE")) +
                  " can't be opened: " + reason + ".");
    capture::close();
  }

  const TemporaryFolder folder_;
  const std::string path_ = (folder_ / "capture").string();
};

TEST_F(PosixCapture, AFifoOutlivesItsReaderAndIsNeverWaitedFor)
{
  makeFifo();
  int reader = openReader();
  capture::open();
  ASSERT_TRUE(capture::isOn());
  capture::note("first");
  capture::flush();
  EXPECT_NE(readAll(reader).find("first"), std::string::npos);

  // Without a reader a write would end the process, or fail, or wait once the FIFO is full.
  ::close(reader);
  for (int count = 0; count < 5000; ++count) {
    capture::note("unread");
  }
  reader = openReader();
  EXPECT_NE(readAll(reader).find("unread"), std::string::npos);
  capture::note("last");
  capture::close();
  const std::string rest = readAll(reader);
  EXPECT_NE(rest.find("lost "), std::string::npos);
  EXPECT_NE(rest.find("last"), std::string::npos);
  ::close(reader);
}

TEST_F(PosixCapture, AFileIsAppendedTo)
{
  folder_.write("capture", "kept");
  for (const char* note : {"one", "two"}) {
    capture::open();
    capture::note(note);
    capture::close();
  }
  const std::string content = folder_.read("capture");
  EXPECT_TRUE(content.starts_with("kept\n\r\r\n"));
  EXPECT_LT(content.find("one"), content.rfind("\n\r\r\n"));
  EXPECT_GT(content.find("two"), content.rfind("\n\r\r\n"));
}

TEST_F(PosixCapture, ATargetThatCanNotBeWrittenIsRefusedWithTheReason)
{
  const int other = ::open(path_.c_str(), O_WRONLY | O_CREAT, 0600);
  ASSERT_EQ(::flock(other, LOCK_EX | LOCK_NB), 0);
  expectRefusal("another process is writing to it");
  ::close(other);
  for (const auto& [path, reason] :
       {std::pair(std::string("/dev/null"), "it is neither a FIFO nor a regular file"),
        std::pair(folder_.path().string(), "it is neither a FIFO nor a regular file"),
        std::pair((folder_ / "missing" / "capture").string(), "No such file or directory")}) {
    ::setenv("TESSEL_CAPTURE", path.c_str(), 1);
    expectRefusal(reason);
  }
  ::setenv("TESSEL_CAPTURE", "", 1);
  capture::open();
  EXPECT_FALSE(capture::isOn());
  EXPECT_EQ(capture::takeError(), "");
}

TEST_F(PosixCapture, AFileThatReachesTheSizeLimitDoesNotEndTheProcess)
{
  const auto fill = [] {
    const rlimit limit{10'000, 10'000};
    ::setrlimit(RLIMIT_FSIZE, &limit);
    capture::open();
    for (int count = 0; count < 1000; ++count) {
      capture::note("note");
    }
    capture::flush();
    std::_Exit(7);
  };
  EXPECT_EXIT(fill(), testing::ExitedWithCode(7), "");
  EXPECT_EQ(folder_.read("capture").size(), 10'000U);
}

}  // namespace

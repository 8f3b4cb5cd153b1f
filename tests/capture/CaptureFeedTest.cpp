// The feed at the other end of the plug-in's own writer, through the system's real pipe.

#include "host/capture/CaptureFeed.h"

#include <gtest/gtest.h>

#include <atomic>
#include <fstream>
#include <iterator>

#include "host/base/Failure.h"
#include "host/capture/CaptureReader.h"
#include "serial/Capture.h"
#include "tests/support/TemporaryFolder.h"

namespace {

class Feed : public testing::Test {
 protected:
  Feed() { capture::close(); }
  ~Feed() override { capture::close(); }

  // Counts the notes that arrive, on the feed's thread.
  void receive(std::span<const std::uint8_t> bytes)
  {
    reader_.add(bytes);
    while (const auto block = reader_.next()) {
      if (block->kind == CaptureBlock::Kind::section) ++sections_;
      if (block->text.starts_with("lost ")) lost_ += std::stoi(std::string(block->text.substr(5)));
      if (block->text == "note") ++notes_;
      if (block->text == "end") ++ends_;
    }
  }

  CaptureFeed::Receiver receiver()
  {
    return [this](std::span<const std::uint8_t> bytes) { receive(bytes); };
  }

  static void write(int notes)
  {
    capture::open();
    ASSERT_TRUE(capture::isOn()) << capture::takeError();
    for (int note = 0; note < notes; ++note)
      capture::note("note");
  }

  const TemporaryFolder folder_;
  CaptureReader reader_;
  int sections_ = 0, lost_ = 0, notes_ = 0;
  std::atomic<int> ends_{0};
};

TEST_F(Feed, OfAWriterThatIsTooFastEachBlockIsReceivedOrCounted)
{
  CaptureFeed feed(folder_.path());
  constexpr int tooMany = 100'000;  // 4.8 MB
  write(tooMany);
  feed.start(receiver(), nullptr);
  int ends = 0;
  while (ends_ == 0) {
    capture::note("end");
    capture::flush();
    ++ends;
    std::this_thread::yield();
  }
  capture::close();
  feed.pause();
  EXPECT_EQ(notes_ + ends_ + lost_, tooMany + ends);
  EXPECT_GT(lost_, 0);
  EXPECT_EQ(reader_.skippedBytes() + reader_.unfinishedBytes(), 0U);
}

TEST_F(Feed, AFileGetsTheSameBytesBehindWhatItHeld)
{
  const auto path = folder_ / "kept.pcapng";
  const std::string kept = "\n\r\r\n, a section";
  folder_.write("kept.pcapng", kept);
  std::string received;
  CaptureFile file(path);
  EXPECT_THROW(CaptureFile second(path), Failure) << "it is locked";
  CaptureFeed feed(folder_.path());
  feed.start(
      [&](std::span<const std::uint8_t> bytes) {
        received.append(bytes.begin(), bytes.end());
        throw std::runtime_error("receiver");
      },
      &file);
  write(1);
  capture::close();
  EXPECT_THROW(feed.pause(), std::runtime_error);
  feed.pause();
  EXPECT_GT(received.size(), 100U);
  std::ifstream content(path, std::ios::binary);
  EXPECT_TRUE(std::string(std::istreambuf_iterator<char>(content), {}).starts_with(kept + received))
      << "a receiver that throws is not called again, but the file goes on";
  EXPECT_EQ(file.problem(), "");
}

TEST_F(Feed, StopsAtOnceWithoutAFinishAndLeavesNoVariable)
{
  host::setEnvironment("TESSEL_CAPTURE", "of the user");
  EXPECT_EQ(takeCaptureVariable(), "of the user");
  EXPECT_TRUE(takeCaptureVariable().empty());
  {
    CaptureFeed feed(folder_.path());
    EXPECT_FALSE(host::environmentPath("TESSEL_CAPTURE").empty());
    feed.start(receiver(), nullptr);
  }
  EXPECT_TRUE(host::environmentPath("TESSEL_CAPTURE").empty());
  capture::open();
  EXPECT_FALSE(capture::isOn());
  EXPECT_EQ(folder_.list(), "");
}

}  // namespace

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "host/capture/LinkAccounts.h"
#include "host/session/BooksText.h"

namespace {

using namespace std::chrono_literals;
using Samples = std::vector<std::uint16_t>;

// A capture of gloves that send frames of 2 packets, 17 samples each, every 25 ms. They do not confirm the
// start of notifications.
class BooksTest : public testing::Test {
 public:
  static constexpr std::size_t elements = 17;

  void start(std::size_t gloves)
  {
    accounts_ = std::make_unique<LinkAccounts>(gloves, elements);
    for (std::size_t glove = 0; glove < gloves; ++glove) {
      block(CaptureBlock::Kind::sent, {0, 6, 4, 5, static_cast<std::uint8_t>(glove), 18, 0, 2, 1, 0});
    }
    accounts_->beginReading(now_);
  }
  void block(CaptureBlock::Kind kind, const std::vector<std::uint8_t>& bytes, const char* text = "")
  {
    now_ += 1us;
    accounts_->add({.kind = kind, .time = now_, .bytes = bytes, .text = text});
  }
  void packet(std::uint8_t glove, std::vector<std::uint8_t> packet)
  {
    packet.resize(20, value_);
    std::vector<std::uint8_t> message{0x80, 25, 4, 5, glove, 17, 0, 1, 20};
    message.insert(message.end(), packet.begin(), packet.end());
    block(CaptureBlock::Kind::received, message);
  }
  void first(std::uint8_t glove, std::uint8_t counter, std::uint16_t clock)
  {
    packet(glove, {static_cast<std::uint8_t>(counter << 4), 2, static_cast<std::uint8_t>(clock >> 8),
                   static_cast<std::uint8_t>(clock)});
  }
  // A whole frame, 25 ms after the previous one.
  void frame(std::uint8_t counter, std::uint16_t clock, std::uint8_t glove = 0)
  {
    now_ += 25ms;
    ++value_;
    first(glove, counter, clock);
    packet(glove, {1, 0});
  }
  // A record with the samples of the latest frame.
  void record(std::size_t gloves = 1, std::uint16_t difference = 0)
  {
    now_ += 1us;
    accounts_->addRecord(now_,
                         Samples(gloves * elements, static_cast<std::uint16_t>(value_ * 257 + difference)));
    accounts_->settle(now_ + 1us);
    accounts_->noteWritten();
  }
  void steady(std::uint8_t begin, std::uint8_t end)
  {
    for (std::uint8_t counter = begin; counter < end; ++counter) {
      frame(counter % 16, static_cast<std::uint16_t>(counter * 250));
      record();
    }
  }
  std::string text()
  {
    const Books books = accounts_->books(true);
    return framesText(books.gloves[0]) + "\n" + balanceText(books, {"left", "right"});
  }

  std::chrono::nanoseconds now_ = 100s;
  std::uint8_t value_ = 0;
  std::unique_ptr<LinkAccounts> accounts_;
};

TEST_F(BooksTest, AccountForEachFrameInWordsAndJson)
{
  // Of the frames 0 to 7 three are lost, and the last one comes twice.
  start(1);
  steady(0, 3);
  frame(4, 4 * 250);  // 3 was not heard
  record();
  now_ += 25ms;
  first(0, 5, 5 * 250);  // one packet is missing
  frame(6, 6 * 250);     // so the plug-in refuses this one
  frame(7, 7 * 250);
  record();
  frame(7, 7 * 250);  // the same once more
  record();
  frame(8, 8 * 250);  // not read any more
  EXPECT_EQ(
      text(),
      "9 frames sent, 1 repeated, 6 recorded, 4 lost (40.0 %): 1 unheard, 1 radio, 1 refused, 1 queued\n");
  EXPECT_EQ(
      booksJson(accounts_->books(true), {"left"}).dump(),
      R"({"left":{"sent":9,"repeated":1,"recorded":6,"ambiguous":0,"lost":{"unheard":1,"radio":1,"refused":1,)"
      R"("faulty":0,"pairing":0,"queued":1,"discarded":0}},"balanced":true})");
  EXPECT_FALSE(booksFailure(accounts_->books(true), {"left"}));
  EXPECT_EQ(accounts_->books(false).balanced(), std::nullopt) << "a frame is on its way";
}

TEST_F(BooksTest, AStrayByteBeforeAResponseDisconnectsNoGlove)
{
  start(1);
  steady(0, 2);
  block(CaptureBlock::Kind::received, {0x80, 0, 3, 4});  // and of the response to a command the first three
  block(CaptureBlock::Kind::received, {4, 0, 0, 0});
  steady(2, 4);
  EXPECT_EQ(text(), "4 frames sent, 4 recorded, 0 lost (0 %)\n");
}

TEST_F(BooksTest, SayWhatDoesNotBalance)
{
  const struct {
    const char* name;
    void (*happen)(BooksTest& test);
    const char* reason;
  } cases[] = {
      {"a record of other samples",
       [](BooksTest& test) {
         test.frame(3, 3 * 250);
         test.record(1, 1);
       },
       "the left glove sent 4 frames and repeated 0, but 4 were recorded and 1 lost; 1 record matches no "
       "frame that was heard"},
      {"a record of a later frame",
       [](BooksTest& test) {
         test.frame(3, 3 * 250);
         test.frame(4, 4 * 250);
         test.record();
       },
       "1 record is made of other frames than expected"},
      {"a clock that jumps",
       [](BooksTest& test) {
         for (std::uint8_t counter = 3; counter < 8; ++counter) {
           test.frame(counter, static_cast<std::uint16_t>(40'100 + counter * 250));
           test.record();
         }
       },
       "how many frames the left glove sent stays undecided in 1 place: its clock jumped, or its rate "
       "changed while nothing was heard"},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.name);
    start(1);
    steady(0, 3);
    row.happen(*this);
    accounts_->add({.kind = CaptureBlock::Kind::note, .time = now_, .bytes = {}, .text = "close"});
    const auto failure = booksFailure(accounts_->books(true), {"left"});
    ASSERT_TRUE(failure);
    EXPECT_EQ(failure->what(), std::string("the books do not balance: ") + row.reason + ".");
    EXPECT_EQ(failure->code(), ExitCode::books);
  }
}

TEST_F(BooksTest, WithoutAllOfTheCaptureTheyAreNotExact)
{
  start(2);
  frame(0, 0);
  block(CaptureBlock::Kind::note, {}, "lost 12 blocks");
  frame(1, 250);
  EXPECT_EQ(text(),
            "2 frames sent, 0 recorded, 2 lost (100.0 %): 2 queued\n"
            "  Parts of the capture are missing (12 blocks), so the numbers of frames are not exact.\n"
            "  All records that the plug-in delivered are kept.\n");
  EXPECT_FALSE(booksFailure(accounts_->books(true), {"left", "right"}));
  EXPECT_TRUE(booksJson(accounts_->books(true), {"left", "right"})["balanced"].is_null());
}

}  // namespace

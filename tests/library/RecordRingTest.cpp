#include "library/RecordRing.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <thread>

#include "library/EventQueue.h"
#include "tests/library/RecordBlock.h"

namespace {

using namespace std::chrono_literals;
using library::RecordRing;

// A record that shows its number in each value.
class Numbered {
 public:
  Numbered(std::uint64_t number, std::size_t elements) : number_(number), elements_(elements)
  {
    for (std::size_t glove = 0; glove < frames_.size(); ++glove) {
      frames_[glove] = {.number = signedNumber() + static_cast<std::int64_t>(glove),
                        .ticks = 10 * signedNumber(),
                        .sampledMs = time() - 1};
    }
    for (std::size_t index = 0; index < elements; ++index) {
      elements_[index] = static_cast<std::uint16_t>(number + index);
    }
  }

  Record record() const
  {
    return {.timeMs = time(),
            .arrivalMs = time() + 0.5,
            .pluginMs = static_cast<std::uint32_t>(number_),
            .frames = frames_,
            .elements = elements_};
  }

 private:
  std::int64_t signedNumber() const { return static_cast<std::int64_t>(number_); }
  double time() const { return static_cast<double>(number_); }

  std::uint64_t number_;
  std::array<GloveFrame, 2> frames_;
  std::vector<std::uint16_t> elements_;
};

void addTo(RecordRing& ring, std::uint64_t first, std::uint64_t end, std::size_t elements)
{
  for (std::uint64_t number = first; number < end; ++number) {
    ring.add(Numbered(number, elements).record());
  }
}

// Fails unless the block has the records that it says it has.
void expectRecords(const RecordBlock& block, std::size_t elements)
{
  RecordBlock wanted(1, block.view.gloves, block.view.elements);
  for (std::uint32_t row = 0; row < block.view.count; ++row) {
    library::copyRecord(Numbered(block.view.first + row, elements).record(), wanted.view, 0);
    if (block.row(row) == wanted.row(0)) continue;
    ADD_FAILURE() << "row " << row << " of " << block.view.count << ":\n"
                  << block.row(row) << "\ninstead of\n"
                  << wanted.row(0);
    return;
  }
}

// With a slow and a fast writer: each record is read once, or counted as dropped.
TEST(RecordRing, SeveralReadersShareTheRecords)
{
  constexpr std::uint64_t records = 10'000;
  constexpr std::size_t elements = 20;
  for (const bool isWriterFast : {false, true}) {
    RecordRing ring(200, 2, elements);
    std::vector<std::atomic<int>> reads(records);
    std::atomic<std::uint64_t> taken = 0;
    std::atomic<std::uint64_t> overflowed = 0;
    const auto take = [&](std::uint32_t capacity) {
      RecordBlock block(capacity, 3, elements + 2);  // rows of the caller may be wider
      std::uint64_t next = 0;
      while (ring.take(block.view, -1ms) > 0) {
        EXPECT_GE(block.view.first, next + block.view.overflowed);
        next = block.view.first + block.view.count;
        expectRecords(block, elements);
        for (std::uint64_t number = block.view.first; number < next; ++number) {
          ++reads[number];
        }
        taken += block.view.count;
        overflowed += block.view.overflowed;
      }
      overflowed += block.view.overflowed;
    };
    const auto copy = [&] {
      RecordBlock block(300, 2, elements);
      std::uint64_t end = 0;
      while (!ring.hasEnded()) {
        ring.copyLatest(block.view);
        EXPECT_GE(block.view.first + block.view.count, end) << "earlier ones than before";
        end = block.view.first + block.view.count;
        expectRecords(block, elements);
      }
    };
    {
      std::vector<std::jthread> readers;
      for (const std::uint32_t capacity : {1U, 50U, 1000U}) {
        readers.emplace_back(take, capacity);
      }
      readers.emplace_back(copy);
      for (std::uint64_t number = 0; number < records; ++number) {
        addTo(ring, number, number + 1, elements);
        if (!isWriterFast && number % 64 == 0) std::this_thread::yield();
      }
      ring.end();
    }
    EXPECT_EQ(taken + overflowed, records);
    EXPECT_EQ(overflowed, ring.counts().overflowed);
    EXPECT_EQ(std::ranges::count_if(reads, [](int count) { return count == 1; }),
              static_cast<std::int64_t>(taken));
    EXPECT_EQ(std::ranges::count_if(reads, [](int count) { return count == 0; }),
              static_cast<std::int64_t>(overflowed));
  }
}

TEST(EventQueue, KeepsTheLatestUntilTheyAreTaken)
{
  library::EventQueue queue;
  for (std::size_t number = 0; number < library::EventQueue::capacity + 2; ++number) {
    queue.add({.timeMs = number % 2 == 0 ? Record::unknown : 12.5,
               .event = "marker",
               .glove = "left",
               .detail = std::to_string(number) + " \"\xC3\xA4\xFF\n"});
  }
  EXPECT_EQ(queue.dropped(), 2U);
  EXPECT_THROW(queue.take([](const std::string&) { throw std::bad_alloc(); }), std::bad_alloc);
  std::vector<std::string> texts;
  while (queue.take([&](const std::string& text) { texts.push_back(text); })) {
  }
  ASSERT_EQ(texts.size(), library::EventQueue::capacity);
  EXPECT_EQ(texts[0], R"({"timeMs":null,"event":"marker","glove":"left","detail":"2 \"\u00e4\ufffd\n"})");
  EXPECT_EQ(texts[1], R"({"timeMs":12.5,"event":"marker","glove":"left","detail":"3 \"\u00e4\ufffd\n"})");
}

}  // namespace

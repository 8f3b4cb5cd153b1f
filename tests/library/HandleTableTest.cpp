#include "library/HandleTable.h"

#include <gtest/gtest.h>

#include <atomic>
#include <mutex>
#include <set>
#include <thread>

namespace {

using library::HandleTable;

TEST(HandleTable, AHandleMeansItsObjectOnly)
{
  HandleTable<int> table(1);
  HandleTable<int> others(2);
  const auto first = table.add(std::make_shared<int>(1));
  const auto second = table.add(std::make_shared<int>(2));
  const auto foreign = others.add(std::make_shared<int>(3));
  EXPECT_EQ(*table.find(first), 1);
  EXPECT_EQ(*table.find(second), 2);
  EXPECT_EQ(table.handles(), (std::vector{first, second}));

  EXPECT_EQ(*table.remove(first), 1);
  const auto reused = table.add(std::make_shared<int>(4));
  EXPECT_EQ(*table.find(reused), 4);
  const std::uint64_t wrong[] = {0,           1,           first, foreign, second ^ 1,
                                 second << 1, second >> 1, ~0ULL, ~second, second + (1ULL << 32)};
  for (const std::uint64_t handle : wrong) {
    EXPECT_EQ(table.find(handle), nullptr) << handle;
    EXPECT_EQ(table.remove(handle), nullptr) << handle;
  }
  EXPECT_EQ(table.handles(), (std::vector{reused, second}));
}

TEST(HandleTable, AnObjectInUseOutlivesItsHandle)
{
  HandleTable<int> table(1);
  const auto handle = table.add(std::make_shared<int>(5));
  const auto used = table.find(handle);
  table.remove(handle);
  EXPECT_EQ(*used, 5);
  EXPECT_EQ(used.use_count(), 1);
}

TEST(HandleTable, EachObjectIsRemovedByOneThread)
{
  constexpr int threads = 4;
  constexpr int rounds = 2000;
  HandleTable<int> table(1);
  std::atomic<std::uint64_t> shared = 0;
  std::atomic<int> removed = 0;
  std::mutex mutex;
  std::set<std::uint64_t> all;
  const auto run = [&] {
    std::vector<std::uint64_t> own;
    for (int round = 0; round < rounds; ++round) {
      own.push_back(table.add(std::make_shared<int>(round)));
      // Another thread may have closed it already, or never sees it.
      for (const std::uint64_t handle : {shared.exchange(own.back()), own[own.size() / 2]}) {
        const auto found = table.find(handle);
        if (found) {
          EXPECT_LT(*found, rounds);
        }
        if (table.remove(handle)) ++removed;
      }
    }
    const std::scoped_lock lock(mutex);
    all.insert(own.begin(), own.end());
  };
  {
    std::vector<std::jthread> running;
    running.reserve(threads);
    for (int thread = 0; thread < threads; ++thread) {
      running.emplace_back(run);
    }
  }
  EXPECT_EQ(all.size(), threads * rounds) << "handles must not repeat";
  EXPECT_EQ(removed + static_cast<int>(table.handles().size()), threads * rounds);
}

}  // namespace

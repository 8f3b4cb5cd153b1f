#include "library/HandleTable.h"

#include <gtest/gtest.h>

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

}  // namespace

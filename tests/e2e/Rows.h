// The rows of a CSV recording of two gloves.
#pragma once

#include <gtest/gtest.h>

#include <sstream>

#include "tests/support/PtyGloves.h"
#include "tests/support/TemporaryFolder.h"

using Rows = std::vector<std::vector<unsigned>>;

// The rows of a recording; each has the plug-in's timestamp and all elements, or the test fails.
inline Rows recordedRows(const TemporaryFolder& folder, const std::string& name)
{
  std::istringstream lines(folder.read(name));
  std::string line;
  std::getline(lines, line);
  EXPECT_TRUE(
      line.starts_with("time_ms,arrival_ms,plugin_ms,left_frame,left_ticks,left_ms,right_frame,right_ticks,"
                       "right_ms,left_"))
      << line;
  Rows rows;
  while (std::getline(lines, line)) {
    std::istringstream cells(line);
    auto& row = rows.emplace_back();
    std::string cell;
    for (std::size_t column = 0; std::getline(cells, cell, ','); ++column) {
      if (column == 2 || column >= 9) row.push_back(static_cast<unsigned>(std::stoul(cell)));
    }
    EXPECT_EQ(row.size(), 251U) << line;
  }
  return rows;
}

// Every element is what PtyGloves sent.
inline void expectSent(const Rows& rows, std::size_t count)
{
  ASSERT_EQ(rows.size(), count);
  for (const auto& row : rows) {
    for (unsigned glove = 0; glove < 2; ++glove) {
      const unsigned* const elements = &row[1 + 125 * std::size_t{glove}];
      for (std::size_t element = 0; element < 125; ++element) {
        ASSERT_EQ(elements[element], PtyGloves::movement(glove, element, elements[0]));
      }
    }
  }
}

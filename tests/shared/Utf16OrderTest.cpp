#include "shared/Utf16Order.h"

#include <gtest/gtest.h>

#include <string>

namespace {

TEST(Utf16Less, OrdersByTheFirstDifferentCodeUnitThenByLength)
{
  // Each text is below the next. U+10000 is D800 DC00 in UTF-16, so it precedes U+E000 and U+FF5E.
  const std::wstring ordered[] = {L"",           L"A",          L"AB",     L"Aa",
                                  L"B",          L"a",          L"\xD7FF", L"\U00010000",
                                  L"\U00010001", L"\U0010FFFF", L"\xE000", L"\xFF5E"};
  const Utf16Less less;
  for (const auto& left : ordered) {
    for (const auto& right : ordered) {
      EXPECT_EQ(less(left, right), &left < &right) << &left - ordered << " and " << &right - ordered;
    }
  }
}

}  // namespace

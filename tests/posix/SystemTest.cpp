#include "shared/System.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>

namespace {

TEST(PosixSystem, TheTimeHasTwelveHoursWithAmAndPm)
{
  // The time zones from UTC to 23 hours behind it show each hour of the day once.
  for (int behind = 0; behind < 24; ++behind) {
    ::setenv("TZ", ("ZONE+" + std::to_string(behind)).c_str(), 1);
    ::tzset();
    const int hour = static_cast<int>((std::time(nullptr) / 3600 + 24 - behind) % 24);
    const std::wstring text = os::timeText();
    ASSERT_EQ(text.size(), 11U);
    const int expected = hour == 0 || hour == 12 ? 12 : hour < 12 ? hour : hour - 12;
    EXPECT_EQ(std::stoi(text.substr(0, 2)), expected) << hour;
    EXPECT_EQ(text.substr(8), hour < 12 ? L" AM" : L" PM") << hour;
  }
}

}  // namespace

#include "shared/Assertion.h"

#include <gtest/gtest.h>

#include <string>

TEST(Assertion, AFailureThrowsItsTextWhichOutlivesUnwindingAndIsCutWhenLong)
{
  checkAssertion(true, L"", L"", 0, L"");
  const wchar_t* caught = L"";
  try {
    checkAssertion(false, L"0 != folders_", L"..\\shared\\Folder", 23, std::wstring(600, L'f').c_str());
  } catch (const wchar_t* text) {
    caught = text;
  }
  const std::wstring whole = L"Assertion failed: 0 != folders_, function: " + std::wstring(600, L'f');
  EXPECT_EQ(caught, whole.substr(0, 511));
  EXPECT_THROW(reportAssertion(L"a", L"b", 23, L"c"), const wchar_t*);
  EXPECT_STREQ(caught, L"Assertion failed: a, function: c, file: b, line 23");
}

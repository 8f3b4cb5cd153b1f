#include "shared/Assertion.h"

#include <gtest/gtest.h>

#include <string>

namespace {

std::wstring reported(const std::wstring& expression)
{
  try {
    checkAssertion(false, expression.c_str(), L"..\\shared\\Folder", 23, L"folder::folders");
  } catch (const wchar_t* text) {
    return text;
  }
  return L"nothing thrown";
}

TEST(Assertion, AFailedOneThrowsItsTextWhichOutlivesTheUnwinding)
{
  checkAssertion(true, L"", L"", 0, L"");
  EXPECT_EQ(reported(L"0 != folders_"),
            L"Assertion failed: 0 != folders_, function: folder::folders, file: ..\\shared\\Folder, line 23");
}

TEST(Assertion, ALongTextIsCut)
{
  EXPECT_EQ(reported(std::wstring(1000, L'x')), L"Assertion failed: " + std::wstring(511 - 18, L'x'));
}

}  // namespace

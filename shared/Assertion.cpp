#include "shared/Assertion.h"

#include <array>
#include <sstream>
#include <string>

namespace {

// A plain array: thread-local data with a destructor would keep the library loaded until the thread ends.
thread_local std::array<wchar_t, 512> reportText;

}  // namespace

void reportAssertion(const wchar_t* expression, const wchar_t* file, std::uint32_t line,
                     const wchar_t* function)
{
  std::wostringstream text;
  text << L"Assertion failed: " << expression << L", function: " << function << L", file: " << file
       << L", line " << line;
  const std::size_t length = text.str().copy(reportText.data(), reportText.size() - 1);
  reportText[length] = L'\0';
  throw static_cast<const wchar_t*>(reportText.data());
}

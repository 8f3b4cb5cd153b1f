// The assertion report that host and plug-ins share. A failed assertion leaves the operation as a thrown
// `const wchar_t*`. Its text stays valid until the same thread fails another assertion, so a handler may
// print it; it is cut after 511 characters.
#pragma once

#include <cstdint>

[[noreturn]] void reportAssertion(const wchar_t* expression, const wchar_t* file, std::uint32_t line,
                                  const wchar_t* function);

// Does nothing if `condition` holds; otherwise reports. Inline, because it runs for each element of a record.
inline void checkAssertion(bool condition, const wchar_t* expression, const wchar_t* file, std::uint32_t line,
                           const wchar_t* function)
{
  if (!condition) reportAssertion(expression, file, line, function);
}

// What the program says: results on standard output, everything else on standard error.
// Threads: any. Errors: none; what standard error does not take is lost, and whether standard output took all
// is asked once, at the end of the program.
#pragma once

#include <fmt/format.h>

#include <cstdio>
#include <utility>

namespace console {

template <class... Values>
void print(fmt::format_string<Values...> format, Values&&... values)
{
  std::fputs(fmt::format(format, std::forward<Values>(values)...).c_str(), stdout);
}

template <class... Values>
void tell(fmt::format_string<Values...> format, Values&&... values)
{
  std::fputs(fmt::format(format, std::forward<Values>(values)...).c_str(), stderr);
}

}  // namespace console

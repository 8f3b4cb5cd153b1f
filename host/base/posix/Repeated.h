// Repeats a call to the system until no signal interrupts it.
#pragma once

#include <cerrno>

namespace host {

template <class Call>
auto repeated(const Call& call)
{
  for (;;) {
    const auto result = call();
    if (result != -1 || errno != EINTR) return result;
  }
}

}  // namespace host

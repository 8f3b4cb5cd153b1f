// Repeats a call to the system until no signal of the host interrupts it.
#pragma once

#include <cerrno>

namespace platform::posix {

template <class Call>
auto repeated(const Call& call)
{
  for (;;) {
    const auto result = call();
    if (result != -1 || errno != EINTR) return result;
  }
}

}  // namespace platform::posix

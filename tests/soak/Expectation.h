// What has to hold in a life.
#pragma once

#include <stdexcept>

#include "simulator/WordReader.h"

// It did not: the parts say what happened.
struct Broken : std::runtime_error {
  using runtime_error::runtime_error;
};

template <class... Parts>
void expect(bool holds, const Parts&... parts)
{
  if (!holds) throw Broken(simulator::toText(parts...));
}

// How long a random test runs, and with which seed, can be set by an environment variable.
#pragma once

#include <cstdlib>

inline double fromEnvironment(const char* name, double otherwise)
{
  const char* const text = std::getenv(name);
  return text != nullptr ? std::atof(text) : otherwise;
}

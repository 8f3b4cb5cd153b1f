// What a Failure says.
#pragma once

#include <optional>
#include <string>

#include "host/base/Failure.h"

// The failure that an action ends with; nothing if it ends without one.
template <class Action>
std::optional<Failure> failureOf(const Action& action)
{
  try {
    action();
    return std::nullopt;
  } catch (const Failure& failure) {
    return failure;
  }
}

// The words of an action's failure; empty if there is none.
template <class Action>
std::string refusal(const Action& action)
{
  const auto failure = failureOf(action);
  return failure ? failure->what() : "";
}

// The results of a step, in short.
#pragma once

#include <string>
#include <utility>

#include "host/doctor/Step.h"

inline Step ok(std::string name, std::string text)
{
  return {.name = std::move(name), .text = std::move(text)};
}

inline Step skipped(std::string name, std::string why)
{
  return {.name = std::move(name), .result = Step::Result::skipped, .text = std::move(why)};
}

inline Step warning(std::string name, std::string text, std::string fix)
{
  return {.name = std::move(name),
          .result = Step::Result::warning,
          .text = std::move(text),
          .fix = std::move(fix)};
}

inline Step failed(std::string name, ExitCode code, std::string text, std::string fix)
{
  return {.name = std::move(name),
          .result = Step::Result::failed,
          .text = std::move(text),
          .fix = std::move(fix),
          .code = code};
}

// `commands` follow the failure's own advice.
inline Step failed(std::string name, const Failure& failure, const std::string& commands = "")
{
  return failed(std::move(name), failure.code(), failure.what(), failure.advice() + commands);
}

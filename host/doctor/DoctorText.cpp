#include "host/doctor/DoctorText.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <sstream>

#include "host/base/Characters.h"

namespace {

const char* wordFor(Step::Result result)
{
  switch (result) {
    case Step::Result::ok:
      return "ok";
    case Step::Result::warning:
      return "warning";
    case Step::Result::failed:
      return "failed";
    case Step::Result::skipped:
      break;
  }
  return "skipped";
}

}  // namespace

std::string stepText(const Step& step)
{
  constexpr int resultWidth = 8;
  constexpr int nameWidth = 15;
  const char* const word = step.result == Step::Result::failed    ? "FAILED"
                           : step.result == Step::Result::warning ? "WARNING"
                                                                  : wordFor(step.result);
  std::string text =
      fmt::format("{:{}}{:{}}{}\n", word, resultWidth, step.name, nameWidth, printable(step.text));
  std::istringstream fix(step.fix);
  for (std::string line; std::getline(fix, line);) {
    text += fmt::format("{:{}}> {}\n", "", resultWidth, printable(line));
  }
  return text;
}

nlohmann::ordered_json doctorJson(const std::vector<Step>& steps, const std::string& verdict)
{
  nlohmann::ordered_json json;
  json["steps"] = nlohmann::ordered_json::array();
  for (const Step& step : steps) {
    json["steps"].push_back(
        {{"name", step.name}, {"result", wordFor(step.result)}, {"text", step.text}, {"fix", step.fix}});
  }
  json["verdict"] = verdict;
  return json;
}

#include "host/base/Console.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstdio>

namespace console {

namespace {

void forEachLine(std::string_view text, void (*act)(std::string_view line))
{
  while (!text.empty()) {
    const std::string_view line = text.substr(0, text.find('\n'));
    act(line);
    text.remove_prefix(std::min(line.size() + 1, text.size()));
  }
}

std::string jsonText(const nlohmann::ordered_json& json, int indent)
{
  return json.dump(indent, ' ', true, nlohmann::json::error_handler_t::replace) + '\n';
}

}  // namespace

void detail::write(const std::string& text)
{
  std::fputs(text.c_str(), stdout);
}

void detail::writeMessage(const std::string& text)
{
  std::fputs(text.c_str(), stderr);
  // Some C libraries for Windows buffer it, unless it is a console.
  std::fflush(stderr);
}

void notice(const std::string& line)
{
  report("{}\n", line);
}

void printLines(std::string_view text)
{
  forEachLine(text, [](std::string_view line) { print("{}\n", line); });
}

void reportLines(std::string_view text)
{
  forEachLine(text, [](std::string_view line) { report("{}\n", line); });
}

void printJson(const nlohmann::ordered_json& json)
{
  detail::write(jsonText(json, 2));
}

void printJsonLine(const nlohmann::ordered_json& json)
{
  detail::write(jsonText(json, -1));
}

}  // namespace console

// The program's output: results on standard output, everything else on standard error.
// Values inserted into a message may be untrusted: a radio name, a file's content or a path. They are made
// printable here, just before output, so only the format string itself can break a line.
// Threads: any. Errors: none; text that standard error refuses is lost, and main() checks once, at the end,
// whether standard output accepted everything.
#pragma once

#include <fmt/format.h>
#include <nlohmann/json_fwd.hpp>

#include <string>
#include <string_view>
#include <type_traits>

#include "host/base/Characters.h"

namespace console {

namespace detail {

template <class Value>
auto shown(const Value& value)
{
  if constexpr (std::is_same_v<Value, char>) {
    return printable({&value, 1});
  } else if constexpr (std::is_convertible_v<const Value&, std::string_view>) {
    return printable(value);
  } else {
    static_assert(std::is_arithmetic_v<Value>, "pass text as a string, so that it can be made printable");
    return value;
  }
}

template <class... Values>
std::string message(fmt::string_view format, const Values&... values)
{
  return fmt::vformat(format, fmt::make_format_args(values...));
}

void write(const std::string& text);
void writeMessage(const std::string& text);

}  // namespace detail

template <class... Values>
void print(fmt::format_string<const Values&...> format, const Values&... values)
{
  detail::write(detail::message(format, detail::shown(values)...));
}

template <class... Values>
void report(fmt::format_string<const Values&...> format, const Values&... values)
{
  detail::writeMessage(detail::message(format, detail::shown(values)...));
}

// A line for the user that may contain untrusted text: what everything below the commands reports through.
void notice(const std::string& line);

// A text of several lines that the program itself has formatted.
void printLines(std::string_view text);
void reportLines(std::string_view text);

// ASCII only, so nothing needs escaping.
void printJson(const nlohmann::ordered_json& json);
// As one line.
void printJsonLine(const nlohmann::ordered_json& json);

}  // namespace console

// What the program says: results on standard output, everything else on standard error.
// What is inserted into a message may come from anybody near, in a name, a file or a path. So it is made
// printable here, at the end of its way, and only the message's own words can break a line.
// Threads: any. Errors: none; what standard error does not take is lost, and whether standard output took all
// is asked once, at the end of the program.
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
    static_assert(std::is_arithmetic_v<Value>, "text goes in as a string, so that it can be made printable");
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
void tell(fmt::format_string<const Values&...> format, const Values&... values)
{
  detail::writeMessage(detail::message(format, detail::shown(values)...));
}

// A text of several lines that the program itself has laid out.
void printLines(std::string_view text);
void tellLines(std::string_view text);

// In ASCII, which needs no further care.
void printJson(const nlohmann::ordered_json& json);

}  // namespace console

// The friendly text of a port, "NAME (COMn)": one parser for finding a port and for opening it.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace platform {

// The number n of a text that begins with `name (COMn`, parsed as by scanf: a space in the pattern matches
// any run of white space, and whatever follows the digits is ignored. Conversion specifiers in a name are
// plain text.
std::optional<std::int32_t> portNumber(std::string_view friendlyText, const std::string& name);

}  // namespace platform

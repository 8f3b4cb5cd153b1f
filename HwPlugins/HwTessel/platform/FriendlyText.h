// The friendly text of a port, "NAME (COMn)": one reading of it for whoever looks for a port and whoever
// opens it.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace platform {

// The number n of a text that begins with `name (COMn`, read as scanf reads it: a space in the pattern
// matches any run of white space, and what follows the digits does not matter. A name that contains a scanf
// pattern is plain text here.
std::optional<std::int32_t> portNumber(std::string_view friendlyText, const std::string& name);

}  // namespace platform

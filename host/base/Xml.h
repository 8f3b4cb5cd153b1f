// Text in XML.
#pragma once

#include <optional>
#include <string>
#include <string_view>

// Escaped for text and attribute values. Characters that can't be printed are replaced, since XML does not
// allow most of them.
std::string xmlText(std::string_view text);
// The text of the first element of this name, which must have neither attributes nor other elements.
std::optional<std::string> xmlElement(std::string_view xml, std::string_view name);

// The advertised names of gloves, as the plug-in returns them: five letters for the kind, five digits of
// serial number, and possibly more. Names are untrusted: any device can advertise any name. Throws only
// std::bad_alloc.
#pragma once

#include <string>
#include <string_view>
#include <vector>

// The names in the plug-in's module map, "COUNT:NAME:NAME", which has one wide character per byte of a name.
// Always COUNT names, whatever they contain; none if the text is no module map.
std::vector<std::string> parseModuleMap(std::wstring_view map);

// "left", "right" or "glove".
std::string sideOfModule(std::string_view name);

// 0 if the name has none.
int serialNumberOfModule(std::string_view name);

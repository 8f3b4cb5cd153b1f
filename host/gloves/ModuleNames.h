// The names that gloves advertise, as the plug-in returns them: five letters for the kind, five characters of
// serial number, and whatever else the glove, or somebody who poses as one, has put behind them.
// Throws only std::bad_alloc.
#pragma once

#include <string>
#include <string_view>
#include <vector>

// The names in the plug-in's module map, "COUNT:NAME:NAME", whose characters are the bytes of the names.
// There are as many as the count says, whatever the names hold; none if the text is no module map.
std::vector<std::string> parseModuleMap(std::wstring_view map);

// "left", "right" or "glove".
std::string sideOfModule(std::string_view name);

// 0 if the name has none.
int serialNumberOfModule(std::string_view name);

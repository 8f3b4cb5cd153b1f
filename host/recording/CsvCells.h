// The cells of CSV files.
#pragma once

#include <string>
#include <string_view>

// A time in ms with two decimals; nothing if it is unknown.
void appendTime(std::string& line, double ms);

// A text of any content, on one line of printable characters and quoted where necessary.
void appendText(std::string& line, std::string_view text);

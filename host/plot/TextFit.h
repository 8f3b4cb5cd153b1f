// Estimates the width of text in pixels, as wide as in any common sans-serif font, so that nothing overlaps.
#pragma once

#include <string>
#include <string_view>

double textWidth(std::string_view text, double fontSize);

// As much of the text as fits, with an ellipsis in place of the rest.
std::string shortened(std::string_view text, double width, double fontSize);

// Draws a layout as a self-contained SVG: both hands at the same scale, with the numbers of their elements.
#pragma once

#include <string>
#include <string_view>

#include "host/recording/HandLayout.h"

// Marks every such picture, near its beginning.
inline constexpr std::string_view layoutPictureMark = "Drawn by tessel layout";

// Both hands must have positions.
std::string drawLayout(const HandLayout& layout, const std::string& title);

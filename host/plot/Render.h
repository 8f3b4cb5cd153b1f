// Converts pictures from SVG to PNG and PDF, with librsvg and cairo. A build without these libraries has
// RenderUnavailable.cpp instead, which always fails.
// Units: the SVG's pixels are 1/96 inch. Errors: a Failure.
#pragma once

#include <string>

inline constexpr double svgDpi = 96;

// Rendered at this resolution, which the file states so that it is printed in its size.
std::string renderPng(const std::string& svg, double dpi);
std::string renderPdf(const std::string& svg);

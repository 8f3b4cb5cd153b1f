// Places the texts of markers above a picture so that none overlaps another, or the line of another.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

struct MarkedPosition {
  double x;  // of the marker's line, in pixels
  std::string text;
  std::size_t number;  // among all markers, from 1
};

struct MarkerLabel {
  double x;         // of the marker's line, to the right of which the text begins
  std::size_t row;  // 0 is next to the picture; the line extends to this row
  std::string text;
};

// Of the markers, from left to right, as many as fit: with their texts, or if these are too dense, with their
// numbers. `right` is the end of the space.
std::vector<MarkerLabel> placeLabels(const std::vector<MarkedPosition>& markers, double right,
                                     double fontSize);

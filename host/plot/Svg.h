// Writes an SVG shape by shape, later ones on top. Text is escaped, and characters that XML does not allow
// are replaced. Coordinates are pixels from the top left.
#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>

#include "host/plot/ColourMap.h"

struct Box {
  double left;
  double top;
  double width;
  double height;

  double right() const { return left + width; }
  double bottom() const { return top + height; }
};

// Of text without another one.
inline constexpr double svgFontSize = 11;

class Svg {
 public:
  // The comment precedes the picture.
  Svg(double width, double height, std::string_view comment);

  // `attributes` is XML and not escaped.
  void text(double x, double y, std::string_view text, std::string_view attributes);
  void line(double x1, double y1, double x2, double y2, std::string_view attributes);
  void rectangle(const Box& box, std::string_view attributes);
  // Clipped to the box.
  void path(const Box& box, std::string_view data, std::string_view attributes);
  // Scaled to the box without smoothing.
  void image(const Box& box, std::span<const std::uint8_t> png);
  // The colour map, the lowest count at the bottom.
  void colourBar(const Box& box);

  std::string finish();

 private:
  std::string text_;
};

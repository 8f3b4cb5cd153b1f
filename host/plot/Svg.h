// Writes an SVG, shape after shape, later ones on top. Any text may be given: what XML does not allow is
// replaced. Lengths are pixels from the top left.
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

// As it may stand in XML, between tags and in quotes.
std::string xmlText(std::string_view text);

class Svg {
 public:
  // The comment stands at the very beginning.
  Svg(double width, double height, std::string_view comment);

  // The attributes are XML.
  void text(double x, double y, std::string_view text, std::string_view attributes);
  void line(double x1, double y1, double x2, double y2, std::string_view attributes);
  void rectangle(const Box& box, std::string_view attributes);
  // Of what the path draws only the part in the box is seen.
  void path(const Box& box, std::string_view data, std::string_view attributes);
  // Its pixels may be stretched, and stay sharp.
  void image(const Box& box, std::span<const std::uint8_t> png);
  // The colour map, the lowest count at the bottom.
  void colourBar(const Box& box);

  std::string finish();

 private:
  std::string text_;
};

#include "host/plot/LayoutPicture.h"

#include <fmt/format.h>

#include <algorithm>

#include "host/plot/HandPicture.h"
#include "host/plot/TextFit.h"

namespace {

constexpr double width = 1000;
constexpr double border = 20;
constexpr double headerHeight = 62;
constexpr double footerHeight = 40;
constexpr double maxHandHeight = 760;
constexpr double titleFontSize = 16;

// As long as a hand is wide, more or less, and a round number of mm.
void drawScale(Svg& svg, double scale, double baseline)
{
  constexpr double length = 50;
  const double left = (width - length * scale) / 2;
  const double right = left + length * scale;
  constexpr const char* style = "stroke=\"#5a6470\" stroke-width=\"1\"";
  svg.line(left, baseline, right, baseline, style);
  svg.line(left, baseline - 4, left, baseline + 4, style);
  svg.line(right, baseline - 4, right, baseline + 4, style);
  svg.text(width / 2, baseline - 5, fmt::format("{:g} mm", length), "text-anchor=\"middle\"");
}

HandPicture pictureOf(const HandLayout& layout, bool isLeft)
{
  const char* const side = isLeft ? "left" : "right";
  return {.hand = isLeft ? layout.left() : layout.right(),
          .label = std::string(side) + (layout.mirrored() == side ? " (mirror image)" : ""),
          .hasNumbers = true};
}

}  // namespace

std::string drawLayout(const HandLayout& layout, const std::string& title)
{
  HandPicture left = pictureOf(layout, true);
  HandPicture right = pictureOf(layout, false);
  constexpr double handWidth = width / 2 - 1.5 * border;
  const double height =
      std::min(maxHandHeight, std::max(heightOf(left, handWidth), heightOf(right, handWidth)));
  const Box leftBox{border, headerHeight, handWidth, height};
  const Box rightBox{width - border - handWidth, headerHeight, handWidth, height};
  left.scale = right.scale = std::min(scaleOf(left, leftBox), scaleOf(right, rightBox));

  Svg svg(width, headerHeight + height + footerHeight, layoutPictureMark);
  svg.text(border, 28, shortened(title, width - 2 * border, titleFontSize),
           fmt::format("font-size=\"{}\" font-weight=\"bold\"", titleFontSize));
  svg.text(border, 46, fmt::format("{} elements per glove, seen on the palm", layout.elements()), "");
  draw(svg, leftBox, left);
  draw(svg, rightBox, right);
  drawScale(svg, left.scale, headerHeight + height + footerHeight - 14);
  return svg.finish();
}

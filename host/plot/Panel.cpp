#include "host/plot/Panel.h"

#include <fmt/core.h>

#include "host/plot/TextFit.h"

std::string fillOf(const Colour& colour)
{
  return fmt::format("fill=\"#{:02x}{:02x}{:02x}\"", colour.red, colour.green, colour.blue);
}

void drawTick(Svg& svg, const Box& panel, double y, std::string_view label)
{
  svg.line(panel.left - tickLength, y, panel.left, y, axisStyle);
  svg.text(panel.left - tickDistance, y + 4, label, "text-anchor=\"end\"");
}

void drawAxisName(Svg& svg, const Box& panel, std::string_view name)
{
  const double x = 18;
  const double y = panel.top + panel.height / 2;
  svg.text(x, y, name, fmt::format("text-anchor=\"middle\" transform=\"rotate(-90 {:.1f} {:.1f})\"", x, y));
}

void drawPanelName(Svg& svg, const Box& panel, std::string_view name, std::string_view detail)
{
  constexpr double nameSize = 13;
  const double y = panel.top - nameDistance;
  const std::string fitting = shortened(name, panel.width, nameSize);
  svg.text(panel.left, y, fitting,
           "font-size=\"13\" font-weight=\"bold\" fill=\"#111\" stroke=\"#fff\" stroke-width=\"3\" "
           "paint-order=\"stroke\"");
  const double x = panel.left + textWidth(fitting, nameSize) + nameDistance;
  if (detail.empty() || x >= panel.right()) return;
  svg.text(x, y, shortened(detail, panel.right() - x, svgFontSize),
           "fill=\"#666\" stroke=\"#fff\" stroke-width=\"3\" paint-order=\"stroke\"");
}

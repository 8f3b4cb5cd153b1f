#include "host/plot/Svg.h"

#include <fmt/format.h>

#include <iterator>
#include <utility>

#include "host/base/Xml.h"
#include "host/plot/Png.h"

Svg::Svg(double width, double height, std::string_view comment)
{
  text_ = fmt::format(
      "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<!-- {} -->\n"
      "<svg xmlns=\"http://www.w3.org/2000/svg\" xmlns:xlink=\"http://www.w3.org/1999/xlink\" "
      "width=\"{:.0f}\" height=\"{:.0f}\" viewBox=\"0 0 {:.0f} {:.0f}\" "
      "font-family=\"'Helvetica Neue', Helvetica, Arial, sans-serif\" font-size=\"{}\" fill=\"#333\">\n"
      "<defs><linearGradient id=\"counts\" x1=\"0\" y1=\"1\" x2=\"0\" y2=\"0\">",
      comment, width, height, width, height, svgFontSize);
  for (std::size_t stop = 0; stop < colourStops.size(); ++stop) {
    const Colour& colour = colourStops[stop];
    fmt::format_to(std::back_inserter(text_), "<stop offset=\"{:.4f}\" stop-color=\"#{:02x}{:02x}{:02x}\"/>",
                   static_cast<double>(stop) / static_cast<double>(colourStops.size() - 1), colour.red,
                   colour.green, colour.blue);
  }
  text_ += "</linearGradient></defs>\n";
  rectangle({0, 0, width, height}, "fill=\"#fff\"");
}

void Svg::text(double x, double y, std::string_view text, std::string_view attributes)
{
  fmt::format_to(std::back_inserter(text_), "<text x=\"{:.1f}\" y=\"{:.1f}\" {}>{}</text>\n", x, y,
                 attributes, xmlText(text));
}

void Svg::line(double x1, double y1, double x2, double y2, std::string_view attributes)
{
  fmt::format_to(std::back_inserter(text_),
                 "<line x1=\"{:.1f}\" y1=\"{:.1f}\" x2=\"{:.1f}\" y2=\"{:.1f}\" {}/>\n", x1, y1, x2, y2,
                 attributes);
}

void Svg::rectangle(const Box& box, std::string_view attributes)
{
  fmt::format_to(std::back_inserter(text_),
                 "<rect x=\"{:.1f}\" y=\"{:.1f}\" width=\"{:.1f}\" height=\"{:.1f}\" {}/>\n", box.left,
                 box.top, box.width, box.height, attributes);
}

void Svg::path(const Box& box, std::string_view data, std::string_view attributes)
{
  fmt::format_to(std::back_inserter(text_),
                 "<svg x=\"{0:.1f}\" y=\"{1:.1f}\" width=\"{2:.1f}\" height=\"{3:.1f}\" "
                 "viewBox=\"{0:.1f} {1:.1f} {2:.1f} {3:.1f}\"><path d=\"{4}\" {5}/></svg>\n",
                 box.left, box.top, box.width, box.height, data, attributes);
}

void Svg::image(const Box& box, std::span<const std::uint8_t> png)
{
  // Old viewers support only xlink:href and optimizeSpeed.
  fmt::format_to(
      std::back_inserter(text_),
      "<image x=\"{:.1f}\" y=\"{:.1f}\" width=\"{:.1f}\" height=\"{:.1f}\" preserveAspectRatio=\"none\" "
      "image-rendering=\"optimizeSpeed\" style=\"image-rendering:pixelated\" "
      "xlink:href=\"data:image/png;base64,{}\"/>\n",
      box.left, box.top, box.width, box.height, base64(png));
}

void Svg::colourBar(const Box& box)
{
  rectangle(box, "fill=\"url(#counts)\"");
}

std::string Svg::finish()
{
  text_ += "</svg>\n";
  return std::move(text_);
}

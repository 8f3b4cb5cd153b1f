#include "host/plot/HandPicture.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <iterator>
#include <limits>
#include <utility>
#include <vector>

#include "host/plot/TextFit.h"

namespace {

constexpr double labelFontSize = 13;
constexpr double labelHeight = 22;
constexpr double nameHeight = 16;  // of a region's name, above and below the hand

constexpr std::string_view outlineColour = "#edf0f3";
constexpr std::string_view nameStyle = "text-anchor=\"middle\" fill=\"#5a6470\"";

struct Point {
  double x;
  double y;
};

double cross(const Point& origin, const Point& a, const Point& b)
{
  return (a.x - origin.x) * (b.y - origin.y) - (a.y - origin.y) * (b.x - origin.x);
}

// The convex hull of the points.
std::vector<Point> hullOf(std::vector<Point> points)
{
  std::ranges::sort(points,
                    [](const Point& a, const Point& b) { return a.x != b.x ? a.x < b.x : a.y < b.y; });
  std::vector<Point> hull;
  const auto walk = [&hull](auto first, auto last) {
    const std::size_t start = hull.size();
    for (; first != last; ++first) {
      while (hull.size() >= start + 2 && cross(hull[hull.size() - 2], hull.back(), *first) <= 0)
        hull.pop_back();
      hull.push_back(*first);
    }
    if (hull.size() > start + 1) hull.pop_back();  // the first of the other half
  };
  walk(points.begin(), points.end());
  walk(points.rbegin(), points.rend());
  return hull;
}

bool overlap(const Box& a, const Box& b)
{
  return a.left < b.right() && b.left < a.right() && a.top < b.bottom() && b.top < a.bottom();
}

// The size in mm of each element's cell: it leaves some space to the next element, and all cells of a region
// have the same.
std::vector<double> cellSizes(const Hand& hand)
{
  constexpr double smallest = 1.5;
  constexpr double largest = 14;
  constexpr double share = 0.86;
  const std::vector<Position>& positions = hand.positions;
  std::vector<double> sizes(positions.size());
  for (const Region& region : hand.regions) {
    double nearest = largest / share;
    for (const std::size_t element : region.elements) {
      for (std::size_t other = 0; other < positions.size(); ++other) {
        const double distance =
            std::hypot(positions[element].x - positions[other].x, positions[element].y - positions[other].y);
        // Elements on top of each other say nothing about the space around them.
        if (other != element && distance > smallest) nearest = std::min(nearest, distance);
      }
    }
    for (const std::size_t element : region.elements)
      sizes[element] = std::max(smallest, nearest * share);
  }
  return sizes;
}

// In mm, y upwards, with the cells and the outlines around them.
struct Extent {
  double left = std::numeric_limits<double>::infinity();
  double right = -std::numeric_limits<double>::infinity();
  double low = std::numeric_limits<double>::infinity();
  double high = -std::numeric_limits<double>::infinity();

  double width() const { return right - left; }
  double height() const { return high - low; }
};

Extent extentOf(const Hand& hand, const std::vector<double>& cells)
{
  Extent extent;
  for (std::size_t element = 0; element < hand.positions.size(); ++element) {
    const Position& position = hand.positions[element];
    const double space = cells[element];
    extent.left = std::min(extent.left, position.x - space);
    extent.right = std::max(extent.right, position.x + space);
    extent.low = std::min(extent.low, position.y - space);
    extent.high = std::max(extent.high, position.y + space);
  }
  return extent;
}

double aboveHand(const HandPicture& picture)
{
  return (picture.label.empty() ? 0 : labelHeight) + (picture.hasRegionNames ? nameHeight : 0);
}

double belowHand(const HandPicture& picture)
{
  return picture.hasRegionNames ? nameHeight : 0;
}

// Of the hand alone.
Box inner(const Box& box, const HandPicture& picture)
{
  const double height = box.height - aboveHand(picture) - belowHand(picture);
  return {box.left, box.top + aboveHand(picture), box.width, std::max(1.0, height)};
}

double scaleFor(const Extent& extent, const Box& space)
{
  return std::min(space.width / extent.width(), space.height / extent.height());
}

class Drawing {
 public:
  Drawing(Svg& svg, const Box& box, const HandPicture& picture)
      : svg_(svg), box_(box), picture_(picture), hand_(picture.hand), cells_(cellSizes(picture.hand))
  {
    const Extent extent = extentOf(hand_, cells_);
    const Box space = inner(box, picture);
    scale_ = picture.scale > 0 ? picture.scale : scaleFor(extent, space);
    left_ = space.left + space.width / 2 - scale_ * (extent.left + extent.right) / 2;
    top_ = space.top + space.height / 2 + scale_ * (extent.low + extent.high) / 2;
    for (std::size_t element = 0; element < cells_.size(); ++element) {
      lowest_ = std::max(lowest_, pointOf(element).y);
    }
  }

  void draw()
  {
    drawOutlines();
    drawCells();
    if (picture_.hasRegionNames) drawNames();
    if (picture_.label.empty()) return;
    svg_.text(box_.left + box_.width / 2, box_.top + labelFontSize,
              shortened(picture_.label, box_.width, labelFontSize),
              fmt::format("text-anchor=\"middle\" font-weight=\"bold\" font-size=\"{}\"", labelFontSize));
  }

 private:
  Point pointOf(std::size_t element) const
  {
    const Position& position = hand_.positions[element];
    return {left_ + scale_ * position.x, top_ - scale_ * position.y};
  }

  Box cellOf(std::size_t element, double share = 1) const
  {
    const double size = share * scale_ * cells_[element];
    const Point centre = pointOf(element);
    return {centre.x - size / 2, centre.y - size / 2, size, size};
  }

  void drawOutlines()
  {
    for (const Region& region : hand_.regions) {
      std::vector<Point> points;
      for (const std::size_t element : region.elements)
        points.push_back(pointOf(element));
      std::string data;
      for (const Point& point : hullOf(std::move(points))) {
        fmt::format_to(std::back_inserter(data), "{}{:.1f} {:.1f}", data.empty() ? 'M' : 'L', point.x,
                       point.y);
      }
      // A wide line is the space around the cells.
      svg_.path(box_, data + 'Z',
                fmt::format("fill=\"{0}\" stroke=\"{0}\" stroke-width=\"{1:.1f}\" stroke-linejoin=\"round\" "
                            "stroke-linecap=\"round\"",
                            outlineColour, 1.9 * scale_ * cells_[region.elements.front()]));
    }
  }

  void drawCells()
  {
    std::vector<Colour> colours;
    if (!picture_.counts.empty()) colours = coloursOf(picture_.range);
    for (std::size_t element = 0; element < cells_.size(); ++element) {
      const Box cell = cellOf(element);
      Colour colour{0xFF, 0xFF, 0xFF};
      if (!colours.empty()) {
        colour = colours[static_cast<std::size_t>(picture_.counts[element] - picture_.range.low)];
      }
      svg_.rectangle(cell, fmt::format("rx=\"{:.1f}\" fill=\"#{:02x}{:02x}{:02x}\"{}", 0.35 * cell.width,
                                       colour.red, colour.green, colour.blue,
                                       colours.empty() ? " stroke=\"#9aa5b1\" stroke-width=\"0.8\"" : ""));
      if (picture_.hasNumbers) drawNumber(cell, fmt::format_int(element).str());
    }
  }

  void drawNumber(const Box& cell, const std::string& number)
  {
    constexpr double smallest = 4;
    const double size = std::min(svgFontSize, 0.92 * cell.width / std::max(textWidth(number, 1), 0.8));
    if (size < smallest) return;
    svg_.text(cell.left + cell.width / 2, cell.top + cell.height / 2 + 0.36 * size, number,
              fmt::format("text-anchor=\"middle\" font-size=\"{:.1f}\"", size));
  }

  // At the first place of each region that is free.
  void drawNames()
  {
    std::vector<Box> taken;
    for (std::size_t element = 0; element < cells_.size(); ++element)
      taken.push_back(cellOf(element, 1.3));
    for (const Region& region : hand_.regions) {
      const auto isFree = [&](const Box& place) {
        return place.left >= box_.left && place.right() <= box_.right() && place.top >= box_.top &&
               place.bottom() <= box_.bottom() &&
               std::ranges::none_of(taken, [&](const Box& other) { return overlap(place, other); });
      };
      const auto places = placesFor(region);
      const auto free = std::ranges::find_if(places, isFree);
      if (free == places.end()) continue;
      svg_.text(free->left + free->width / 2, free->bottom() - 0.25 * svgFontSize, region.name, nameStyle);
      taken.push_back(*free);
    }
  }

  // Above the tip, below the base, to the left, to the right. What is at the bottom of the hand, as the palm,
  // has its name below, where no finger is.
  std::array<Box, 4> placesFor(const Region& region) const
  {
    constexpr double height = svgFontSize + 2;
    const double width = textWidth(region.name, svgFontSize);
    const double cell = scale_ * cells_[region.elements.front()];
    const double space = 0.95 * cell;
    std::vector<Point> points;
    for (const std::size_t element : region.elements)
      points.push_back(pointOf(element));
    const auto [left, right] = std::ranges::minmax(points, {}, &Point::x);
    const auto [top, bottom] = std::ranges::minmax(points, {}, &Point::y);
    // Next to the middle of all elements that are about as far up or down as this one.
    const auto beginning = [&](double y) {
      double sum = 0;
      double count = 0;
      for (const Point& point : points) {
        if (std::abs(point.y - y) > cell / 2) continue;
        sum += point.x;
        ++count;
      }
      return sum / count - width / 2;
    };
    const double middle = (top.y + bottom.y - height) / 2;
    std::array<Box, 4> places{{{beginning(top.y), top.y - space - height, width, height},
                               {beginning(bottom.y), bottom.y + space, width, height},
                               {left.x - space - width, middle, width, height},
                               {right.x + space, middle, width, height}}};
    if (bottom.y >= lowest_ - cell / 2) std::swap(places[0], places[1]);
    return places;
  }

  Svg& svg_;
  const Box& box_;
  const HandPicture& picture_;
  const Hand& hand_;
  std::vector<double> cells_;
  double scale_;
  double left_;        // x of 0 mm
  double top_;         // y of 0 mm
  double lowest_ = 0;  // y of the lowest element
};

}  // namespace

void draw(Svg& svg, const Box& box, const HandPicture& picture)
{
  Drawing(svg, box, picture).draw();
}

double scaleOf(const HandPicture& picture, const Box& box)
{
  return scaleFor(extentOf(picture.hand, cellSizes(picture.hand)), inner(box, picture));
}

double heightOf(const HandPicture& picture, double width)
{
  const Extent extent = extentOf(picture.hand, cellSizes(picture.hand));
  return aboveHand(picture) + width * extent.height() / extent.width() + belowHand(picture);
}

#include "host/plot/HandRow.h"

#include <fmt/core.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <string>
#include <utility>

#include "host/base/Failure.h"
#include "host/base/Text.h"
#include "host/plot/Panel.h"

namespace {

constexpr double margin = 20;
constexpr double distance = 12;  // between hands, and between rows
constexpr double captionHeight = 24;
constexpr double maxHandHeight = 300;
constexpr double minHandWidth = 75;
constexpr double maxHandWidth = 200;
constexpr double minNamedWidth = 150;  // of a hand with the names of its regions
constexpr double letterWidth = 9;

std::string letterOf(std::size_t moment)
{
  return std::string(1, static_cast<char>('a' + moment));
}

std::string captionOf(const Moment& moment)
{
  return fmt::format("{:.2f} s{}", moment.seconds, moment.isMaximum ? " (highest mean)" : "");
}

}  // namespace

HandRow::HandRow(const Recording& recording, const std::vector<ElementGroup>& gloves,
                 std::vector<Moment> moments, double width)
    : recording_(recording), gloves_(gloves), moments_(std::move(moments)), width_(width - 2 * margin)
{
  if (moments_.empty()) return;
  for (const ElementGroup& glove : gloves_) {
    if (glove.hand.positions.empty()) {
      throw Failure(
          ExitCode::usage,
          fmt::format("--at: the positions of the elements of '{}' are not known.", excerpt(glove.label)),
          "Name a layout that has positions with --layout FILE: see docs/layout.md.");
    }
  }
  const auto hands = static_cast<double>(gloves_.size());
  const double minCellWidth = hands * (minHandWidth + distance);
  columns_ = std::clamp(static_cast<std::size_t>(width_ / minCellWidth), std::size_t{1}, moments_.size());
  cellWidth_ = std::min(width_ / static_cast<double>(columns_), hands * (maxHandWidth + distance));
  for (const ElementGroup& glove : gloves_) {
    handHeight_ = std::max(handHeight_, heightOf(pictureOf(glove), handWidth()));
  }
  handHeight_ = std::min(handHeight_, maxHandHeight);
  scale_ = std::numeric_limits<double>::infinity();
  for (const ElementGroup& glove : gloves_) {
    scale_ = std::min(scale_, scaleOf(pictureOf(glove), {0, 0, handWidth(), handHeight_}));
  }
}

double HandRow::handWidth() const
{
  return cellWidth_ / static_cast<double>(gloves_.size()) - distance;
}

HandPicture HandRow::pictureOf(const ElementGroup& glove) const
{
  return {.hand = glove.hand,
          .label = glove.label,
          .hasRegionNames = handWidth() >= minNamedWidth,
          .scale = scale_};
}

double HandRow::height() const
{
  const std::size_t rows = (moments_.size() + columns_ - 1) / columns_;
  return static_cast<double>(rows) * (captionHeight + handHeight_ + distance);
}

void HandRow::drawMoments(Svg& svg, const TimeAxis& axis, const Box& heat, const Box& curves) const
{
  double free = heat.left;  // for the next letter
  for (std::size_t index = 0; index < moments_.size(); ++index) {
    const double x = std::floor(heat.left + axis.positionOf(moments_[index].seconds)) + 0.5;
    for (const Box& panel : {heat, curves}) {
      svg.line(x, panel.top, x, panel.bottom(), "stroke=\"#fff\" stroke-width=\"1.5\"");
      svg.line(x, panel.top, x, panel.bottom(), momentStyle);
    }
    const double letter = std::max(x, free);
    free = letter + letterWidth;
    svg.text(letter, curves.top - 2, letterOf(index),
             "text-anchor=\"middle\" font-size=\"11\" font-weight=\"bold\" fill=\"#111\" stroke=\"#fff\" "
             "stroke-width=\"3\" paint-order=\"stroke\"");
  }
}

void HandRow::draw(Svg& svg, double top, CountRange range) const
{
  const double left = margin + (width_ - static_cast<double>(columns_) * cellWidth_) / 2;
  for (std::size_t index = 0; index < moments_.size(); ++index) {
    const auto column = static_cast<double>(index % columns_);
    const auto row = static_cast<double>(index / columns_);
    const Box cell{left + column * cellWidth_, top + row * (captionHeight + handHeight_ + distance),
                   cellWidth_, captionHeight + handHeight_};
    const double middle = cell.left + cell.width / 2;
    svg.text(middle, cell.top + 12, letterOf(index) + "   " + captionOf(moments_[index]),
             "text-anchor=\"middle\" font-weight=\"bold\" fill=\"#111\" xml:space=\"preserve\"");
    drawHands(svg, {cell.left, cell.top + captionHeight, cell.width, handHeight_}, moments_[index], range);
  }
}

void HandRow::drawHands(Svg& svg, const Box& box, const Moment& moment, CountRange range) const
{
  double left = box.left + distance / 2;
  for (const ElementGroup& glove : gloves_) {
    const auto samples = recording_.samplesOf(moment.record, glove);
    std::vector<std::uint16_t> counts(samples.begin(), samples.end());
    for (std::uint16_t& count : counts) {
      count = std::clamp(count, range.low, range.high);  // a record at the very end is not in the heat map
    }
    HandPicture picture = pictureOf(glove);
    picture.counts = counts;
    picture.range = range;
    ::draw(svg, {left, box.top, handWidth(), box.height}, picture);
    left += handWidth() + distance;
  }
}

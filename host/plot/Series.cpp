#include "host/plot/Series.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <numeric>
#include <string_view>

namespace {

// After Okabe and Ito, with a yellow that is dark enough for a line on white.
constexpr std::array<std::string_view, 8> colours{"#0072b2", "#e69f00", "#009e73", "#cc79a7",
                                                  "#56b4e9", "#d55e00", "#000000", "#b8a800"};
constexpr std::array<std::string_view, 4> dashes{"", "6 3", "2 2", "8 2 2 2"};
constexpr std::string_view meanColour = "#0072b2";
constexpr std::string_view highestColour = "#d55e00";
constexpr std::string_view elementColour = meanColour;  // of unknown region

constexpr std::size_t maxPoints = 100'000;  // of all curves of a glove: about 700 KB

std::string curveStyle(std::string_view colour)
{
  return fmt::format(
      "fill=\"none\" stroke=\"{}\" stroke-width=\"1.5\" stroke-linejoin=\"round\" stroke-linecap=\"round\"",
      colour);
}

std::string thinStyle(std::string_view colour)
{
  return fmt::format(
      "fill=\"none\" stroke=\"{}\" stroke-width=\"0.6\" stroke-opacity=\"0.6\" stroke-linejoin=\"round\"",
      colour);
}

double meanOf(std::span<const std::uint16_t> samples)
{
  return std::accumulate(samples.begin(), samples.end(), 0.0) / static_cast<double>(samples.size());
}

double valueOf(const Region& region, std::span<const std::uint16_t> samples, RegionValue value)
{
  if (value == RegionValue::maximum) {
    std::uint16_t highest = 0;
    for (const std::size_t element : region.elements) {
      highest = std::max(highest, samples[element]);
    }
    return highest;
  }
  double sum = 0;
  for (const std::size_t element : region.elements) {
    sum += samples[element];
  }
  return sum / static_cast<double>(region.elements.size());
}

// `evaluate` sets the values of one record.
template <class Evaluate>
Series trace(const Recording& recording, const ElementGroup& glove, const TimeAxis& axis,
             std::vector<std::string> styles, Evaluate evaluate)
{
  Series series{Curves(axis, styles.size(), maxPoints), std::move(styles)};
  std::vector<double> values(series.styles.size());
  for (std::size_t record = axis.firstRecord(); record < axis.endRecord(); ++record) {
    evaluate(recording.samplesOf(record, glove), values);
    series.curves.add(record, values);
  }
  series.curves.finish();
  return series;
}

}  // namespace

RegionStyles::RegionStyles(const std::vector<ElementGroup>& gloves)
{
  for (const ElementGroup& glove : gloves) {
    for (const Region& region : glove.hand.regions) {
      if (std::ranges::find(names_, region.name) == names_.end()) names_.push_back(region.name);
    }
  }
}

std::size_t RegionStyles::indexOf(const std::string& region) const
{
  return static_cast<std::size_t>(std::ranges::find(names_, region) - names_.begin());
}

std::string RegionStyles::colour(const std::string& region) const
{
  return std::string(colours[indexOf(region) % colours.size()]);
}

std::string RegionStyles::curve(const std::string& region) const
{
  const std::string_view dash = dashes[indexOf(region) / colours.size() % dashes.size()];
  std::string style = curveStyle(colour(region));
  if (!dash.empty()) style += fmt::format(" stroke-dasharray=\"{}\"", dash);
  return style;
}

std::string RegionStyles::thinCurve(const std::string& region) const
{
  return thinStyle(colour(region));
}

CurvesBy usualCurves(const std::vector<ElementGroup>& gloves)
{
  const auto isKnown = [](const ElementGroup& glove) { return glove.hand.isKnown(); };
  return std::ranges::all_of(gloves, isKnown) ? CurvesBy::region : CurvesBy::glove;
}

Series seriesOf(const Recording& recording, const ElementGroup& glove, const TimeAxis& axis, CurvesBy by,
                RegionValue value, const RegionStyles& regions)
{
  using Samples = std::span<const std::uint16_t>;
  using Values = std::vector<double>;
  const std::vector<Region>& own = glove.hand.regions;
  std::vector<std::string> styles;
  switch (by) {
    case CurvesBy::region:
      for (const Region& region : own) {
        styles.push_back(regions.curve(region.name));
      }
      return trace(recording, glove, axis, styles, [&](Samples samples, Values& values) {
        for (std::size_t region = 0; region < own.size(); ++region) {
          values[region] = valueOf(own[region], samples, value);
        }
      });
    case CurvesBy::element:
      styles.assign(glove.count, thinStyle(elementColour));
      for (const Region& region : own) {
        for (const std::size_t element : region.elements) {
          styles[element] = regions.thinCurve(region.name);
        }
      }
      return trace(recording, glove, axis, styles,
                   [](Samples samples, Values& values) { std::ranges::copy(samples, values.begin()); });
    case CurvesBy::glove:
      break;
  }
  return trace(recording, glove, axis, {curveStyle(highestColour), curveStyle(meanColour)},
               [](Samples samples, Values& values) {
                 values = {static_cast<double>(*std::ranges::max_element(samples)), meanOf(samples)};
               });
}

std::vector<LegendEntry> legendOf(CurvesBy by, RegionValue value, const RegionStyles& regions)
{
  using enum LegendEntry::Swatch;
  if (by == CurvesBy::glove) {
    return {{line, "maximum", {curveStyle(highestColour)}}, {line, "mean", {curveStyle(meanColour)}}};
  }
  if (by == CurvesBy::element && regions.names().empty()) {
    return {{line, "each element", {thinStyle(elementColour)}}};
  }
  const char* ofRegion = value == RegionValue::mean ? "mean of" : "maximum of";
  std::vector<LegendEntry> entries{{none, by == CurvesBy::element ? "elements of" : ofRegion, {}}};
  for (const std::string& region : regions.names()) {
    entries.push_back({line, region, {regions.curve(region)}});
  }
  return entries;
}

#include "host/plot/Head.h"

#include <fmt/core.h>

#include <string>

#include "host/base/Text.h"
#include "host/plot/Panel.h"
#include "host/plot/TextFit.h"
#include "host/plot/TimeAxis.h"

namespace {

// "2024-02-29 13:45:06+01:00" for the ISO format of metadata, anything else as it is.
std::string readable(std::string time)
{
  constexpr std::size_t separator = 10;
  constexpr std::size_t fraction = 19;
  if (time.size() <= fraction || time[separator] != 'T') return time;
  time[separator] = ' ';
  if (time[fraction] == '.')
    time.erase(fraction, time.find_first_not_of("0123456789", fraction + 1) - fraction);
  return time;
}

}  // namespace

void drawHead(Svg& svg, const Recording& recording, const PictureOptions& options, double left)
{
  constexpr double titleSize = 18;
  constexpr double factsSize = 12;
  constexpr const char* separator = "  \xC2\xB7  ";
  const double width = static_cast<double>(options.width) - left - textEdge;
  svg.text(left, 32, shortened(options.title, width, titleSize),
           "font-size=\"18\" font-weight=\"bold\" fill=\"#111\"");
  std::string facts = recording.started.empty() ? "" : readable(recording.started) + separator;
  facts += fmt::format("{}{}{} record{}", durationText(duration(recording)), separator, recording.records(),
                       recording.records() == 1 ? "" : "s");
  if (recording.records() > 1) {
    facts += fmt::format("{}{:.3g} records/s", separator, 1 / usualPeriod(recording));
  }
  if (options.from > 0 || options.to < duration(recording)) {
    facts += fmt::format("{}shown from {:g} s to {:g} s", separator, options.from, options.to);
  }
  svg.text(left, 52, shortened(facts, width, factsSize),
           "font-size=\"12\" fill=\"#666\" xml:space=\"preserve\"");
}

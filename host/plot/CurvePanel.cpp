#include "host/plot/CurvePanel.h"

#include <algorithm>
#include <cmath>

#include "host/plot/ColourMap.h"
#include "host/plot/Panel.h"

Ticks countTicks(const std::vector<Series>& gloves)
{
  double low = gloves.front().curves.lowest();
  double high = gloves.front().curves.highest();
  for (const Series& glove : gloves) {
    low = std::min(low, glove.curves.lowest());
    high = std::max(high, glove.curves.highest());
  }
  const double step = Ticks(low, std::max(high, low + 1), 4, 1).step();
  low = std::floor(low / step) * step;
  high = (std::floor(high / step) + 1) * step;
  return Ticks(low, high, static_cast<std::size_t>(std::lround((high - low) / step)));
}

void drawCurvePanel(Svg& svg, const Box& box, const Series& series, const TimeAxis& axis,
                    const Ticks& timeTicks, const Ticks& counts)
{
  for (const ColumnSpan& gap : axis.gaps()) {
    svg.rectangle({box.left + static_cast<double>(gap.first), box.top,
                   static_cast<double>(gap.end - gap.first), box.height},
                  fillOf(colourOfNothing));
  }
  const double low = counts.values().front();
  const double unit = box.height / (counts.values().back() - low);
  for (const double count : counts.values()) {
    const double y = box.bottom() - unit * (count - low);
    drawTick(svg, box, y, counts.label(count));
    svg.line(box.left, y, box.right(), y, gridStyle);
  }
  for (const double time : timeTicks.values()) {
    const double x = box.left + axis.positionOf(time);
    svg.line(x, box.top, x, box.bottom(), gridStyle);
  }
  const Scale scale{box.left, box.bottom() + unit * low, unit};
  for (const std::size_t curve : series.curves.drawingOrder()) {
    svg.path(box, series.curves.path(curve, scale), series.styles[curve]);
  }
  svg.rectangle(box, frameStyle);
  drawAxisName(svg, box, "counts");
}

// The curves of one glove as a panel.
#pragma once

#include <vector>

#include "host/plot/Series.h"
#include "host/plot/Svg.h"
#include "host/plot/Ticks.h"
#include "host/plot/TimeAxis.h"

// The count axis, from one round number to another; the same for all gloves.
Ticks countTicks(const std::vector<Series>& gloves);

// The panel is as wide as the time axis.
void drawCurvePanel(Svg& svg, const Box& box, const Series& series, const TimeAxis& axis,
                    const Ticks& timeTicks, const Ticks& counts);

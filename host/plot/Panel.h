// What all panels of a picture have in common: styles, and the ticks and names of axes.
#pragma once

#include <string>
#include <string_view>

#include "host/plot/ColourMap.h"
#include "host/plot/Svg.h"

inline constexpr double tickLength = 4;
inline constexpr double tickDistance = tickLength + 3;  // from the panel to the tick's label
inline constexpr double textEdge = 4;                   // which text keeps clear of
inline constexpr double sideDistance = 16;              // between the panels and the colour bar or legend
inline constexpr double nameDistance = 8;               // between a panel and the name above it
inline constexpr double axisNameWidth = 26;             // from the picture's edge

inline constexpr std::string_view axisStyle = "stroke=\"#999\" stroke-width=\"1\"";
inline constexpr std::string_view gridStyle = "stroke=\"#000\" stroke-opacity=\"0.1\" stroke-width=\"1\"";
inline constexpr std::string_view frameStyle = "fill=\"none\" stroke=\"#999\" stroke-width=\"1\"";
inline constexpr std::string_view momentStyle =
    "fill=\"none\" stroke=\"#111\" stroke-width=\"1\" stroke-dasharray=\"2 2\"";

std::string fillOf(const Colour& colour);

// At the left side of a panel.
void drawTick(Svg& svg, const Box& panel, double y, std::string_view label);
// Upright, at the left edge of the picture.
void drawAxisName(Svg& svg, const Box& panel, std::string_view name);
// Bold; `detail` follows it.
void drawPanelName(Svg& svg, const Box& panel, std::string_view name, std::string_view detail);

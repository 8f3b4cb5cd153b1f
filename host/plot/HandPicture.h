// Draws a hand whose positions are known, as seen on the palm: a cell for each element, on the rounded
// outlines of the regions. Threads: any.
#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "host/plot/ColourMap.h"
#include "host/plot/Svg.h"
#include "host/recording/Layout.h"

struct HandPicture {
  const Hand& hand;
  std::string label{};                      // above the hand; may be empty
  std::span<const std::uint16_t> counts{};  // by element, shown as colours; empty: none
  CountRange range{0, 0xFFFF};              // of the colours; includes all counts
  bool hasRegionNames = true;
  bool hasNumbers = false;  // of the elements, where they fit
  double scale = 0;         // pixels per mm; 0: as large as fits
};

// Centred in the box.
void draw(Svg& svg, const Box& box, const HandPicture& picture);

// The largest scale at which the picture fits into the box.
double scaleOf(const HandPicture& picture, const Box& box);

// The smallest height of a box of this width in which the picture is as large as the width allows.
double heightOf(const HandPicture& picture, double width);

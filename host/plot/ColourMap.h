// The colours of counts: perceptually uniform from dark to bright, and suitable for colour-blind readers.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

struct Colour {
  std::uint8_t red;
  std::uint8_t green;
  std::uint8_t blue;
};

// Evenly spaced stops, interpolated linearly, as in an SVG gradient.
inline constexpr std::array<Colour, 10> colourStops{{{0x44, 0x01, 0x54},
                                                     {0x48, 0x28, 0x78},
                                                     {0x3E, 0x49, 0x89},
                                                     {0x31, 0x68, 0x8E},
                                                     {0x26, 0x82, 0x8E},
                                                     {0x1F, 0x9E, 0x89},
                                                     {0x35, 0xB7, 0x79},
                                                     {0x6E, 0xCE, 0x58},
                                                     {0xB5, 0xDE, 0x2B},
                                                     {0xFD, 0xE7, 0x25}}};

// Where nothing was recorded; clearly different from all others.
inline constexpr Colour colourOfNothing{0xE4, 0xE4, 0xE4};

// From the lowest to the highest count, inclusive.
struct CountRange {
  std::uint16_t low;
  std::uint16_t high;
};

// A colour for each count of the range, which must have at least two.
std::vector<Colour> coloursOf(CountRange range);

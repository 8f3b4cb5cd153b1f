// One record of a recording: the elements as the plug-in delivered them, and when they were sampled.
#pragma once

#include <cstdint>
#include <limits>
#include <span>

// A glove's frame in a record. -1: unknown.
struct GloveFrame {
  std::int64_t number =
      -1;  // counts the frames that the glove sent; its lowest four bits are those on the wire
  std::int64_t ticks = -1;  // the glove's clock, 0.1 ms; its lowest 16 bits are those on the wire
  // When it was sampled by this clock, in ms of the record's time; NaN if unknown. Never decreases.
  double sampledMs = std::numeric_limits<double>::quiet_NaN();
};

struct Record {
  static constexpr double unknown = std::numeric_limits<double>::quiet_NaN();

  double timeMs =
      unknown;  // when it was sampled, apart from a constant delay; starts near 0, never decreases
  double arrivalMs = unknown;          // when the program received it, from the same zero; never decreases
  std::uint32_t pluginMs = 0;          // the plug-in's timestamp
  std::span<const GloveFrame> frames;  // one for each glove of the layout, in its order
  std::span<const std::uint16_t> elements;
};

// A block of the C interface with arrays of its own, filled with a pattern that shows what was not written.
#pragma once

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "library/include/tessel.h"

class RecordBlock {
 public:
  static constexpr std::uint16_t untouched = 0xA5A5;

  RecordBlock(std::size_t capacity, std::size_t gloves, std::size_t elements)
      : timeMs(capacity, untouched),
        arrivalMs(capacity, untouched),
        pluginMs(capacity, untouched),
        frame(capacity * gloves, untouched),
        ticks(capacity * gloves, untouched),
        sampledMs(capacity * gloves, untouched),
        sample(capacity * elements, untouched)
  {
    view.size = sizeof view;
    view.capacity = static_cast<std::uint32_t>(capacity);
    view.gloves = static_cast<std::uint32_t>(gloves);
    view.elements = static_cast<std::uint32_t>(elements);
    view.timeMs = timeMs.data();
    view.arrivalMs = arrivalMs.data();
    view.pluginMs = pluginMs.data();
    view.frame = frame.data();
    view.ticks = ticks.data();
    view.sampledMs = sampledMs.data();
    view.sample = sample.data();
  }
  RecordBlock(const RecordBlock&) = delete;
  RecordBlock& operator=(const RecordBlock&) = delete;

  // All values of a row; NaN is "?".
  std::string row(std::size_t row) const
  {
    std::string text = number(timeMs[row]) + number(arrivalMs[row]) + std::to_string(pluginMs[row]) + ' ';
    for (std::size_t glove = row * view.gloves; glove < (row + 1) * view.gloves; ++glove) {
      text += '[' + std::to_string(frame[glove]) + ' ' + std::to_string(ticks[glove]) + ' ' +
              number(sampledMs[glove]) + "] ";
    }
    for (std::size_t element = row * view.elements; element < (row + 1) * view.elements; ++element) {
      text += sample[element] == untouched ? "- " : std::to_string(sample[element]) + ' ';
    }
    return text;
  }

  tessel_block view{};
  std::vector<double> timeMs, arrivalMs;
  std::vector<std::uint32_t> pluginMs;
  std::vector<std::int64_t> frame, ticks;
  std::vector<double> sampledMs;
  std::vector<std::uint16_t> sample;

 private:
  static std::string number(double value) { return std::isnan(value) ? "? " : std::to_string(value) + ' '; }
};

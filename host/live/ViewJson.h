// The texts that viewers are sent, which docs/view.md describes: valid UTF-8, whatever the gloves, the
// plug-in or the file system call themselves, and without numbers that JSON can't have. Throws only
// std::bad_alloc.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "host/live/DiskWatch.h"
#include "host/live/LiveBoard.h"
#include "host/live/LiveCurves.h"
#include "host/live/Situation.h"

// The clock of the page.
struct ViewClock {
  Situation::Time start;

  double ms(Situation::Time time) const
  {
    return std::chrono::duration<double, std::milli>(time - start).count();
  }
};

std::string layoutJson(const LiveFacts& facts, const Situation& situation);
std::string stateJson(const LiveFacts& facts, const Situation& situation,
                      const std::optional<DiskFigures>& disk, const ViewClock& clock, Situation::Time now);

// The newest record.
struct PictureFacts {
  std::uint64_t record = 0;
  double ms = 0;
  std::span<const std::uint16_t> elements;
  std::span<const float> peaks;  // of the regions of all gloves
};
std::string pictureJson(const Layout& layout, const PictureFacts& picture);
std::string historyJson(const Layout& layout, const LiveCurves& curves);

// Draws a recording as a self-contained SVG: for each glove a heat map of its elements and curves, all over
// the same time axis, with the recording's markers and the absences of gloves; and the hands at some moments.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "host/plot/Moments.h"
#include "host/plot/Series.h"
#include "host/recording/Recording.h"

// Marks every picture, near its beginning.
inline constexpr std::string_view pictureMark = "Drawn by tessel plot";

inline constexpr std::size_t minPictureWidth = 500;
inline constexpr std::size_t maxPictureWidth = 8000;

struct PictureOptions {
  std::string title;
  double from;  // seconds of the recording
  double to;    // later
  std::size_t width = 1000;
  std::optional<CurvesBy> by{};        // none: the usual ones
  std::optional<RegionValue> value{};  // of regions; none: the mean
  std::vector<WantedMoment> at{};
};

// The recording must have a glove. A time range without records, and options that the recording has no data
// for, are a Failure with ExitCode::usage.
std::string drawPicture(const Recording& recording, const PictureOptions& options);

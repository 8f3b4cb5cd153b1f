// Draws a recording as a self-contained SVG: for each glove a heat map of its elements and curves of their
// mean and maximum, all over the same time axis, with the recording's markers and the absences of gloves.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

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
};

// The recording must have a glove. A time range without records is a Failure with ExitCode::usage.
std::string drawPicture(const Recording& recording, const PictureOptions& options);

// A recording as one SVG: for each glove a heat map of its elements and the curves of their mean and maximum,
// all over the same time. It needs nothing beside itself: no scripts, no links.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "host/recording/Recording.h"

// Stands near the beginning of every picture.
inline constexpr std::string_view pictureMark = "Drawn by tessel plot";

inline constexpr std::size_t narrowestPicture = 500;
inline constexpr std::size_t widestPicture = 8000;

struct PictureOptions {
  std::string title;
  double from;  // seconds of the recording
  double to;    // later
  std::size_t width = 1000;
};

// The recording must have a glove. A time without any record is a Failure with ExitCode::usage.
std::string drawPicture(const Recording& recording, const PictureOptions& options);

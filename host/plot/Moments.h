// The moments for which a picture shows the hands.
#pragma once

#include <cstddef>
#include <optional>
#include <string_view>
#include <vector>

#include "host/plot/TimeAxis.h"
#include "host/recording/Recording.h"

inline constexpr std::size_t maxMoments = 12;

// In seconds of the recording; none: when the mean of all elements of all gloves is highest.
using WantedMoment = std::optional<double>;

// "2.5,4,max". A Failure with ExitCode::usage if it is anything else.
std::vector<WantedMoment> parseMoments(std::string_view text);

struct Moment {
  double seconds;
  std::size_t record;  // that lasts at this moment
  bool isMaximum;
};

// By time. A Failure with ExitCode::usage if one is not on the axis, or has no record.
std::vector<Moment> findMoments(const Recording& recording, const TimeAxis& axis,
                                const std::vector<WantedMoment>& wanted);

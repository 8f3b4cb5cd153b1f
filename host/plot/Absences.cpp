#include "host/plot/Absences.h"

#include <algorithm>
#include <iterator>
#include <optional>
#include <utility>

#include "host/plot/TimeAxis.h"
#include "host/recording/Names.h"

namespace {

// The gloves were lost behind the latest record; it may take seconds to notice it.
double lossBefore(const Recording& recording, double seconds)
{
  const auto next = std::ranges::upper_bound(recording.seconds, seconds);
  return next == recording.seconds.begin() ? seconds : *std::prev(next);
}

}  // namespace

std::vector<Absence> absencesOf(const Recording& recording)
{
  std::vector<Absence> absences;
  std::optional<Absence> open;
  for (const Recording::Event& event : recording.events) {
    if (event.name == names::disconnectedEvent && !open) {
      open = {lossBefore(recording, event.seconds), event.seconds, event.glove};
    } else if (event.name == names::disconnectedEvent && event.glove != open->glove) {
      open->glove.clear();
    } else if (event.name == names::reconnectedEvent && open) {
      open->to = event.seconds;
      absences.push_back(*std::exchange(open, {}));
    }
  }
  if (open) {
    open->to = std::max(open->to, duration(recording));
    absences.push_back(*open);
  }
  return absences;
}

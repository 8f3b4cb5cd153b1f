#include "host/plot/Absences.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "host/plot/TimeAxis.h"
#include "host/recording/Names.h"

std::vector<Absence> absencesOf(const Recording& recording)
{
  std::vector<Absence> absences;
  std::optional<Absence> open;
  for (const Recording::Event& event : recording.events) {
    if (event.name == names::disconnectedEvent && !open) {
      open = {event.seconds, event.seconds, event.glove};
    } else if (event.name == names::disconnectedEvent && event.glove != open->glove) {
      open->glove.clear();
    } else if (event.name == names::reconnectedEvent && open) {
      open->to = event.seconds;
      absences.push_back(*std::exchange(open, {}));
    }
  }
  if (open) {
    open->to = std::max(open->from, duration(recording));
    absences.push_back(*open);
  }
  return absences;
}

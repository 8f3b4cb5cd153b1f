// An event as one text, for formats that have a single text for each: "EVENT (GLOVE): DETAIL". Parts that are
// empty are left out, as in "marker: object lifted".
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "host/recording/RecordingEvents.h"

// One line of printable characters.
std::string eventText(const RecordingEvent& event);
// The event of a text, without its time; nothing if it has no name.
std::optional<RecordingEvent> parseEventText(std::string_view text);

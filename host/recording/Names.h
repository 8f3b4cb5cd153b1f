// The names of a recording's columns, arrays and files, which writers and readers share.
#pragma once

#include <string>
#include <string_view>

namespace names {

// Columns of a CSV file; those of a glove's frames follow its label, as in "left_frame".
inline constexpr std::string_view timeColumn = "time_ms";
inline constexpr std::string_view arrivalColumn = "arrival_ms";
inline constexpr std::string_view pluginColumn = "plugin_ms";
inline constexpr std::string_view frameSuffix = "_frame";
inline constexpr std::string_view ticksSuffix = "_ticks";
inline constexpr std::string_view sampledSuffix = "_ms";

// Arrays; those of a glove's frames are named as their columns.
inline constexpr std::string_view samplesArray = "samples";
inline constexpr std::string_view pluginArray = "stamps";
inline constexpr std::string_view timeArray = "time";
inline constexpr std::string_view arrivalArray = "arrival";

inline std::string arrayFile(std::string_view array)
{
  return std::string(array) + ".npy";
}

// In a folder of arrays. Those of a CSV file are named after it: "run.json", "run.events.csv".
inline constexpr std::string_view metadataSuffix = ".json";
inline constexpr std::string_view eventsSuffix = ".events.csv";
inline constexpr std::string_view metadataFile = "meta.json";
inline constexpr std::string_view eventsFile = "events.csv";

// Of metadata.
inline constexpr std::string_view format = "tessel-recording";
inline constexpr std::string_view eventsHeading = "time_ms,event,glove,detail\n";

// Events that the picture shows.
inline constexpr std::string_view markerEvent = "marker";
inline constexpr std::string_view disconnectedEvent = "disconnected";
inline constexpr std::string_view reconnectedEvent = "reconnected";
// Of streams only.
inline constexpr std::string_view lostEvent = "lost";

}  // namespace names

// JSON for the caller. ASCII only, so it can also be printed as it is; bytes that are not UTF-8 become
// U+FFFD. Throws only std::bad_alloc.
#pragma once

#include <nlohmann/json_fwd.hpp>

#include <string>

#include "host/recording/RecordingEvents.h"

namespace library {

std::string jsonText(const nlohmann::ordered_json& json);

nlohmann::ordered_json eventJson(const RecordingEvent& event);

}  // namespace library

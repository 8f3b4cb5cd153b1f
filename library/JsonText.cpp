#include "library/JsonText.h"

#include <cmath>
#include <nlohmann/json.hpp>

namespace library {

std::string jsonText(const nlohmann::ordered_json& json)
{
  return json.dump(-1, ' ', true, nlohmann::ordered_json::error_handler_t::replace);
}

nlohmann::ordered_json eventJson(const RecordingEvent& event)
{
  nlohmann::ordered_json json{
      {"timeMs", nullptr}, {"event", event.event}, {"glove", event.glove}, {"detail", event.detail}};
  if (std::isfinite(event.timeMs)) json["timeMs"] = event.timeMs;
  return json;
}

}  // namespace library

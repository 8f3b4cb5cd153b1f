#include "host/recording/EventText.h"

#include "host/base/Characters.h"

namespace {

constexpr std::string_view beforeGlove = " (";
constexpr std::string_view afterGlove = ")";
constexpr std::string_view beforeDetail = ": ";

}  // namespace

std::string eventText(const RecordingEvent& event)
{
  std::string text = event.event;
  if (!event.glove.empty()) text.append(beforeGlove).append(event.glove).append(afterGlove);
  if (!event.detail.empty()) text.append(beforeDetail).append(event.detail);
  return printable(text);
}

// Neither the names of events nor the labels of gloves contain a colon, so the first one precedes the detail.
std::optional<RecordingEvent> parseEventText(std::string_view text)
{
  RecordingEvent event;
  if (const auto detail = text.find(beforeDetail); detail != std::string_view::npos) {
    event.detail = text.substr(detail + beforeDetail.size());
    text = text.substr(0, detail);
  }
  if (const auto glove = text.find(beforeGlove);
      glove != std::string_view::npos && text.ends_with(afterGlove)) {
    const auto label = text.substr(glove + beforeGlove.size());
    event.glove = label.substr(0, label.size() - afterGlove.size());
    text = text.substr(0, glove);
  }
  if (text.empty()) return std::nullopt;
  event.event = text;
  return event;
}

#include "host/live/LiveTexts.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

namespace {

using namespace std::chrono_literals;

constexpr LiveTexts::Time tickInterval = LiveTexts::Time(1s) / LiveSource::picturesPerSecond;
// Less half an interval, because ticks are not exact.
constexpr LiveTexts::Time stateInterval = 200ms - tickInterval / 2;
// One that did not change is sent while the next could be late.
constexpr LiveTexts::Time maxStateInterval = 500ms - stateInterval;
constexpr LiveTexts::Time everythingLasts = 100ms;
constexpr LiveTexts::Time historyLasts = 1s;

constexpr std::string_view layoutName = "layout";
constexpr std::string_view stateName = "state";
constexpr std::string_view pictureName = "picture";
constexpr std::string_view beforeName = "event: ";
constexpr std::string_view afterName = "\ndata: ";
constexpr std::string_view afterData = "\n\n";

// The clock is the state's first value.
std::string_view apartFromClock(std::string_view state)
{
  return state.starts_with(R"({"ms":)") ? state.substr(std::min(state.size(), state.find(','))) : state;
}

}  // namespace

void LiveTexts::Event::set(std::string_view name, std::string_view json)
{
  text = std::make_shared<const std::string>(
      fmt::format("{}{}{}{}{}", beforeName, name, afterName, json, afterData));
  ++number;
}

std::string_view LiveTexts::Event::json(std::string_view name) const
{
  if (!text) return "null";
  std::string_view json = *text;
  json.remove_prefix(beforeName.size() + name.size() + afterName.size());
  json.remove_suffix(afterData.size());
  return json;
}

LiveTexts::LiveTexts(LiveSource& source, const std::string& pageToken)
    : source_(source), pageToken_('"' + pageToken + '"')
{
}

void LiveTexts::tick(Time now)
{
  updateLayout();
  if (now - stateMade_ >= stateInterval) {
    const std::string state = source_.state();
    stateMade_ = now;
    const std::string_view content = apartFromClock(state);
    if (content != stateApartFromClock_ || now - stateSent_ >= maxStateInterval) {
      stateApartFromClock_ = content;
      stateSent_ = now;
      state_.set(stateName, state);
    }
  }
  updatePicture(now);
}

void LiveTexts::makeAll(Time now)
{
  updateLayout();
  const std::string state = source_.state();
  stateMade_ = stateSent_ = now;
  stateApartFromClock_ = apartFromClock(state);
  state_.set(stateName, state);
  updatePicture(now);
}

LiveTexts::Events LiveTexts::next(Seen& seen) const
{
  const auto take = [](std::uint64_t& number, const Event& event) {
    return std::exchange(number, event.number) == event.number ? nullptr : event.text;
  };
  return {take(seen.layout, layout_), take(seen.state, state_), take(seen.picture, picture_)};
}

LiveTexts::Text LiveTexts::everything(Time now, std::size_t viewers)
{
  if (!everything_.text || now - everything_.made >= everythingLasts) {
    updateLayout();
    // Otherwise the stream's next picture would lack the peaks since its previous one.
    if (now - pictureMade_ >= everythingLasts) updatePicture(now);
    everything_ = {now, std::make_shared<const std::string>(fmt::format(
                            R"({{"token":{},"viewers":{},"layout":{},"state":{},"picture":{}}})", pageToken_,
                            viewers, layout_.json(layoutName), source_.state(), picture_.json(pictureName)))};
  }
  return everything_.text;
}

LiveTexts::Text LiveTexts::history(Time now)
{
  if (!history_.text || now - history_.made >= historyLasts) {
    history_ = {now, std::make_shared<const std::string>(source_.history())};
  }
  return history_.text;
}

void LiveTexts::updateLayout()
{
  const std::uint64_t version = source_.layoutVersion();
  if (layout_.text && version == layoutVersion_) return;
  layout_.set(layoutName, source_.layout());
  layoutVersion_ = version;
}

void LiveTexts::updatePicture(Time now)
{
  pictureMade_ = now;
  const std::string picture = source_.picture();
  if (!picture.empty()) picture_.set(pictureName, picture);
}

#include "host/session/Markers.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>
#include <new>
#include <utility>

#include "host/base/Characters.h"

namespace {

constexpr std::size_t maxWaiting = 10'000;
// A character that begins within the limit is kept whole.
constexpr std::size_t maxLineBytes = maxMarkerBytes + 4;

std::string markerText(std::string_view line)
{
  line = line.substr(0, line.find_last_not_of(" \t\r") + 1);
  std::string text;
  while (!line.empty()) {
    const std::string_view character = firstCharacter(line).bytes;
    const std::string shown = printable(character);
    if (text.size() + shown.size() > maxMarkerBytes) break;
    text += shown;
    line.remove_prefix(character.size());
  }
  return text;
}

}  // namespace

std::string MarkerQueue::add(std::chrono::nanoseconds time, std::string_view text)
{
  Marker marker{time, markerText(text)};
  const std::lock_guard lock(mutex_);
  if (waiting_.size() == maxWaiting) {
    ++dropped_;
    return {};
  }
  ++count_;
  if (marker.text.empty()) marker.text = fmt::format("marker {}", count_);
  waiting_.push_back(marker);
  return std::move(marker.text);
}

std::vector<Marker> MarkerQueue::take(std::size_t max)
{
  const std::lock_guard lock(mutex_);
  const auto end = waiting_.begin() + static_cast<std::ptrdiff_t>(std::min(max, waiting_.size()));
  std::vector<Marker> taken(std::move_iterator(waiting_.begin()), std::move_iterator(end));
  waiting_.erase(waiting_.begin(), end);
  return taken;
}

std::uint64_t MarkerQueue::dropped() const
{
  const std::lock_guard lock(mutex_);
  return dropped_;
}

LineTaker markersInto(MarkerQueue& queue)
{
  return [&queue](std::chrono::nanoseconds time, const std::string& line) { queue.add(time, line); };
}

void MarkerLines::add(std::chrono::nanoseconds time, std::string_view bytes) noexcept
{
  try {
    for (auto end = bytes.find('\n'); end != std::string_view::npos; end = bytes.find('\n')) {
      append(bytes.substr(0, end));
      take_(time, std::exchange(line_, {}));
      bytes.remove_prefix(end + 1);
    }
    append(bytes);
  } catch (const std::bad_alloc&) {
    line_.clear();
  }
}

void MarkerLines::finish(std::chrono::nanoseconds time) noexcept
{
  if (!line_.empty()) add(time, "\n");
}

void MarkerLines::append(std::string_view piece)
{
  line_ += piece.substr(0, maxLineBytes - std::min(maxLineBytes, line_.size()));
}

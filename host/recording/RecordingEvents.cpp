#include "host/recording/RecordingEvents.h"

#include <fmt/core.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <optional>
#include <system_error>
#include <utility>

#include "host/base/Failure.h"
#include "host/base/Text.h"
#include "host/recording/LineReader.h"
#include "host/recording/Names.h"
#include "host/recording/RecordingParts.h"

namespace fs = std::filesystem;

namespace {

constexpr std::size_t maxEvents = 10'000;
// A marker's text, all of it quotation marks, and as much again.
constexpr std::size_t maxLineLength = 4096;

// Removes the first cell and the comma after it; nothing if it is not as appendText() writes it.
std::optional<std::string> takeCell(std::string_view& line)
{
  std::string cell;
  std::size_t end = 0;
  if (line.starts_with('"')) {
    for (bool isOpen = true; isOpen;) {
      const std::size_t quote = line.find('"', end + 1);
      if (quote == std::string_view::npos) return std::nullopt;
      cell += line.substr(end + 1, quote - end - 1);
      isOpen = line.substr(quote + 1).starts_with('"');
      if (isOpen) cell += '"';
      end = isOpen ? quote + 1 : quote;
    }
    ++end;
    if (end < line.size() && line[end] != ',') return std::nullopt;
  } else {
    end = std::min(line.find(','), line.size());
    cell = line.substr(0, end);
  }
  line.remove_prefix(std::min(end + 1, line.size()));
  return cell;
}

// An empty one is unknown.
std::optional<double> timeOf(std::string_view cell)
{
  if (cell.empty()) return Record::unknown;
  double ms = 0;
  const char* const end = cell.data() + cell.size();
  const auto [stop, error] = std::from_chars(cell.data(), end, ms, std::chars_format::fixed);
  const bool isTime = error == std::errc{} && stop == end && std::isfinite(ms) && isUsableTime(ms);
  return isTime ? std::optional(ms) : std::nullopt;
}

std::optional<RecordingEvent> eventOf(std::string_view line)
{
  const auto time = takeCell(line);
  auto name = takeCell(line);
  auto glove = takeCell(line);
  auto detail = takeCell(line);
  const auto ms = time ? timeOf(*time) : std::nullopt;
  if (!ms || !name || name->empty() || !glove || !detail || !line.empty()) return std::nullopt;
  return RecordingEvent{*ms, std::move(*name), std::move(*glove), std::move(*detail)};
}

void readLines(const fs::path& path, std::vector<RecordingEvent>& events, std::vector<std::string>& notes)
{
  LineReader lines(path, maxLineLength);
  const auto heading = lines.next();
  if (!heading && !lines.hasRest()) return;  // a killed program may have left it empty
  if (!heading || fmt::format("{}\n", *heading) != names::eventsHeading) {
    notes.push_back(fmt::format("{} is not a file of events and was not read", utf8(path.filename())));
    return;
  }
  std::size_t damaged = 0;
  while (const auto line = lines.next()) {
    if (events.size() == maxEvents) {
      notes.push_back(fmt::format("only its first {} events are used", maxEvents));
      break;
    }
    if (auto event = eventOf(*line)) {
      events.push_back(std::move(*event));
    } else {
      ++damaged;
    }
  }
  if (damaged == 0) return;
  notes.push_back(
      fmt::format("{} line(s) of {} are damaged and were skipped", damaged, utf8(path.filename())));
}

// Those without a time are first.
bool isEarlier(double oneMs, double otherMs)
{
  return std::isnan(oneMs) ? !std::isnan(otherMs) : oneMs < otherMs;
}

}  // namespace

fs::path companionOf(fs::path records, std::string_view suffix)
{
  if (hasExtension(records, ".csv")) records.replace_extension();
  return records += suffix;
}

fs::path existingCompanionOf(fs::path records, std::string_view suffix)
{
  constexpr const char* part = ".part";
  if (records.extension() != part) return companionOf(std::move(records), suffix);
  records.replace_extension();
  fs::path companion = companionOf(records, suffix);
  const fs::path growing = fs::path(companion) += part;
  std::error_code unknown;
  // Records get their name last. With records of that name, it belongs to them.
  const bool isAhead = !fs::exists(growing, unknown) && fs::exists(companion, unknown);
  return isAhead && !fs::exists(records, unknown) ? companion : growing;
}

std::vector<RecordingEvent> readEvents(const fs::path& path, std::vector<std::string>& notes)
{
  std::vector<RecordingEvent> events;
  if (!isThere(path)) return events;
  try {
    readLines(path, events, notes);
  } catch (const UnreadableFile&) {
    throw;
  } catch (const Failure& failure) {
    notes.push_back(fmt::format("its events are incomplete: {}", failure.what()));
  }
  std::ranges::stable_sort(events, isEarlier, &RecordingEvent::timeMs);
  return events;
}

#include "host/session/Progress.h"

#include <fmt/format.h>

#include <algorithm>

#include "host/session/BooksText.h"

namespace {

constexpr double minReportedSilence = 1.5;  // seconds

// A value of 0 to 65535 as a bar.
std::string bar(std::uint16_t value, unsigned cells)
{
  const unsigned filled = (value * cells + 32768U) / 65536U;
  return std::string(filled, '#') + std::string(cells - filled, '.');
}

std::string clockText(double seconds)
{
  const auto tenths = static_cast<std::uint64_t>(std::max(seconds, 0.0) * 10);
  return fmt::format("{}:{:02}.{}", tenths / 600, tenths / 10 % 60, tenths % 10);
}

// What remains until the limit, if there is one.
std::string remainingText(const RecordingFigures& figures, const RecordingLimits& limits)
{
  if (limits.seconds) return fmt::format("  -{}", clockText(*limits.seconds - figures.seconds));
  if (limits.records) return fmt::format("  -{}", *limits.records - figures.written);
  return "";
}

}  // namespace

Progress::Progress(const Layout& layout, const RecordingLimits& limits) : layout_(layout), limits_(limits) {}

std::string Progress::text(const RecordingFigures& figures, unsigned width) const
{
  constexpr unsigned minWidthForValues = 100;
  if (figures.written == 0) return "waiting for the first frame";
  const std::string battery = figures.battery ? fmt::format("{:.0f}%", *figures.battery * 100) : "?";
  const std::string losses = figures.accounts ? lostText(figures.accounts->books, gloveLabels(layout_))
                                              : fmt::format("gaps {}", figures.gaps.count());
  std::string line = fmt::format("{}{}  {} frames  {:.1f}/s  {}  bat {}", clockText(figures.seconds),
                                 remainingText(figures, limits_), figures.written, figures.recordsPerSecond(),
                                 losses, battery);
  if (figures.stalls.count > 0) {
    line += fmt::format("  stalled {}x, up to {:.1f} s", figures.stalls.count, figures.stalls.longest);
  }
  if (figures.silentSeconds > minReportedSilence) {
    return line + fmt::format("  NO FRAMES FOR {:.0f} s", figures.silentSeconds);
  }
  for (std::size_t index = 0; index < layout_.groups.size(); ++index) {
    const ElementGroup& group = layout_.groups[index];
    const std::uint16_t highest = figures.latest[index];
    if (!group.isGlove()) continue;
    line += width < minWidthForValues ? fmt::format("  {} {}", group.label, bar(highest, 4))
                                      : fmt::format("  {} {} {:>5}", group.label, bar(highest, 8), highest);
  }
  return line;
}

void Progress::show(const RecordingFigures& figures)
{
  if (line_.isDue()) line_.show(text(figures, line_.width()));
}

void Progress::sayLost(double second, const std::string& reason, double secondsToWait)
{
  line_.say(fmt::format("{}  NOT RECORDING: {} Waiting up to {:.0f} s for the gloves.", clockText(second),
                        reason, secondsToWait),
            true);
}

void Progress::showWaiting(double seconds, double secondsLeft, const std::string& state)
{
  if (!line_.isDue()) return;
  const std::string end = secondsLeft > 0 ? fmt::format("in {:.0f} s", secondsLeft) : "after this attempt";
  line_.show(fmt::format("NOT RECORDING for {:.0f} s, giving up {}: {}", seconds, end, state));
}

void Progress::sayBack(double second, double seconds, unsigned attempts)
{
  line_.say(fmt::format("{}  RECORDING AGAIN after {:.1f} s ({} attempt{}).", clockText(second), seconds,
                        attempts, attempts == 1 ? "" : "s"),
            true);
}

void Progress::sayNotStored(double second, const std::string& reason)
{
  line_.say(fmt::format("{}  NOT STORED: {} The recording goes on, but will not be complete.",
                        clockText(second), reason),
            true);
}

void Progress::sayMarker(double second, const std::string& text)
{
  line_.say(fmt::format("{}  marker: {}", clockText(second), text));
}

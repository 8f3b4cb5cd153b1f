#include "host/session/Progress.h"

#include <fmt/format.h>

#include <algorithm>

#include "host/base/Console.h"
#include "host/base/System.h"

namespace {

constexpr auto plainInterval = std::chrono::seconds(2);
constexpr double worthTelling = 1.5;  // seconds
constexpr unsigned anyWidth = ~0U;

// A value of 0 to 65535 as so many cells.
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

// What is left, as players of music show it.
std::string leftText(const RecordingFigures& figures, const RecordingLimits& limits)
{
  if (limits.seconds) return fmt::format("  -{}", clockText(*limits.seconds - figures.seconds));
  if (limits.records) return fmt::format("  -{}", *limits.records - figures.records);
  return "";
}

}  // namespace

Progress::Progress(const Layout& layout, const RecordingLimits& limits)
    : layout_(layout), limits_(limits), isTerminal_(host::isTerminal(stderr)), next_(host::uptime())
{
}

Progress::~Progress()
{
  if (hasLine_) console::tell("\n");
}

std::string Progress::text(const RecordingFigures& figures, unsigned width) const
{
  constexpr unsigned roomForValues = 100;
  if (figures.records == 0) return "waiting for the first frame";
  const std::string battery = figures.battery ? fmt::format("{:.0f}%", *figures.battery * 100) : "?";
  std::string line = fmt::format("{}{}  {} frames  {:.1f}/s  gaps {}  bat {}", clockText(figures.seconds),
                                 leftText(figures, limits_), figures.records, figures.gaps.recordsPerSecond(),
                                 figures.gaps.count(), battery);
  if (figures.stalls.count > 0) {
    line += fmt::format("  stood still {}x, up to {:.1f} s", figures.stalls.count, figures.stalls.longest);
  }
  if (figures.silentSeconds > worthTelling) {
    return line + fmt::format("  NOTHING FOR {:.0f} s", figures.silentSeconds);
  }
  for (std::size_t index = 0; index < layout_.groups.size(); ++index) {
    const ElementGroup& group = layout_.groups[index];
    const std::uint16_t highest = figures.latest[index];
    if (!group.isGlove()) continue;
    line += width < roomForValues ? fmt::format("  {} {}", group.label, bar(highest, 4))
                                  : fmt::format("  {} {} {:>5}", group.label, bar(highest, 8), highest);
  }
  return line;
}

void Progress::show(const RecordingFigures& figures)
{
  // Who records does not wait for who reads.
  if (!host::takesText(stderr)) return;
  const auto now = host::uptime();
  if (!isTerminal_) {
    if (now < next_) return;
    next_ = now + plainInterval;
    console::tell("{}\n", text(figures, anyWidth));
    return;
  }
  const unsigned width = host::terminalWidth(stderr);
  std::string line = text(figures, width);
  line.resize(width - 1, ' ');  // over what stood there
  console::tell("\r{}", line);
  std::fflush(stderr);
  hasLine_ = true;
}

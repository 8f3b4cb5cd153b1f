#include "host/session/Summary.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <cmath>

#include "host/base/Characters.h"
#include "host/base/DiskUse.h"
#include "host/base/PartFile.h"
#include "host/base/Text.h"
#include "host/recording/RecordingMetadata.h"
#include "host/session/BooksText.h"

namespace {

std::string gapsText(const GapDetector& gaps)
{
  std::string text = "  timestamps: no interval longer than usual\n";
  if (gaps.count() > 0) {
    text = fmt::format(
        "  timestamps: {} interval{} longer than usual, up to {} ms; about {} frames are missing "
        "(an estimate, since the link was not captured)\n",
        gaps.count(), gaps.count() == 1 ? "" : "s", gaps.longestMs(), gaps.missing());
  }
  if (gaps.backwardSteps() > 0) {
    text += fmt::format("  timestamps: {} backward step{}\n", gaps.backwardSteps(),
                        gaps.backwardSteps() == 1 ? "" : "s");
  }
  return text;
}

std::string stallsText(const Stalls& stalls, bool hasExactTimes)
{
  if (stalls.count == 0) return "";
  const std::string times = stalls.count == 1 ? "" : fmt::format(", the longest of {} stalls", stalls.count);
  return fmt::format(
      "  tessel was stalled for {:.1f} s{}: the computer paused, or the output was blocked.\n{}",
      stalls.longest, times, hasExactTimes ? "" : "  This alone makes intervals longer.\n");
}

std::string reconnectionsText(const RecordingFigures& figures)
{
  if (figures.reconnections.empty()) return "";
  const bool areAway = std::isnan(figures.reconnections.back().backMs);
  const std::size_t back = figures.reconnections.size() - (areAway ? 1 : 0);
  std::string text;
  if (back > 0) {
    text = fmt::format("  the gloves were lost and opened again {}; without records for {:.1f} s in all\n",
                       back == 1 ? "once" : fmt::format("{} times", back), figures.awaySeconds());
  }
  if (areAway) text += "  at the end of the recording they were away\n";
  return text;
}

}  // namespace

std::string summaryText(const RecordingSummary& summary)
{
  const RecordingFigures& figures = summary.figures;
  if (figures.records == 0) {
    return fmt::format("No frames were recorded, so nothing was kept. Ended: {}\n",
                       printable(summary.ending));
  }
  std::string text =
      fmt::format("{} {} frames in {:.1f} s; their times span {:.1f} s ({:.1f}/s). Ended: {}\n", summary.deed,
                  figures.records, figures.seconds, figures.gaps.seconds(), figures.recordsPerSecond(),
                  printable(summary.ending));
  if (!figures.accounts) text += gapsText(figures.gaps);
  text += reconnectionsText(figures);
  text += stallsText(figures.stalls, figures.accounts.has_value());
  for (std::size_t index = 0; index < summary.layout.groups.size(); ++index) {
    const ElementGroup& group = summary.layout.groups[index];
    if (!group.isGlove()) continue;
    text += fmt::format("  {:<7} {}  {} elements, highest value {}\n", group.label, printable(group.module),
                        group.count, figures.highest[index]);
    if (figures.accounts)
      text += fmt::format("          {}\n", framesText(figures.accounts->books.gloves.at(index)));
  }
  if (figures.accounts) text += balanceText(figures.accounts->books, gloveLabels(summary.layout));
  text += figures.battery ? fmt::format("  battery {:.0f}%\n", *figures.battery * 100)
                          : "  battery empty, or not known yet\n";
  if (summary.place.empty()) return text;
  const std::uint64_t bytes = bytesAt(summary.place);
  return text + fmt::format("Written to {}{}\n", printable(outputText(summary.place)),
                            bytes > 0 ? fmt::format(" ({} KiB)", (bytes + 1023) / 1024) : "");
}

nlohmann::ordered_json summaryJson(const RecordingSummary& summary, bool showsMemory)
{
  const RecordingFigures& figures = summary.figures;
  nlohmann::ordered_json json{{"exitCode", static_cast<int>(summary.exitCode)},
                              {"ended", summary.ending},
                              {"output", utf8(summary.place)},
                              {"frames", figures.records},
                              {"seconds", figures.seconds},
                              {"timestampSeconds", figures.gaps.seconds()},
                              {"framesPerSecond", figures.recordsPerSecond()},
                              {"gaps", figures.gaps.count()},
                              {"longestGapMs", figures.gaps.longestMs()},
                              {"backwardSteps", figures.gaps.backwardSteps()}};
  if (figures.accounts) {
    json["books"] = booksJson(figures.accounts->books, gloveLabels(summary.layout));
  } else {
    json["books"] = nullptr;
    json["estimatedMissingFrames"] = figures.gaps.missing();
  }
  json["reconnections"] = reconnectionsJson(figures.reconnections);
  json["stalls"] = {{"count", figures.stalls.count}, {"longestSeconds", figures.stalls.longest}};
  json["battery"] = figures.battery ? nlohmann::ordered_json(*figures.battery) : nullptr;
  json["gloves"] = nlohmann::ordered_json::array();
  for (std::size_t index = 0; index < summary.layout.groups.size(); ++index) {
    const ElementGroup& group = summary.layout.groups[index];
    if (!group.isGlove()) continue;
    json["gloves"].push_back({{"label", group.label},
                              {"module", group.module},
                              {"elements", group.count},
                              {"highest", figures.highest[index]}});
  }
  if (showsMemory) json["peakMemoryKiB"] = host::peakMemoryKiB();
  return json;
}

#include "host/session/BooksText.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>

namespace {

struct Cause {
  const char* name;
  std::uint64_t GloveBooks::Lost::*count;
};

constexpr std::array causes{
    Cause{"unheard", &GloveBooks::Lost::unheard},     Cause{"radio", &GloveBooks::Lost::radio},
    Cause{"refused", &GloveBooks::Lost::refused},     Cause{"faulty", &GloveBooks::Lost::faulty},
    Cause{"pairing", &GloveBooks::Lost::pairing},     Cause{"queued", &GloveBooks::Lost::queued},
    Cause{"discarded", &GloveBooks::Lost::discarded},
};

std::string percent(double share)
{
  const double value = 100 * share;
  if (value == 0) return "0 %";
  return value < 0.1 ? "< 0.1 %" : fmt::format("{:.1f} %", value);
}

const char* plural(std::uint64_t count)
{
  return count == 1 ? "" : "s";
}

std::string lossesText(const GloveBooks::Lost& lost)
{
  std::string text;
  for (const Cause& cause : causes) {
    if (lost.*cause.count > 0) {
      text += fmt::format("{}{} {}", text.empty() ? ": " : ", ", lost.*cause.count, cause.name);
    }
  }
  return text;
}

}  // namespace

std::string contradictionsText(const Books& books, const std::vector<std::string>& labels)
{
  std::vector<std::string> reasons;
  for (std::size_t index = 0; index < books.gloves.size(); ++index) {
    const GloveBooks& glove = books.gloves[index];
    if (glove.ambiguous > 0) {
      reasons.push_back(fmt::format(
          "how many frames the {} glove sent stays undecided in {} place{}: its clock jumped, or its rate "
          "changed while nothing was heard",
          labels[index], glove.ambiguous, plural(glove.ambiguous)));
    }
    if (books.isFinal && !glove.isBalanced()) {
      reasons.push_back(
          fmt::format("the {} glove sent {} frames and repeated {}, but {} were recorded and {} lost",
                      labels[index], glove.sent, glove.repeated, glove.recorded, glove.lost.total()));
    }
  }
  if (books.unmatchedRecords > 0) {
    reasons.push_back(fmt::format("{} record{} no frame that was heard", books.unmatchedRecords,
                                  books.unmatchedRecords == 1 ? " matches" : "s match"));
  }
  if (books.unexpectedRecords > 0) {
    reasons.push_back(fmt::format("{} record{} made of other frames than expected", books.unexpectedRecords,
                                  books.unexpectedRecords == 1 ? " is" : "s are"));
  }
  return fmt::to_string(fmt::join(reasons, "; "));
}

std::string incompleteText(const Books& books)
{
  if (books.lostBlocks == 0 && books.skippedBytes == 0) return "";
  const std::string what = books.lostBlocks > 0 ? fmt::format("{} blocks", books.lostBlocks)
                                                : fmt::format("{} bytes are damaged", books.skippedBytes);
  return fmt::format("Parts of the capture are missing ({}), so the numbers of frames are not exact.", what);
}

std::vector<std::string> gloveLabels(const Layout& layout)
{
  std::vector<std::string> labels;
  for (const ElementGroup& group : layout.groups) {
    if (group.isGlove()) labels.push_back(group.label);
  }
  return labels;
}

std::string lostText(const Books& books, const std::vector<std::string>& labels)
{
  std::string text;
  for (std::size_t index = 0; index < books.gloves.size(); ++index) {
    text += fmt::format("{}{} {} lost", index == 0 ? "" : "  ", labels[index],
                        percent(books.gloves[index].lostShare()));
  }
  return text;
}

std::string framesText(const GloveBooks& glove, std::string_view kept)
{
  std::string text =
      fmt::format("{} frames sent{}, {} {}, {} lost ({}){}", glove.sent,
                  glove.repeated > 0 ? fmt::format(", {} repeated", glove.repeated) : "", glove.recorded,
                  kept, glove.lost.total(), percent(glove.lostShare()), lossesText(glove.lost));
  if (glove.awaySeconds > 0) text += fmt::format("; disconnected for {:.1f} s", glove.awaySeconds);
  return text;
}

std::string newLossesText(const GloveBooks::Lost& earlier, const GloveBooks::Lost& now)
{
  GloveBooks::Lost since;
  for (const Cause& cause : causes) {
    since.*cause.count = now.*cause.count - std::min(earlier.*cause.count, now.*cause.count);
  }
  const std::uint64_t frames = now.total() - std::min(earlier.total(), now.total());
  return fmt::format("{} frame{}{}; {} in all", frames, plural(frames), lossesText(since), now.total());
}

std::string balanceText(const Books& books, const std::vector<std::string>& labels)
{
  const auto balanced = books.balanced();
  if (!balanced) {
    return fmt::format("  {}\n  All records that the plug-in delivered are kept.\n", incompleteText(books));
  }
  return *balanced ? "" : fmt::format("  The books do not balance: {}.\n", contradictionsText(books, labels));
}

nlohmann::ordered_json booksJson(const Books& books, const std::vector<std::string>& labels)
{
  nlohmann::ordered_json json;
  for (std::size_t index = 0; index < books.gloves.size(); ++index) {
    const GloveBooks& glove = books.gloves[index];
    nlohmann::ordered_json lost;
    for (const Cause& cause : causes) {
      lost[cause.name] = glove.lost.*cause.count;
    }
    json[labels[index]] = {{"sent", glove.sent},
                           {"repeated", glove.repeated},
                           {"recorded", glove.recorded},
                           {"ambiguous", glove.ambiguous},
                           {"lost", lost}};
  }
  const auto balanced = books.balanced();
  json["balanced"] = balanced ? nlohmann::ordered_json(*balanced) : nlohmann::ordered_json();
  return json;
}

std::optional<Failure> booksFailure(const Books& books, const std::vector<std::string>& labels)
{
  if (books.balanced().value_or(true)) return std::nullopt;
  return Failure(
      ExitCode::books, fmt::format("the books do not balance: {}.", contradictionsText(books, labels)),
      "All records are kept. Please send the recording and its capture to the authors of this program.");
}

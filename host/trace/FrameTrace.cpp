#include "host/trace/FrameTrace.h"

#include <fmt/format.h>

#include <nlohmann/json.hpp>

#include <algorithm>
#include <utility>

#include "host/base/Console.h"
#include "host/session/BooksText.h"

namespace {

using Json = nlohmann::ordered_json;

// More packets than this without the beginning of a frame are no longer listed.
constexpr std::size_t maxOrder = 64;

// "0-4 6 5 7-13"
std::string rangesText(const std::vector<unsigned>& numbers)
{
  std::string text;
  for (std::size_t at = 0; at < numbers.size();) {
    std::size_t end = at + 1;
    while (end < numbers.size() && numbers[end] == numbers[end - 1] + 1)
      ++end;
    text += text.empty() ? "" : " ";
    text +=
        end - at == 1 ? fmt::format("{}", numbers[at]) : fmt::format("{}-{}", numbers[at], numbers[end - 1]);
    at = end;
  }
  return text;
}

std::vector<unsigned> missingIn(const GloveAccount::Heard& frame)
{
  std::vector<unsigned> missing;
  for (unsigned index = 0; index < frame.packets; ++index) {
    if ((frame.heard >> index & 1) == 0) missing.push_back(index);
  }
  return missing;
}

// What became of a frame; the words of the books.
std::string_view fateOf(const GloveAccount::Heard& frame, bool isCounted)
{
  if (frame.isRepeated) return "repeated";
  if (frame.isPublished) return "complete";
  if (!isCounted) return "unended";
  return frame.isComplete() ? "refused" : "radio";
}

std::string remarkText(const GloveAccount::Heard& frame, bool isCounted, const std::vector<unsigned>& order)
{
  std::string text;
  if (frame.steps > 1) text += fmt::format("  AFTER {} UNHEARD", frame.steps - 1);
  if (frame.isRepeated) text += "  REPEATED";
  if (frame.isPublished) return text;
  const bool isInOrder = std::ranges::adjacent_find(order, std::greater_equal()) == order.end();
  if (frame.isComplete()) {
    text += isInOrder ? "  REFUSED: the frame before was not complete"
                      : "  REFUSED: packets came as " + rangesText(order);
  } else {
    text += "  MISSING packets " + rangesText(missingIn(frame));
    if (!isInOrder) text += ", heard " + rangesText(order);
  }
  if (!isCounted) text += ", and the connection ended in it";
  return text;
}

}  // namespace

FrameTrace::FrameTrace(TraceOutput& output, GloveFilter filter, Content content)
    : output_(output), filter_(std::move(filter)), content_(content)
{
  for (std::size_t connection = 0; connection < gloves_.size(); ++connection) {
    gloves_[connection].trace = this;
    gloves_[connection].connection = connection;
    gloves_[connection].account.setListener(&gloves_[connection]);
  }
}

void FrameTrace::add(const CaptureBlock& block, const TraceMoment& moment, bool /*hasTime*/)
{
  names_.add(block);
  // Of a section's last frames the time is still that of their own section.
  if (block.kind != CaptureBlock::Kind::section) toWall_ = moment.wall - moment.sinceStart;
  decoder_.add(block);
  toWall_ = moment.wall - moment.sinceStart;
  if (block.kind == CaptureBlock::Kind::section) {
    ++sections_;
    printEvent(moment, "section", "section: the plug-in was loaded at " + wallText(moment.wall));
  }
  if (const std::uint64_t lost = block.lostBlocks(); lost > 0) {
    lostBlocks_ += lost;
    printEvent(moment, "lost", fmt::format("DAMAGE: {} entries are missing in the capture", lost));
  }
}

void FrameTrace::addSkipped(std::uint64_t bytes, const TraceMoment& moment)
{
  skippedBytes_ += bytes;
  printEvent(moment, "skipped",
             fmt::format("DAMAGE: {} bytes of the file are no capture, and were skipped", bytes));
}

void FrameTrace::end(std::size_t unfinishedBytes, const TraceMoment& moment)
{
  for (Glove& glove : gloves_) {
    glove.account.endConnection(moment.sinceStart);
  }
  if (unfinishedBytes > 0) {
    printEvent(moment, "cut",
               fmt::format("THE CAPTURE IS CUT: {} bytes of an entry are left over", unfinishedBytes));
  }
  if (content_ == Content::books) printBooks(moment);
}

void FrameTrace::begin()
{
  for (Glove& glove : gloves_) {
    glove.account.reload();
  }
}

void FrameTrace::notificationsBegin(std::size_t glove, Time time)
{
  gloves_[glove].account.beginConnection(time);
  if (!isWanted(glove)) return;
  printEvent(momentOf(time), "notifications on", fmt::format("{}: notifications on", names_.side(glove)));
}

void FrameTrace::notificationsEnd(std::size_t glove, Time time)
{
  gloves_[glove].account.endConnection(time);
  if (!isWanted(glove)) return;
  printEvent(momentOf(time), "notifications off", fmt::format("{}: notifications off", names_.side(glove)));
}

void FrameTrace::Glove::addPacket(Packet packet, Time time)
{
  account.add(packet, time);
  if (order.size() < maxOrder) order.push_back(packet[0] & 0x0FU);
  while (!account.queue().empty()) {
    const GloveAccount::Published frame = account.take();
    // Of a frame that began in an earlier connection, the number is not known.
    if (frame.number >= 0) ++complete;
    const auto [min, max] = std::ranges::minmax(frame.samples);
    samples = Samples{frame.samples.size(), min, max};
  }
}

void FrameTrace::Glove::frameBegins(std::int64_t /*ticks*/, Time /*arrival*/)
{
  order.clear();
}

void FrameTrace::Glove::frameEnds(const GloveAccount::Heard& frame, bool isCounted)
{
  trace->printFrame(*this, frame, isCounted);
  previous = frame.arrival;
  order.clear();
  samples.reset();
}

void FrameTrace::printFrame(const Glove& glove, const GloveAccount::Heard& frame, bool isCounted)
{
  if (content_ != Content::frames || !isWanted(glove.connection)) return;
  constexpr std::int64_t counterMask = 0x0F;
  constexpr std::int64_t clockMask = 0xFFFF;
  const TraceMoment moment = momentOf(frame.arrival);
  const std::string_view side = names_.side(glove.connection);
  const unsigned packets = frame.packets;
  const auto missing = missingIn(frame);
  if (output_.isJson()) {
    Json json{{"kind", "frame"},
              {"glove", side},
              {"connection", glove.connection},
              {"number", frame.number},
              {"counter", frame.number & counterMask},
              {"ticks", frame.ticks},
              {"clock", frame.ticks & clockMask},
              {"packets", packets},
              {"missing", missing},
              {"order", glove.order},
              {"unheardBefore", std::max<std::int64_t>(frame.steps - 1, 0)},
              {"fate", fateOf(frame, isCounted)}};
    if (glove.samples) {
      json["samples"] = glove.samples->count;
      json["min"] = glove.samples->min;
      json["max"] = glove.samples->max;
    }
    output_.printObject(moment, json);
    return;
  }
  std::string text = fmt::format(
      "{:<5}  frame={:<6} counter={:<2}  ticks={:<8} clock={:<5}  packets={:>2}/{:<2}", side, frame.number,
      frame.number & counterMask, frame.ticks, frame.ticks & clockMask, packets - missing.size(), packets);
  if (glove.samples) {
    text += fmt::format("  samples={} min={:<5} max={:<5}", glove.samples->count, glove.samples->min,
                        glove.samples->max);
  }
  output_.printLine(moment, text + remarkText(frame, isCounted, glove.order), glove.previous);
}

void FrameTrace::printEvent(const TraceMoment& moment, std::string_view kind, const std::string& text)
{
  if (content_ != Content::frames) return;
  if (output_.isJson()) {
    output_.printObject(moment, {{"kind", kind}, {"text", text}});
  } else {
    output_.printLine(moment, "- " + text);
  }
}

GloveBooks FrameTrace::booksOf(const Glove& glove) const
{
  GloveBooks books = glove.account.books(true);
  books.recorded = glove.complete;
  return books;
}

void FrameTrace::printBooks(const TraceMoment& moment)
{
  const double seconds = std::chrono::duration<double>(moment.sinceStart).count();
  Json json{{"kind", "books"}, {"seconds", seconds}, {"sections", sections_}};
  std::string text = fmt::format("{} section{}, {:.3f} s\n", sections_, sections_ == 1 ? "" : "s", seconds);
  bool hasGloves = false;
  for (std::size_t connection = 0; connection < gloves_.size(); ++connection) {
    const Glove& glove = gloves_[connection];
    if (glove.connections == 0 || !isWanted(connection)) continue;
    hasGloves = true;
    const GloveBooks books = booksOf(glove);
    const std::string side(names_.side(connection));
    const std::string_view name = names_.name(connection);
    text += fmt::format("{:<5}  {}: {}\n", side, name.empty() ? "name not heard" : name,
                        framesText(books, "complete"));
    if (books.ambiguous > 0) {
      text += fmt::format("       AMBIGUOUS in {} places: how many frames were sent there stays undecided\n",
                          books.ambiguous);
    }
    if (!books.isBalanced()) text += "       NOT BALANCED: sent + repeated is not complete + lost\n";
    json[side] = {
        {"connection", connection},
        {"module", name},
        {"connections", glove.connections},
        {"awaySeconds", books.awaySeconds},
        {"sent", books.sent},
        {"repeated", books.repeated},
        {"complete", books.recorded},
        {"ambiguous", books.ambiguous},
        {"lost",
         {{"unheard", books.lost.unheard}, {"radio", books.lost.radio}, {"refused", books.lost.refused}}}};
  }
  json["lostBlocks"] = lostBlocks_;
  json["skippedBytes"] = skippedBytes_;
  if (output_.isJson()) {
    console::printJsonLine(json);
    return;
  }
  if (!hasGloves) text += "No glove has sent frames.\n";
  if (lostBlocks_ > 0 || skippedBytes_ > 0) {
    text += fmt::format("NOT EXACT: {} entries and {} bytes of the capture are missing.\n", lostBlocks_,
                        skippedBytes_);
  }
  console::printLines(text);
}

bool FrameTrace::isWanted(std::size_t connection) const
{
  if (filter_.connection) return connection == *filter_.connection;
  return filter_.side.empty() || names_.side(connection) == filter_.side;
}

#include "host/capture/LinkAccounts.h"

#include <algorithm>
#include <charconv>
#include <utility>

namespace {

// To which the plug-in cuts a queue.
constexpr std::size_t trimmedDepth = 2;
// Frames that came while the gloves were being opened are read within it, all at once.
constexpr std::chrono::milliseconds backlogTime{200};

}  // namespace

LinkAccounts::LinkAccounts(std::size_t gloves, std::size_t elementsOfGlove)
    : count_(gloves), elements_(elementsOfGlove)
{
  for (std::size_t glove = 0; glove < count_; ++glove) {
    gloves_[glove].setListener(&clocks_[glove]);
  }
}

void LinkAccounts::beginReading(Time time)
{
  readingBegin_ = time;
  readingEnd_ = Time::max();
}

void LinkAccounts::addRecord(Time time, std::vector<std::uint16_t> elements)
{
  delivered_.push_back({time, std::move(elements)});
}

void LinkAccounts::add(const CaptureBlock& block)
{
  // Records that came before a note of lost blocks may be made of what they held.
  lostBlocks_ += block.lostBlocks();
  matchRecords(block.time);
  decoder_.add(block);
}

void LinkAccounts::settle(Time time)
{
  matchRecords(time);
  rejectShortFrames();
}

void LinkAccounts::matchRecords(Time before)
{
  while (!delivered_.empty() && delivered_.front().time < before) {
    if (!firstDelivery_) firstDelivery_ = delivered_.front().time;
    origins_.push_back(match(delivered_.front()));
    unwritten_.push_back(origins_.back().isMatched);
    delivered_.pop_front();
  }
  forgetWritten();
  if (firstDelivery_ && before - *firstDelivery_ >= backlogTime) findTimes();
}

// Of the first frames this waits for the rest of the backlog, whose last frame shows when all were sampled.
void LinkAccounts::findTimes()
{
  for (; timed_ < origins_.size(); ++timed_) {
    for (std::size_t glove = 0; glove < count_; ++glove) {
      RecordOrigin::Frame& frame = origins_[timed_].frames[glove];
      if (frame.number >= 0) frame.sampled = clocks_[glove].timeOf(frame.ticks);
    }
  }
}

std::optional<RecordOrigin> LinkAccounts::takeOrigin()
{
  if (timed_ == 0) return std::nullopt;
  const RecordOrigin origin = origins_.front();
  origins_.pop_front();
  --timed_;
  return origin;
}

// A record may be written before it is known of which frames it is made, or after.
void LinkAccounts::noteWritten()
{
  ++written_;
  forgetWritten();
}

void LinkAccounts::forgetWritten()
{
  for (; !unwritten_.empty() && forgotten_ < written_; ++forgotten_) {
    unwritten_.pop_front();
  }
}

bool LinkAccounts::canFetch() const
{
  return std::all_of(gloves_.begin(), gloves_.begin() + static_cast<std::ptrdiff_t>(count_),
                     [](const GloveAccount& glove) { return !glove.queue().empty(); });
}

// The positions of the frames that the plug-in takes; it skips those in front of them.
LinkAccounts::Position LinkAccounts::nextFetch() const
{
  Position position{};
  if (count_ == 1) return position;
  for (std::size_t glove = 0; glove < count_; ++glove) {
    const std::size_t depth = gloves_[glove].queue().size();
    const bool isTrimmed = depth >= gloves_[1 - glove].queue().size();
    if (isTrimmed && depth > trimmedDepth) position[glove] = depth - trimmedDepth;
  }
  return position;
}

bool LinkAccounts::isFrameOf(const Delivered& record, std::size_t glove, std::size_t position) const
{
  const auto& samples = gloves_[glove].queue()[position].samples;
  const std::size_t first = glove * elements_;
  if (samples.size() < elements_ || record.elements.size() < first + elements_) return false;
  const auto elements = std::span(record.elements).subspan(first, elements_);
  return std::equal(elements.begin(), elements.end(), samples.begin());
}

bool LinkAccounts::areFramesOf(const Delivered& record, const Position& position) const
{
  for (std::size_t glove = 0; glove < count_; ++glove) {
    if (!isFrameOf(record, glove, position[glove])) return false;
  }
  return true;
}

// By content alone: the oldest frames with the samples of the record.
std::optional<LinkAccounts::Position> LinkAccounts::findFrames(const Delivered& record) const
{
  Position position{};
  for (std::size_t glove = 0; glove < count_; ++glove) {
    const std::size_t depth = gloves_[glove].queue().size();
    while (position[glove] < depth && !isFrameOf(record, glove, position[glove])) {
      ++position[glove];
    }
    if (position[glove] == depth) return std::nullopt;
  }
  return position;
}

RecordOrigin LinkAccounts::match(const Delivered& record)
{
  undelivered_.reset();
  RecordOrigin origin;
  BooksCut& cut = origin.cut.emplace(cutHere());
  Position position{};
  if (canFetch() && areFramesOf(record, nextFetch())) {
    position = nextFetch();
  } else if (const auto found = findFrames(record)) {
    position = *found;
    cut.isUnexpected = true;
    ++unexpected_;
  } else {
    ++unmatched_;
    return origin;
  }
  origin.isMatched = cut.isMatched = true;
  for (std::size_t glove = 0; glove < count_; ++glove) {
    gloves_[glove].skip(position[glove]);
    const GloveAccount::Published frame = gloves_[glove].take();
    origin.frames[glove] = {.number = frame.number, .ticks = frame.ticks, .sampled = {}};
    const std::uint64_t recorded = cut.gloves[glove].before.recorded;
    cut.gloves[glove] = frame.cut;
    cut.gloves[glove].before.recorded = recorded;
  }
  return origin;
}

// As if no frame were found for the record.
BooksCut LinkAccounts::cutHere() const
{
  BooksCut cut{.count = count_,
               .gloves = {},
               .unmatchedRecords = unmatched_,
               .unexpectedRecords = unexpected_,
               .lostBlocks = lostBlocks_,
               .skippedBytes = skippedBytes_};
  for (std::size_t glove = 0; glove < count_; ++glove) {
    cut.gloves[glove] = gloves_[glove].cutHere();
    cut.gloves[glove].before.recorded = forgotten_ + unwritten_.size();
  }
  return cut;
}

// A read that delivered nothing although it took frames: one of them is too short for the record.
void LinkAccounts::rejectShortFrames()
{
  if (!undelivered_ || !isReading(*undelivered_) || !canFetch()) return;
  const Position position = nextFetch();
  const auto isShort = [&](std::size_t glove) {
    return gloves_[glove].queue()[position[glove]].samples.size() < elements_;
  };
  if (!isShort(0) && !(count_ == 2 && isShort(1))) return;
  for (std::size_t glove = 0; glove < count_; ++glove) {
    gloves_[glove].skip(position[glove]);
    gloves_[glove].reject();
  }
}

void LinkAccounts::begin()
{
  // What the plug-in before left in its backlog does not come any more.
  findTimes();
  for (GloveAccount& glove : gloves_) {
    glove.reload();
  }
  for (GloveSigns& signs : signs_) {
    signs.forgetSensorStatus();
  }
  undelivered_.reset();
  firstDelivery_.reset();
}

void LinkAccounts::message(Time time)
{
  rejectShortFrames();
  undelivered_ = time;
}

void LinkAccounts::notificationsBegin(std::size_t glove, Time time)
{
  ended_[glove].reset();
  gloves_[glove].beginConnection(time);
  signs_[glove].beginConnection(time);
}

void LinkAccounts::notificationsEnd(std::size_t glove, Time time)
{
  ended_[glove] = time;
  ++endings_;
  gloves_[glove].endConnection(time);
}

void LinkAccounts::packet(std::size_t glove, Packet packet, Time time)
{
  signs_[glove].add(packet, time);
  // A second glove that is not recorded waits in the plug-in for ever.
  if (glove < count_) gloves_[glove].add(packet, time);
}

void LinkAccounts::sensorStatus(std::size_t glove, std::span<const std::uint8_t> status)
{
  signs_[glove].addSensorStatus(status);
}

Books LinkAccounts::books(bool isEnd) const
{
  Books books{.gloves = {},
              .unmatchedRecords = unmatched_,
              .unexpectedRecords = unexpected_,
              .lostBlocks = lostBlocks_,
              .skippedBytes = skippedBytes_,
              .isFinal = isEnd};
  const auto discarded = isEnd ? std::ranges::count(unwritten_, true) : 0;
  for (std::size_t glove = 0; glove < count_; ++glove) {
    GloveBooks& own = books.gloves.emplace_back(gloves_[glove].books(isEnd));
    own.recorded = written_;
    own.lost.discarded = static_cast<std::uint64_t>(discarded);
  }
  return books;
}

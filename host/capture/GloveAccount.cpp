#include "host/capture/GloveAccount.h"

#include <algorithm>
#include <utility>

namespace {

// Of the bits of the packets heard.
constexpr std::uint32_t onlyFirst = 1;
// More than the plug-in lets wait; only records that can't be matched leave frames behind.
constexpr std::size_t maxQueue = 65'536;

}  // namespace

bool GloveAccount::Heard::isComplete() const
{
  return packets > 0 && (heard & ((1U << packets) - 1)) == (1U << packets) - 1;
}

void GloveAccount::beginConnection(Time time)
{
  if (isConnected_) endConnection(time);
  isConnected_ = true;
  if (ended_) books_.awaySeconds += std::chrono::duration<double>(time - *ended_).count();
  ended_.reset();
  firstNumber_.reset();
  lastNumber_.reset();
  if (listener_ != nullptr) listener_->connectionBegins();
}

void GloveAccount::endConnection(Time time)
{
  if (!std::exchange(isConnected_, false)) return;
  endFrame(false);
  counter_.endConnection();
  const std::int64_t correction = counter_.takeCorrection();
  if (firstNumber_) {
    books_.lost.unheard += static_cast<std::uint64_t>(correction);
    books_.sent += static_cast<std::uint64_t>(*lastNumber_ + correction - *firstNumber_ + 1);
  }
  firstNumber_.reset();
  ended_ = time;
}

void GloveAccount::add(LinkListener::Packet packet, Time time)
{
  const unsigned index = packet[0] & 0x0FU;
  if (index == 0) beginFrame(packet, time);
  if (current_) noteHeard(*current_, index);
  auto samples = assembly_.add(packet);
  if (!samples) return;
  // Without a current frame it began in an earlier connection.
  Published published{
      .number = -1, .ticks = -1, .arrival = time, .cut = cutAtCurrent(), .samples = std::move(*samples)};
  if (current_) {
    current_->isPublished = true;
    published.number = current_->number;
    published.ticks = current_->ticks;
    published.arrival = current_->arrival;
  }
  queue_.push_back(std::move(published));
  if (queue_.size() > maxQueue) skip(1);
}

// Two neighbouring packets may change places, but not more.
void GloveAccount::noteHeard(Heard& frame, unsigned index)
{
  const bool isOfPreviousFrame =
      frame.heard == onlyFirst && index > 2;             // its last packet, after this first one
  const bool isOfNextFrame = index + 1 < frame.highest;  // whose first packet was not heard
  if (isOfPreviousFrame) return;
  frame.isOver = frame.isOver || isOfNextFrame;
  if (frame.isOver) return;
  frame.highest = std::max(frame.highest, index);
  frame.heard |= 1U << index;
}

void GloveAccount::beginFrame(LinkListener::Packet packet, Time time)
{
  const FrameCounter::FirstPacket first{.counter = static_cast<std::uint8_t>(packet[0] >> 4),
                                        .clock = static_cast<std::uint16_t>(packet[2] << 8 | packet[3]),
                                        .arrival = time};
  const unsigned packets = packet[1] & 0x0FU;
  if (current_ && counter_.isSame(first, current_->heard == onlyFirst)) {
    // The packet came twice, or, behind a complete frame, the frame.
    if (!current_->isComplete()) return;
    const Heard again{.number = current_->number,
                      .ticks = current_->ticks,
                      .arrival = time,
                      .packets = packets,
                      .isRepeated = true};
    endFrame(true);
    current_ = again;
    return;
  }
  endFrame(true);
  const FrameCounter::Frame frame = counter_.add(first);
  if (const std::int64_t correction = counter_.takeCorrection(); lastNumber_) {
    *lastNumber_ += correction;
    books_.lost.unheard += static_cast<std::uint64_t>(correction);
  }
  current_ = {.number = frame.number,
              .ticks = frame.ticks,
              .arrival = time,
              .steps = frame.steps,
              .packets = packets};
  if (listener_ != nullptr) listener_->frameBegins(frame.ticks, time);
}

void GloveAccount::endFrame(bool isFollowed)
{
  if (!current_) return;
  const Heard frame = *std::exchange(current_, std::nullopt);
  const bool isCounted = isFollowed || frame.isPublished;
  if (listener_ != nullptr) listener_->frameEnds(frame, isCounted);
  if (!isCounted) return;
  if (!firstNumber_) firstNumber_ = frame.number;
  lastNumber_ = frame.number;
  if (frame.isRepeated) ++books_.repeated;
  if (frame.steps > 1) books_.lost.unheard += static_cast<std::uint64_t>(frame.steps - 1);
  if (frame.isPublished) return;
  ++(frame.isComplete() ? books_.lost.refused : books_.lost.radio);
}

void GloveAccount::skip(std::size_t count)
{
  for (; count > 0; --count) {
    queue_.pop_front();
    ++books_.lost.pairing;
  }
}

void GloveAccount::reject()
{
  queue_.pop_front();
  ++books_.lost.faulty;
}

GloveAccount::Published GloveAccount::take()
{
  Published frame = std::move(queue_.front());
  queue_.pop_front();
  frame.cut = withFates(frame.cut);
  return frame;
}

BooksCut::Glove GloveAccount::cutHere() const
{
  BooksCut::Glove cut{.before = counted()};
  if (!queue_.empty()) {
    cut = queue_.front().cut;
  } else if (current_ && current_->isPublished) {
    cut = cutAtCurrent();
    ++(current_->isRepeated ? cut.before.repeated : cut.before.sent);
  }
  cut.isCounted = false;
  return withFates(cut);
}

// Once it is published, it is counted for certain, though only when it has ended. Later corrections change
// the frames sent and the lost ones alike, so what is counted before it balances as it is.
BooksCut::Glove GloveAccount::cutAtCurrent() const
{
  BooksCut::Glove cut{.before = counted()};
  if (!current_) return cut;
  cut.isCounted = true;
  cut.isRepeated = current_->isRepeated;
  if (current_->steps > 1) {
    const auto unheard = static_cast<std::uint64_t>(current_->steps - 1);
    cut.before.sent += unheard;
    cut.before.lost.unheard += unheard;
  }
  return cut;
}

// Frames leave the queue in their order, so what has become of those before this one is what is counted now.
BooksCut::Glove GloveAccount::withFates(BooksCut::Glove cut) const
{
  cut.before.lost.faulty = books_.lost.faulty;
  cut.before.lost.pairing = books_.lost.pairing;
  cut.before.lost.queued = books_.lost.queued;
  return cut;
}

void GloveAccount::reload()
{
  books_.lost.queued += queue_.size();
  queue_.clear();
  assembly_ = {};
}

GloveBooks GloveAccount::books(bool isEnd) const
{
  if (isEnd && isConnected_) {
    GloveAccount ended(*this);
    ended.endConnection({});
    return ended.books(true);
  }
  GloveBooks books = counted();
  if (isEnd) books.lost.queued += queue_.size();
  return books;
}

// Without the current frame.
GloveBooks GloveAccount::counted() const
{
  GloveBooks books = books_;
  if (firstNumber_) books.sent += static_cast<std::uint64_t>(*lastNumber_ - *firstNumber_ + 1);
  books.ambiguous = counter_.ambiguous();
  return books;
}

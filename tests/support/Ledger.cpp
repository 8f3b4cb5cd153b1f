#include "tests/support/Ledger.h"

#include <algorithm>
#include <utility>

using simulator::Duration;
using simulator::Glove;
using simulator::SentFrame;

namespace {

constexpr std::size_t measurement = 17, configuration = 18;
constexpr std::size_t trimmedDepth = 2;

std::size_t u16(std::span<const std::uint8_t> bytes, std::size_t at)
{
  return bytes[at] | std::size_t{bytes[at + 1]} << 8;
}

// Compares type, class and id, and whether the message is this long.
bool is(std::span<const std::uint8_t> message, std::uint8_t type, std::uint8_t group, std::uint8_t id,
        std::size_t size)
{
  return message.size() >= size && message[0] == type && message[2] == group && message[3] == id;
}

// Responses and events that the plug-in has a handler for; with others a read fails.
bool isHandled(std::span<const std::uint8_t> message)
{
  constexpr std::array<std::array<std::uint8_t, 3>, 15> kinds{{
      {0x00, 0, 8},
      {0x00, 3, 0},
      {0x00, 4, 1},
      {0x00, 4, 3},
      {0x00, 4, 4},
      {0x00, 6, 2},
      {0x00, 6, 3},
      {0x00, 6, 4},
      {0x80, 3, 0},
      {0x80, 3, 4},
      {0x80, 4, 1},
      {0x80, 4, 2},
      {0x80, 4, 4},
      {0x80, 4, 5},
      {0x80, 6, 0},
  }};
  const std::array<std::uint8_t, 3> kind{static_cast<std::uint8_t>(message[0] & 0x80), message[2],
                                         message[3]};
  return std::ranges::find(kinds, kind) != kinds.end();
}

}  // namespace

void GloveLedger::sample(const SentFrame& frame, Duration now)
{
  // Its counter began again.
  if (!sampled_.empty() && frame.number <= sampled_.back().number) sampled_.clear();
  sampled_.push_back({frame.number, frame.ticks, now});
}

LedgerFrame GloveLedger::sampled(std::uint64_t number)
{
  while (sampled_.front().number < number) {
    sampled_.pop_front();
  }
  return sampled_.front();
}

// A glove that does not confirm the start counts as started.
void GloveLedger::requestStart(bool isConfirmed)
{
  (isConfirmed ? isRequested_ : isOpen_) = true;
}

void GloveLedger::confirm()
{
  if (std::exchange(isRequested_, false)) isOpen_ = true;
}

void GloveLedger::end()
{
  if (!std::exchange(isOpen_, false)) return;
  settle(false);
}

void GloveLedger::hear(std::uint64_t frame, const simulator::Packet& packet)
{
  if (!isOpen_) return;
  const std::size_t index = packet[0] & 0x0F;
  if (index == 0) beginFrame(frame, packet[1] & 0x0F);
  if (heard_ && heard_->frame == frame) heard_->isHere[index] = true;
  assemble(packet);
}

bool GloveLedger::Heard::isComplete() const
{
  return isPublished || std::all_of(isHere.begin(), isHere.begin() + static_cast<std::ptrdiff_t>(packets),
                                    [](bool isThis) { return isThis; });
}

void GloveLedger::beginFrame(std::uint64_t frame, std::size_t packets)
{
  const bool isSame = heard_ && heard_->frame == frame;
  if (isSame && !heard_->isComplete()) return;  // a doubled packet
  const std::uint64_t unheard = isSame || !heard_ ? 0 : frame - heard_->frame - 1;
  settle(true);
  heard_ = {.frame = frame, .unheard = unheard, .isRepeat = isSame, .packets = packets};
}

// Counts the frame, unless it is the last one heard and not accepted.
void GloveLedger::settle(bool isFollowed)
{
  if (!heard_ || !(isFollowed || heard_->isPublished)) return;
  (heard_->isRepeat ? books_->repeated : books_->sent) += 1;
  books_->sent += heard_->unheard;
  books_->lost.unheard += heard_->unheard;
  if (heard_->isPublished) return;
  (heard_->isComplete() ? books_->lost.refused : books_->lost.radio) += 1;
}

// Packets count from 0; any other one ends the frame, and is not looked at again.
void GloveLedger::assemble(const simulator::Packet& packet)
{
  const std::size_t index = packet[0] & 0x0F;
  if (index != expected_) {
    expected_ = 0;
    return;
  }
  ++expected_;
  if (index == 0) {
    count_ = packet[1] & 0x0F;
    samples_.clear();
  }
  for (std::size_t at = index == 0 ? 4 : 2; at < packet.size(); at += 2) {
    samples_.push_back(static_cast<std::uint16_t>(packet[at] << 8 | packet[at + 1]));
  }
  if (index == 0 || index + 1 != count_) return;
  expected_ = 0;
  // Under the number of its first packet, even if later ones are of another frame.
  published_.push_back({heard_->frame, samples_});
  heard_->isPublished = true;
}

GloveLedger::Published GloveLedger::fetch(bool trim)
{
  for (; trim && published_.size() > trimmedDepth; published_.pop_front()) {
    ++books_->lost.pairing;
  }
  Published front = std::move(published_.front());
  published_.pop_front();
  return front;
}

void GloveLedger::unload()
{
  end();
  if (!published_.empty()) books_->lost.queued += published_.size();
  published_.clear();
  isRequested_ = false;
  heard_.reset();
  expected_ = 0;
}

void Ledger::observe(Glove& glove, const VirtualClock& clock)
{
  const std::size_t index = gloves_.size();
  GloveLedger& ledger = gloves_.emplace_back(Observed{&glove, {}}).ledger;
  glove.onFrame = [&ledger, &clock](const SentFrame& frame) { ledger.sample(frame, clock.now()); };
  glove.onPacketTaken = [this, index](std::uint64_t frame) { announce({index, frame}); };
}

void Ledger::deliver(std::span<const std::uint8_t> message)
{
  if (announced_ && is(message, 0x80, 4, 5, 29) && u16(message, 5) == measurement) {
    packets_.push_back({delivered_, *std::exchange(announced_, std::nullopt)});
  }
  waiting_.insert(waiting_.end(), message.begin(), message.end());
  delivered_ += message.size();
}

// The plug-in divides the bytes into messages as they come; behind garbage it may miss the beginning of one.
void Ledger::consume(std::uint64_t bytes)
{
  constexpr std::size_t header = 4;
  std::vector<std::uint8_t> message;
  while (position_ + header <= bytes && position_ + header + waiting_[1] <= bytes) {
    const auto end = waiting_.begin() + static_cast<std::ptrdiff_t>(header + waiting_[1]);
    message.assign(waiting_.begin(), end);
    waiting_.erase(waiting_.begin(), end);
    while (!packets_.empty() && packets_.front().start < position_) {
      packets_.pop_front();
    }
    const bool isPacket = !packets_.empty() && packets_.front().start == position_;
    position_ += message.size();
    hasHandled_ = hasHandled_ || isHandled(message);
    dispatch(message, isPacket ? std::optional(packets_.front().packet) : std::nullopt);
  }
}

void Ledger::dispatch(std::span<const std::uint8_t> bytes, const std::optional<Packet>& packet)
{
  if (packet) {
    simulator::Packet content;
    std::copy_n(bytes.begin() + 9, content.size(), content.begin());
    gloves_[packet->glove].ledger.hear(packet->frame, content);
  } else if (is(bytes, 0x80, 3, 0, 12)) {
    Connection& connection = connections_.at(bytes[4]);
    for (Observed& each : gloves_) {
      if (!std::ranges::equal(each.glove->config.address, bytes.subspan(6, 6))) continue;
      connection.glove = &each;
      each.ledger.connect(connection.books);
    }
  } else if (is(bytes, 0x80, 4, 1, 9) && u16(bytes, 5) == 0 && u16(bytes, 7) == configuration) {
    if (GloveLedger* const glove = connected(bytes[4])) glove->confirm();
  } else if (is(bytes, 0x80, 3, 4, 5)) {
    if (GloveLedger* const glove = connected(bytes[4])) glove->end();
  }
}

GloveLedger* Ledger::connected(std::uint8_t connection)
{
  Observed* const glove = connection < connections_.size() ? connections_[connection].glove : nullptr;
  return glove == nullptr ? nullptr : &glove->ledger;
}

void Ledger::write(std::span<const std::uint8_t> bytes)
{
  written_.insert(written_.end(), bytes.begin(), bytes.end());
  while (written_.size() >= 4 && written_.size() >= 4U + written_[1]) {
    const std::size_t size = 4U + written_[1];
    dispatchWrite(std::span(written_).first(size));
    written_.erase(written_.begin(), written_.begin() + static_cast<std::ptrdiff_t>(size));
  }
}

void Ledger::dispatchWrite(std::span<const std::uint8_t> command)
{
  constexpr std::uint16_t confirmingRevision = 5;
  if (!is(command, 0, 4, 5, 10) || u16(command, 5) != configuration) return;
  GloveLedger* const glove = connected(command[4]);
  if (glove == nullptr) return;
  if (command[8] == 0) {
    glove->end();
  } else {
    glove->requestStart(connections_[command[4]].glove->glove->config.revision >= confirmingRevision);
  }
}

// A read handles one message and then fetches; the second read in a row without one fails instead.
std::optional<Ledger::Record> Ledger::turn(bool isWritten)
{
  failedTurns_ = std::exchange(hasHandled_, false) ? 0 : failedTurns_ + 1;
  if (failedTurns_ > 1) return std::nullopt;
  std::vector<GloveLedger*> gloves;
  std::size_t deepest = 0;
  for (std::size_t sensor = 0; sensor < sensors_; ++sensor) {
    gloves.push_back(connected(static_cast<std::uint8_t>(sensor)));
    if (gloves.back()->depth() == 0) return std::nullopt;
    deepest = std::max(deepest, gloves.back()->depth());
  }
  Record record;
  bool isLongEnough = true;
  for (GloveLedger* const glove : gloves) {
    auto fetched = glove->fetch(sensors_ > 1 && glove->depth() == deepest);
    record.frames.push_back(glove->sampled(fetched.frame));
    isLongEnough = isLongEnough && fetched.samples.size() >= elements_;
    fetched.samples.resize(elements_);
    record.elements.insert(record.elements.end(), fetched.samples.begin(), fetched.samples.end());
  }
  for (GloveLedger* const glove : gloves) {
    GloveBooks& books = glove->books();
    (!isLongEnough ? books.lost.faulty : isWritten ? books.recorded : books.lost.discarded) += 1;
  }
  return isLongEnough ? std::optional(record) : std::nullopt;
}

void Ledger::unload()
{
  for (Observed& each : gloves_) {
    each.ledger.unload();
  }
  for (Connection& connection : connections_) {
    connection.glove = nullptr;
  }
  announced_.reset();
  position_ = delivered_;
  waiting_.clear();
  packets_.clear();
  written_.clear();
  hasHandled_ = false;
  failedTurns_ = 0;
}

std::vector<GloveBooks> Ledger::books() const
{
  std::vector<GloveBooks> books;
  for (std::size_t sensor = 0; sensor < sensors_; ++sensor) {
    books.push_back(connections_.at(sensor).books);
  }
  return books;
}

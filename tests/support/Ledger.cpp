#include "tests/support/Ledger.h"

#include <algorithm>
#include <utility>

using simulator::Duration;
using simulator::Glove;
using simulator::SentFrame;

namespace {

constexpr std::size_t measurement = 17, configuration = 18, version = 24;
constexpr std::uint8_t packetSize = 20;
constexpr std::size_t trimmedDepth = 2;
constexpr std::uint8_t noConnection = 0xFF;

std::size_t u16(std::span<const std::uint8_t> bytes, std::size_t at)
{
  return bytes[at] | std::size_t{bytes[at + 1]} << 8;
}

// Compares type, class and id. The plug-in does not look at the length of a message.
bool is(std::span<const std::uint8_t> message, std::uint8_t type, std::uint8_t group, std::uint8_t id)
{
  return (message[0] & 0x80) == type && message[2] == group && message[3] == id;
}

// Or what is left of the message with one.
bool isPacket(std::span<const std::uint8_t> message)
{
  constexpr std::array<std::uint8_t, 4> header{0x80, 5 + packetSize, 4, 5};
  const std::size_t compared = std::min(message.size(), header.size());
  return std::ranges::equal(message.first(compared), std::span(header).first(compared)) &&
         (message.size() < 7 || u16(message, 5) == measurement);
}

// Whether the protocol has this response or event, so that a read with it does not fail. The ids of each
// class count from 0.
bool isKnown(std::span<const std::uint8_t> message)
{
  constexpr std::array<std::uint8_t, 10> responses{18, 9, 6, 10, 12, 8, 12, 21, 7, 4};
  constexpr std::array<std::uint8_t, 10> events{7, 1, 3, 5, 7, 5, 2, 4, 0, 1};
  const auto& counts = (message[0] & 0x80) != 0 ? events : responses;
  return message[2] < counts.size() && message[3] < counts[message[2]];
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
  // A swapped packet comes after the first one of the next frame.
  constexpr std::uint64_t late = 2;
  while (sampled_.front().number + late < number) {
    sampled_.pop_front();
  }
  return *std::ranges::find(sampled_, number, &LedgerFrame::number);
}

// A glove that does not confirm the start counts as started.
void GloveLedger::requestStart(bool isConfirmed)
{
  if (isConfirmed) {
    isRequested_ = true;
  } else {
    isListening_ = isOpen_ = true;
  }
}

void GloveLedger::confirm()
{
  if (std::exchange(isRequested_, false)) {
    isListening_ = isOpen_ = true;
  } else {
    end();
    isListening_ = false;
  }
}

void GloveLedger::end()
{
  if (!std::exchange(isOpen_, false)) return;
  settle(false);
  heard_.reset();
}

void GloveLedger::stopListening()
{
  end();
  isRequested_ = isListening_ = false;
}

void GloveLedger::hear(const LedgerFrame& frame, const simulator::Packet& packet)
{
  if (!isListening_) return;
  const std::size_t index = packet[0] & 0x0F;
  if (isOpen_ && index == 0) beginFrame(frame, packet[1] & 0x0F);
  if (heard_ && heard_->frame.number == frame.number) heard_->isHere[index] = true;
  assemble(frame, packet);
}

bool GloveLedger::Heard::isComplete() const
{
  return isPublished || std::all_of(isHere.begin(), isHere.begin() + static_cast<std::ptrdiff_t>(packets),
                                    [](bool isThis) { return isThis; });
}

void GloveLedger::beginFrame(const LedgerFrame& frame, std::size_t packets)
{
  const bool isSame = heard_ && heard_->frame.number == frame.number;
  if (isSame && !heard_->isComplete()) return;  // a doubled packet
  const std::uint64_t unheard = isSame || !heard_ ? 0 : frame.number - heard_->frame.number - 1;
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
void GloveLedger::assemble(const LedgerFrame& frame, const simulator::Packet& packet)
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
    assembled_ = frame;
    // Even the same time again is a whole turn of the glove's clock later.
    const std::uint32_t clock = static_cast<std::uint32_t>(packet[2]) << 8 | packet[3];
    clock_ = (clock_ & ~0xFFFFU) + (clock <= (clock_ & 0xFFFF) ? 0x10000 : 0) + clock;
  }
  for (std::size_t at = index == 0 ? 4 : 2; at < packet.size(); at += 2) {
    samples_.push_back(static_cast<std::uint16_t>(packet[at] << 8 | packet[at + 1]));
  }
  if (index == 0 || index + 1 != count_) return;
  expected_ = 0;
  // Under the number of its first packet, even if later ones are of another frame.
  const bool isAccounted = heard_ && heard_->frame.number == assembled_.number;
  published_.push_back({assembled_, clock_, isAccounted, samples_});
  if (isAccounted) heard_->isPublished = true;
}

GloveLedger::Published GloveLedger::fetch(bool trim)
{
  for (; trim && published_.size() > trimmedDepth; published_.pop_front()) {
    if (published_.front().isAccounted) ++books_->lost.pairing;
  }
  Published front = std::move(published_.front());
  published_.pop_front();
  return front;
}

void GloveLedger::unload()
{
  stopListening();
  for (const Published& each : published_) {
    if (each.isAccounted) ++books_->lost.queued;
  }
  published_.clear();
  expected_ = 0;
  clock_ = 0;
}

void Ledger::observe(Glove& glove, const VirtualClock& clock)
{
  const std::size_t index = gloves_.size();
  GloveLedger& ledger = gloves_.emplace_back(Observed{&glove, {}}).ledger;
  glove.onFrame = [&ledger, &clock](const SentFrame& frame) { ledger.sample(frame, clock.now()); };
  glove.onPacketTaken = [this, index, &ledger](std::uint64_t frame) {
    announce({index, ledger.sampled(frame)});
  };
}

void Ledger::deliver(std::span<const std::uint8_t> message)
{
  if (announced_ && isPacket(message)) {
    packets_.push_back({delivered_, *std::exchange(announced_, std::nullopt)});
  }
  waiting_.insert(waiting_.end(), message.begin(), message.end());
  delivered_ += message.size();
}

void Ledger::beginMessage()
{
  start_ = position_;
  std::fill_n(message_.begin(), headerSize, std::uint8_t{0});
  part_ = offset_ = 0;
  partSize_ = missing_ = headerSize;
}

// The plug-in reads header and payload as they come; behind garbage it may miss the beginning of a message.
// After a read that moved less than it wanted, the rest goes further behind than it belongs.
void Ledger::read(std::size_t bytes)
{
  if (bytes == 0) return beginMessage();
  for (std::size_t at = offset_; at < offset_ + bytes; ++at) {
    if (at < partSize_) message_[part_ + at] = waiting_.front();
    waiting_.pop_front();
  }
  position_ += bytes;
  missing_ -= bytes;
  offset_ += missing_;
  if (missing_ > 0) {
    ++hidden_;
    return;
  }
  if (part_ == 0 && message_[1] > 0) {
    part_ = headerSize;
    partSize_ = missing_ = message_[1];
    offset_ = 0;
    return;
  }
  completeMessage();
  beginMessage();
}

void Ledger::completeMessage()
{
  while (!packets_.empty() && packets_.front().start < start_) {
    packets_.pop_front();
  }
  const bool isHere = !packets_.empty() && packets_.front().start == start_;
  hasHandled_ = hasHandled_ || isKnown(message_);
  dispatch(message_, isHere ? std::optional(packets_.front().packet) : std::nullopt);
}

void Ledger::purge()
{
  waiting_.clear();
  position_ = delivered_;
  beginMessage();
}

void Ledger::dispatch(std::span<const std::uint8_t> bytes, const std::optional<Packet>& packet)
{
  if (is(bytes, 0x80, 4, 5)) {
    dispatchValue(bytes, packet);
  } else if (is(bytes, 0x80, 3, 0)) {
    if (bytes[4] >= connections_.size()) return;
    Connection& connection = connections_[bytes[4]];
    for (Observed& each : gloves_) {
      if (!std::ranges::equal(each.glove->config.address, bytes.subspan(6, 6))) continue;
      connection.glove = &each;
      each.ledger.connect(connection.books);
    }
  } else if (is(bytes, 0x80, 4, 1) && u16(bytes, 5) == 0 && u16(bytes, 7) == configuration) {
    if (GloveLedger* const glove = connected(bytes[4])) glove->confirm();
  } else if (is(bytes, 0x80, 3, 4) && bytes[1] >= 3) {
    // Without its payload it is what bytes out of step look like, and the plug-in goes on.
    if (GloveLedger* const glove = connected(bytes[4])) glove->end();
  }
}

void Ledger::dispatchValue(std::span<const std::uint8_t> bytes, const std::optional<Packet>& packet)
{
  constexpr std::uint8_t versionMarker = 0x85;
  GloveLedger* const glove = connected(bytes[4]);
  if (glove == nullptr) return;
  const auto value = bytes.subspan(9);
  if (u16(bytes, 5) == measurement && bytes[8] == packetSize && packet) {
    simulator::Packet content;
    std::copy_n(value.begin(), content.size(), content.begin());
    glove->hear(packet->frame, content);
  } else if (u16(bytes, 5) == version && value[0] == versionMarker) {
    unsigned sum = 0;
    for (const std::uint8_t byte : value.subspan(2, 14)) {
      sum += byte;
    }
    if (value[1] == (sum & 0xFF)) connections_[bytes[4]].revision = static_cast<std::uint16_t>(u16(value, 4));
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

void Ledger::refuseWrite(std::span<const std::uint8_t> command)
{
  if (command.size() <= 4 || !is(command, 0, 3, 0)) return;
  ++hidden_;
  dispatchWrite(command);
}

void Ledger::dispatchWrite(std::span<const std::uint8_t> command)
{
  constexpr std::uint16_t confirmingRevision = 5;
  GloveLedger* const glove = connected(command.size() > 4 ? command[4] : noConnection);
  if (glove == nullptr) return;
  if (is(command, 0, 3, 0)) {
    glove->stopListening();
  } else if (command.size() >= 10 && is(command, 0, 4, 5) && u16(command, 5) == configuration) {
    if (command[8] == 0) {
      glove->end();
    } else {
      glove->requestStart(connections_[command[4]].revision >= confirmingRevision);
    }
  }
}

// A read handles one message and then fetches; the second read in a row without one fails instead.
Ledger::Turn Ledger::turn(bool isWritten)
{
  beginMessage();
  failedTurns_ = std::exchange(hasHandled_, false) ? 0 : failedTurns_ + 1;
  if (failedTurns_ > 1) return {Turn::Outcome::dead};
  std::vector<GloveLedger*> gloves;
  std::size_t deepest = 0;
  for (std::size_t sensor = 0; sensor < sensors_; ++sensor) {
    gloves.push_back(connected(static_cast<std::uint8_t>(sensor)));
    if (gloves.back() == nullptr || gloves.back()->depth() == 0) return {Turn::Outcome::silent};
    deepest = std::max(deepest, gloves.back()->depth());
  }
  Record record{.backlog = deepest};
  bool isLongEnough = true;
  std::vector<bool> areAccounted;
  for (GloveLedger* const glove : gloves) {
    auto fetched = glove->fetch(sensors_ > 1 && glove->depth() == deepest);
    areAccounted.push_back(fetched.isAccounted);
    if (record.frames.empty()) record.clock = fetched.clock;
    record.frames.push_back(fetched.frame);
    isLongEnough = isLongEnough && fetched.samples.size() >= elements_;
    fetched.samples.resize(elements_);
    record.elements.insert(record.elements.end(), fetched.samples.begin(), fetched.samples.end());
  }
  for (std::size_t sensor = 0; sensor < sensors_; ++sensor) {
    if (!areAccounted[sensor]) continue;
    GloveBooks& books = gloves[sensor]->books();
    (!isLongEnough ? books.lost.faulty : isWritten ? books.recorded : books.lost.discarded) += 1;
  }
  return {isLongEnough ? Turn::Outcome::record : Turn::Outcome::tooShort, std::move(record)};
}

void Ledger::reopen()
{
  for (Observed& each : gloves_) {
    each.ledger.stopListening();
  }
  for (Connection& connection : connections_) {
    connection.revision = 0;
  }
  purge();
  announced_.reset();
  packets_.clear();
  written_.clear();
  hasHandled_ = false;
  failedTurns_ = 0;
}

void Ledger::unload()
{
  for (Observed& each : gloves_) {
    each.ledger.unload();
  }
  for (Connection& connection : connections_) {
    connection.glove = nullptr;
  }
  reopen();
  message_ = {};
}

std::vector<GloveBooks> Ledger::books() const
{
  std::vector<GloveBooks> books;
  for (std::size_t sensor = 0; sensor < sensors_; ++sensor) {
    books.push_back(connections_.at(sensor).books);
  }
  return books;
}

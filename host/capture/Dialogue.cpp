#include "host/capture/Dialogue.h"

#include <fmt/core.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <fstream>
#include <utility>

#include "host/base/Failure.h"
#include "host/base/Text.h"
#include "host/capture/CaptureReader.h"

namespace {

using Time = Dialogue::Time;
using Ending = Dialogue::Ending;

constexpr std::size_t headerSize = 4;

bool isHeader(std::span<const std::uint8_t> bytes)
{
  constexpr std::uint8_t unusedBits = 0x78;
  constexpr std::uint8_t lastClass = 9;
  return bytes.size() >= headerSize && (bytes[0] & unusedBits) == 0 && bytes[2] <= lastClass;
}

// Whether a serial call moved the beginning of a message: its header alone, or all of it. An array that ends
// a command is written by a call of its own.
bool isBeginReceived(std::span<const std::uint8_t> call)
{
  return isHeader(call) && (call.size() == headerSize || call.size() == headerSize + call[1]);
}
bool isBeginSent(std::span<const std::uint8_t> call)
{
  return isHeader(call) && call.size() <= headerSize + call[1];
}

}  // namespace

std::vector<std::uint8_t> commandBytes(const simulator::Command& command)
{
  return simulator::MessageWriter::command(command.group, command.id).bytes(command.payload).message();
}

bool isReset(std::span<const std::uint8_t> command)
{
  return command.size() > headerSize && command[2] == simulator::message_class::system && command[3] == 0;
}

bool isDisconnect(std::span<const std::uint8_t> command)
{
  return command.size() > headerSize && command[2] == simulator::message_class::connection && command[3] == 0;
}

void DialogueBuilder::add(const CaptureBlock& block)
{
  const bool isSection = block.kind == CaptureBlock::Kind::section;
  if (isSection) {
    flushRest();
    endOpening(Ending::cut);
    ++dialogue_.sections;
    received_.clear();
    sent_.clear();
    receivedInStep_ = sentInStep_ = true;
  }
  passTime(block.time, isSection);
  switch (block.kind) {
    case CaptureBlock::Kind::section:
      break;
    case CaptureBlock::Kind::received:
      received(block);
      break;
    case CaptureBlock::Kind::sent:
      sent(block);
      break;
    case CaptureBlock::Kind::note:
      note(block.text);
      break;
  }
}

// Adds up the differences, each within bounds, so that a damaged time costs little.
void DialogueBuilder::passTime(Nanoseconds blockTime, bool isNewSection)
{
  constexpr Nanoseconds maxPause = std::chrono::minutes(1);
  constexpr Nanoseconds maxPauseOfSections = std::chrono::hours(24);
  // Unsigned: the times of a damaged capture may be any.
  const auto difference = latestBlock_ ? static_cast<std::uint64_t>(blockTime.count()) -
                                             static_cast<std::uint64_t>(latestBlock_->count())
                                       : 0;
  const Nanoseconds passed(static_cast<std::int64_t>(difference));
  elapsed_ += std::clamp(passed, Nanoseconds(0), isNewSection ? maxPauseOfSections : maxPause);
  latestBlock_ = blockTime;
}

// Rounded up, so that what followed a timeout does not come before it.
Time DialogueBuilder::now() const
{
  return std::chrono::ceil<Time>(elapsed_);
}

Dialogue::Opening& DialogueBuilder::opening()
{
  if (!std::exchange(isOpen_, true)) {
    Dialogue::Opening& added = dialogue_.openings.emplace_back();
    added.section = dialogue_.sections;
    added.begin = added.end = now();
    causes_ = {};
  }
  return dialogue_.openings.back();
}

void DialogueBuilder::endOpening(Ending ending)
{
  if (!std::exchange(isOpen_, false)) return;
  Dialogue::Opening& opening = dialogue_.openings.back();
  if (opening.steps.empty()) {
    dialogue_.openings.pop_back();
    return;
  }
  opening.end = ending == Ending::cut ? opening.steps.back().time : now();
  opening.ending = ending;
}

// The plug-in disconnects gloves that send before it closes the port, unless the port is gone.
void DialogueBuilder::endByClosing()
{
  if (!isOpen_) return;
  bool isSubscribed = false;
  bool isDisconnected = false;
  const Dialogue::Opening& opening = dialogue_.openings.back();
  for (const std::uint32_t index : opening.commands) {
    const Dialogue::Step& step = opening.steps[index];
    isSubscribed |= step.isStream;
    isDisconnected |= isDisconnect(dialogue_.bytesOf(step));
  }
  endOpening(isSubscribed && !isDisconnected ? Ending::vanished : Ending::closed);
}

void DialogueBuilder::note(std::string_view text)
{
  constexpr std::string_view lost = "lost ";
  flushRest();
  if (text.starts_with("open")) {
    endOpening(Ending::cut);
    opening();
  } else if (text == "close") {
    endByClosing();
  } else if (text.starts_with(lost)) {
    std::uint64_t blocks = 1;
    std::from_chars(text.data() + lost.size(), text.data() + text.size(), blocks);
    dialogue_.lostBlocks += blocks;
    addGap();
  }
}

void DialogueBuilder::addGap()
{
  flushRest();
  sent_.clear();
  receivedInStep_ = sentInStep_ = false;
}

void DialogueBuilder::received(const CaptureBlock& block)
{
  receivedInStep_ = receivedInStep_ || isBeginReceived(block.bytes);
  if (!receivedInStep_) return;
  opening();
  if (block.text == "incomplete") {
    // The read ended with its timeout; these bytes, which the plug-in dropped, had come before.
    constexpr Time beforeTimeout = std::chrono::milliseconds(50);
    flushRest();
    const auto& steps = dialogue_.openings.back().steps;
    const Time latest = steps.empty() ? dialogue_.openings.back().begin : steps.back().time;
    addStep(block.bytes, std::max(latest, now() - beforeTimeout));
    return;
  }
  received_.add(block.bytes);
  restTime_ = now();
  while (const auto message = received_.next()) {
    const auto cause = causes_.of(*message);
    const std::size_t size = headerSize + message->payload.size();
    Dialogue::Step& step = addStep({message->payload.data() - headerSize, size}, now());
    step.isStream = Causes::isStream(*message);
    if (step.isStream) dialogue_.openings.back().lastStream = now();
    if (cause) step.cause = static_cast<std::uint32_t>(*cause);
  }
}
void DialogueBuilder::flushRest()
{
  if (!received_.rest().empty()) addStep(received_.rest(), restTime_);
  received_.clear();
}

Dialogue::Step& DialogueBuilder::addStep(std::span<const std::uint8_t> bytes, Time time)
{
  std::vector<Dialogue::Step>& steps = opening().steps;
  steps.push_back(
      {.size = static_cast<std::uint32_t>(bytes.size()), .begin = dialogue_.bytes.size(), .time = time});
  dialogue_.bytes.insert(dialogue_.bytes.end(), bytes.begin(), bytes.end());
  return steps.back();
}

void DialogueBuilder::sent(const CaptureBlock& block)
{
  // What was written only in part, the program did not repeat.
  if (block.text == "incomplete") return sent_.clear();
  sentInStep_ = sentInStep_ || isBeginSent(block.bytes);
  if (!sentInStep_) return;
  sent_.add(block.bytes);
  while (const auto command = sent_.next()) {
    addCommand(*command);
  }
}

void DialogueBuilder::addCommand(const simulator::Command& command)
{
  flushRest();
  Dialogue::Opening& target = opening();
  const auto index = static_cast<std::uint32_t>(target.steps.size());
  const auto bytes = commandBytes(command);
  Dialogue::Step& step = addStep(bytes, now());
  step.isCommand = true;
  step.isStream = Causes::isSubscription(command);
  causes_.add(index, command);
  target.commands.push_back(index);
  if (isReset(bytes)) endOpening(Ending::reset);
}

Dialogue DialogueBuilder::finish()
{
  flushRest();
  endOpening(Ending::cut);
  return std::exchange(dialogue_, {});
}

Dialogue readDialogue(const std::filesystem::path& path)
{
  constexpr std::uint64_t maxSize = std::uint64_t{4} << 30;
  constexpr const char* advice =
      "A capture is what `tessel record --capture FILE` or TESSEL_CAPTURE wrote: see docs/capture.md.";
  const std::string name = utf8(path);
  std::error_code ignored;
  std::ifstream file;
  if (!std::filesystem::is_directory(path, ignored)) file.open(path, std::ios::binary);
  if (!file.is_open()) {
    throw Failure(ExitCode::recording, fmt::format("the capture {} can't be read.", name), advice);
  }

  CaptureReader reader;
  DialogueBuilder builder;
  std::vector<char> piece(std::size_t{1} << 20);
  std::uint64_t size = 0;
  std::uint64_t skipped = 0;
  while (file.read(piece.data(), static_cast<std::streamsize>(piece.size())), file.gcount() > 0) {
    const auto count = static_cast<std::size_t>(file.gcount());
    size += count;
    if (size > maxSize) {
      throw Failure(ExitCode::recording, fmt::format("the capture {} is larger than 4 GiB.", name),
                    "Cut it, for example with `editcap -r IN OUT 1-20000000`, and replay the part.");
    }
    reader.add({reinterpret_cast<const std::uint8_t*>(piece.data()), count});
    while (const auto block = reader.next()) {
      if (reader.skippedBytes() > std::exchange(skipped, reader.skippedBytes())) builder.addGap();
      builder.add(*block);
    }
  }
  Dialogue dialogue = builder.finish();
  dialogue.skippedBytes = reader.skippedBytes();
  if (dialogue.sections == 0) {
    throw Failure(ExitCode::recording, fmt::format("{} is no capture.", name), advice);
  }
  if (dialogue.openings.empty()) {
    throw Failure(ExitCode::recording, fmt::format("the capture {} has no bytes of a dongle.", name), advice);
  }
  return dialogue;
}

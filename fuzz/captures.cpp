// A wire capture, as a file or as calls at the port: pieces of it make no difference, what became of its
// frames adds up, its trace is printable, and a replay of it ends.
//
//   a byte: even: a file follows; odd: calls: kind, pause (a byte each), length, and bytes or the text of a
//   note

#include <unistd.h>

#include <fstream>
#include <iterator>
#include <nlohmann/json.hpp>

#include "fuzz/Fuzz.h"
#include "host/capture/CaptureReader.h"
#include "host/capture/Dialogue.h"
#include "host/capture/LiveAccounts.h"
#include "host/capture/Replay.h"
#include "host/trace/CaptureTrace.h"
#include "host/trace/FrameTrace.h"
#include "host/trace/MessageTrace.h"

using fuzz::require;

namespace {

struct Call {
  CaptureBlock::Kind kind;
  std::chrono::nanoseconds time;
  std::vector<std::uint8_t> bytes;
  std::string text;

  CaptureBlock block() const { return {kind, time, bytes, text}; }
  friend bool operator==(const Call&, const Call&) = default;
};
using Calls = std::vector<Call>;

Calls read(std::span<const std::uint8_t> file, std::size_t piece)
{
  Calls calls;
  CaptureReader reader;
  const auto take = [&] {
    require(reader.unfinishedBytes() <= 65'536 + piece, "little is kept");
    while (const auto block = reader.next()) {
      calls.push_back(
          {block->kind, block->time, {block->bytes.begin(), block->bytes.end()}, std::string(block->text)});
    }
  };
  for (std::size_t at = 0; at < file.size(); at += piece) {
    reader.add(file.subspan(at, std::min(piece, file.size() - at)));
    take();
  }
  reader.end();
  take();
  require(reader.skippedBytes() + reader.unfinishedBytes() <= file.size(),
          "no more is skipped than there is");
  return calls;
}

Calls make(fuzz::Input& input)
{
  Calls calls{{CaptureBlock::Kind::section, {}, {}, {}}};
  while (!input.atEnd()) {
    const auto kind = static_cast<CaptureBlock::Kind>(input.below(4));
    const auto time = calls.back().time + std::chrono::milliseconds(input.byte());
    const auto bytes = input.take(input.byte());
    if (kind == CaptureBlock::Kind::note) {
      calls.push_back({kind, time, {}, {bytes.begin(), bytes.end()}});
    } else {
      calls.push_back({kind, time, {bytes.begin(), bytes.end()}, {}});
    }
  }
  return calls;
}

// With a record for each of some calls, which fits to none of the frames but by chance.
void account(const Calls& calls, std::size_t gloves, bool hasRecords)
{
  LinkAccounts accounts(gloves, 17);
  if (!calls.empty()) accounts.beginReading(calls.front().time);
  std::size_t records = 0, origins = 0;
  for (std::size_t at = 0; at < calls.size(); ++at) {
    accounts.add(calls[at].block());
    if (hasRecords && at % 4 == 3 && ++records > 0)
      accounts.addRecord(calls[at].time, std::vector<std::uint16_t>(17 * gloves));
    for (; accounts.takeOrigin(); ++origins) {
      accounts.noteWritten();
    }
  }
  accounts.settle(LinkAccounts::Time::max());
  while (accounts.takeOrigin()) {
    ++origins;
  }
  require(origins == records, "each record has an origin, if an unknown one");
  const Books books = accounts.books(true);
  require(books.gloves.size() == gloves, "each glove has its books");
  for (const GloveBooks& glove : books.gloves) {
    require(glove.isBalanced() || books.unmatchedRecords > 0, "each frame has one fate");
  }
  require(accounts.heard().gloves().size() <= HeardDevices::maxGloves, "what was heard is bounded");
}

void replay(const Calls& calls)
{
  constexpr int maxSteps = 2000;
  DialogueBuilder builder;
  for (const Call& call : calls) {
    builder.add(call.block());
  }
  Dialogue dialogue = builder.finish();
  std::vector<std::vector<std::uint8_t>> commands;
  for (const Dialogue::Opening& opening : dialogue.openings) {
    for (const std::uint32_t index : opening.commands) {
      const auto bytes = dialogue.bytesOf(opening.steps.at(index));
      commands.emplace_back(bytes.begin(), bytes.end());
    }
  }
  VirtualClock clock;
  Replay device(clock, std::move(dialogue));
  std::uint64_t sent = 0;
  device.onSend = [&](std::span<const std::uint8_t> bytes) { sent += bytes.size(); };
  device.onReport = [](const std::string& text) { require(!text.empty(), "a departure has words"); };
  for (std::size_t at = 0; at < std::min<std::size_t>(commands.size(), 50); ++at) {
    device.receive(commands[at]);
    clock.advance(std::chrono::milliseconds(10));
  }
  for (int step = 0; step < maxSteps && clock.next(); ++step) {
    clock.advance(*clock.next() - clock.now());
  }
  require(device.progress().bytes <= device.whole().bytes && sent == device.progress().bytes,
          "no more is played than there was");
  require(fuzz::isOneLine(device.summary()), "the summary is a line");
}

// What the trace printed, from a file in place of standard output.
std::string printed(const Calls& calls, TraceView& view)
{
  static const std::string path = [] {
    std::string name = (fuzz::scratchFolder() / "output").string();
    require(std::freopen(name.c_str(), "w", stdout) != nullptr, "output goes into a file");
    return name;
  }();
  require(::ftruncate(::fileno(stdout), 0) == 0, "the file gets empty");
  std::rewind(stdout);
  TraceTime times;
  TraceMoment moment;
  for (const Call& call : calls) {
    CaptureBlock block = call.block();
    moment = times.of(block, block.time);
    block.time = moment.sinceStart;
    view.add(block, moment, !times.wasReplaced());
  }
  view.end(0, moment);
  std::fflush(stdout);
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

void trace(const Calls& calls, std::uint8_t choice)
{
  const TraceFormat format{.isJson = (choice & 2) != 0, .showsWallClock = (choice & 4) != 0};
  TraceOutput output(format);
  std::string text;
  if ((choice & 8) != 0) {
    FrameTrace frames(output, {},
                      (choice & 16) != 0 ? FrameTrace::Content::frames : FrameTrace::Content::books);
    text = printed(calls, frames);
  } else {
    MessageTrace messages(output, {}, (choice & 16) != 0);
    text = printed(calls, messages);
  }
  for (std::size_t begin = 0; begin < text.size(); begin = text.find('\n', begin) + 1) {
    const std::string_view line = std::string_view(text).substr(begin, text.find('\n', begin) - begin);
    require(fuzz::isOneLine(line), "a line of the trace is printable");
    if (format.isJson) require(nlohmann::json::accept(line), "a line is JSON");
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
  fuzz::Input input(data, size);
  const std::uint8_t choice = input.byte();
  Calls calls;
  if ((choice & 1) == 0) {
    const auto file = input.take(size);
    calls = read(file, file.size() + 1);
    require(read(file, 1 + choice / 8U) == calls, "pieces make no difference");
    LiveAccounts live(2, 17);
    live.receive(file);
    live.settle();
    require(live.close().gloves.size() == 2, "each glove has its books");
  } else {
    calls = make(input);
  }
  for (const std::size_t gloves : {1U, 2U}) {
    account(calls, gloves, (choice & 32) != 0);
  }
  replay(calls);
  trace(calls, choice);
  return 0;
}

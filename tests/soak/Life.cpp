#include "tests/soak/Life.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <memory>
#include <optional>
#include <utility>

#include "host/base/Text.h"
#include "simulator/WordReader.h"
#include "tests/ledger/TestPlugin.h"
#include "tests/soak/Expectation.h"
#include "tests/soak/GuardedStore.h"
#include "tests/soak/LifeBooks.h"
#include "tests/soak/LoadedPlugin.h"
#include "tests/soak/OpeningRules.h"
#include "tests/soak/ReadRules.h"
#include "tests/soak/World.h"
#include "tests/support/FailingMemory.h"

using simulator::toText;

namespace {

struct {
  const VirtualClock* clock;
  std::uint32_t start;
} hostTime;

std::uint32_t hostClock()
{
  const auto now = std::chrono::duration_cast<std::chrono::milliseconds>(hostTime.clock->now());
  return hostTime.start + static_cast<std::uint32_t>(now.count());
}

// Virtual seconds. A read waits for a header and a payload a second each, but for pieces of them, too, and
// sends a command. An opening goes on as long as a glove sends that could not be told to stop: the host then
// stops it.
constexpr double longestRead = 20, longestSoundOpening = 60, patience = 300, longestOpening = patience + 20,
                 longestClosing = 20;

// A hardware object, as the host has it.
struct Object {
  HwInterface* hardware;
  bool wasConfigured = false;
  bool isOpen = false;     // the latest opening succeeded, and nothing was closed since
  bool isStopped = false;  // which then delivers nothing
  double openedAt = 0, latestRecord = 0;
  std::size_t commands = 0, received = 0;  // queued since it was opened; by the glove before
  ReadRules rules = {};
};

class Life {
 public:
  explicit Life(const Script& script)
      : script_(script),
        surroundings_(script.surroundings),
        world_(surroundings_),
        store_(surroundings_.gloves * surroundings_.elements())
  {
    hostTime = {&world_.platform().clock, surroundings_.hostClock};
    watch();
  }

  LifeResult live(std::size_t steps)
  {
    try {
      for (; result_.steps < steps;) {
        const Step& step = script_.steps[result_.steps++];
        run(step);
        checkStep();
      }
      if (plugin_) run({Step::Kind::unload});
    } catch (const std::exception& error) {
      result_.failure = toText("after ", world_.now(), " s: ", error.what());
      abandon();
    }
    result_.seconds = world_.now();
    return std::move(result_);
  }

 private:
  void run(const Step& step);
  void load();
  void unload();
  void create();
  void configure(const Step& step);
  void read(double seconds);
  std::int32_t readOnce();
  void checkFlow(double begin, double seconds, std::uint64_t records);
  void ask(const std::string& text);
  void save();
  void close();
  void release(Object object);
  void checkClosed();
  void checkStep();
  void abandon();

  Object& newest()
  {
    expect(!objects_.empty(), "the script uses an object that there is not");
    return objects_.back();
  }
  // Ends a call that goes on and on, by an exception out of the operation that the plug-in waits in.
  void watch()
  {
    constexpr double interval = 10;
    world_.platform().clock.after(virtualSeconds(interval), [this] {
      watch();
      if (world_.now() > deadline_) {
        deadline_ = never;
        throw Broken("a call does not end");
      }
    });
  }
  // Runs a call of the plug-in, which has to end within these virtual seconds.
  template <class Call>
  auto within(double seconds, const char* what, const Call& call)
  {
    const double begin = world_.now();
    deadline_ = begin + seconds;
    const auto result = call();
    deadline_ = never;
    expect(world_.now() - begin <= seconds, what, " took ", world_.now() - begin, " s");
    return result;
  }

  const Script& script_;
  const Surroundings& surroundings_;
  World world_;
  GuardedStore store_;
  LifeBooks books_{world_, surroundings_};
  std::optional<LoadedPlugin> plugin_;
  std::vector<Object> objects_;
  OpeningRules openingRules_{world_};
  static constexpr double never = std::numeric_limits<double>::infinity();
  double deadline_ = never;  // of the current call
  LifeResult result_;
};

void Life::run(const Step& step)
{
  using Kind = Step::Kind;
  const auto fault = [&]() -> const Fault& { return *std::ranges::find(faults(), step.text, &Fault::name); };
  switch (step.kind) {
    case Kind::load:
      return load();
    case Kind::create:
      return create();
    case Kind::loseLog:
      return plugin_->loseLog();
    case Kind::configure:
      return configure(step);
    case Kind::read:
      return read(step.seconds);
    case Kind::wait:
      return world_.platform().clock.advance(virtualSeconds(step.seconds));
    case Kind::ask:
      return ask(step.text);
    case Kind::save:
      return save();
    case Kind::close:
      return close();
    case Kind::release: {
      const Object object = newest();
      objects_.pop_back();
      return release(object);
    }
    case Kind::releaseEarlier: {
      expect(objects_.size() > 1 && !objects_.front().wasConfigured, "the script has no such object");
      const Object object = objects_.front();
      objects_.erase(objects_.begin());
      return release(object);
    }
    case Kind::unload:
      return unload();
    case Kind::event:
      return world_.schedule(step.seconds, step.text);
    case Kind::begin:
      return world_.begin(step.seconds, fault());
    case Kind::end:
      return world_.end(step.seconds, fault());
    case Kind::heal:
      return world_.heal();
  }
}

void Life::load()
{
  plugin_.emplace(world_, surroundings_);
  openingRules_.load();
  books_.load();
}

void Life::unload()
{
  const bool wasOpen = std::ranges::any_of(objects_, &Object::isOpen);
  books_.endReading();
  objects_.clear();
  within(longestClosing, "unloading", [this] {
    plugin_.reset();
    return true;
  });
  world_.gloves().ledger().unload();
  if (books_.compare()) ++result_.books;
  if (wasOpen) checkClosed();
}

void Life::create()
{
  HwInterface* hardware = plugin_->create(hostClock);
  objects_.push_back({hardware});
  expect(hardware->getNativeSize() == store_.elements().size(), "the record has ", hardware->getNativeSize(),
         " elements");
  hardware->mapping_ = &store_.map;
}

void Life::configure(const Step& step)
{
  Object& object = newest();
  if (plugin_->isLogLost()) {
    expect(object.hardware->configure() == -1, "an opening succeeded without its log");
    expect(object.hardware->lastError_.starts_with(L"Could not create log file"), "an opening failed with \"",
           narrow(object.hardware->lastError_), '"');
    plugin_->findLog();
  }
  world_.gloves().ledger().reopen();
  books_.open();
  const double begin = world_.now();
  bool isStopped = false;
  const auto life = std::make_shared<const bool>(true);
  if (step.wrapAfter > 0) {
    world_.platform().tickOffset = -static_cast<std::uint32_t>(std::llround((begin + step.wrapAfter) * 1e3));
  }
  const double stop = step.seconds > 0 ? step.seconds : patience;
  world_.platform().clock.after(virtualSeconds(stop), [&, current = std::weak_ptr(life)] {
    if (current.expired()) return;
    isStopped = true;
    object.hardware->signalShutdown();
  });
  const std::int32_t result =
      within(longestOpening, "an opening", [&] { return object.hardware->configure(); });
  world_.gloves().ledger().beginReading();
  expect(world_.now() - begin <= longestSoundOpening || !world_.isSoundSince(begin), "an opening took ",
         world_.now() - begin, " s");
  ++(result == 0 ? result_.openings : result_.refusedOpenings);
  openingRules_.check({begin, result, object.hardware->lastError_, isStopped, object.wasConfigured});
  object.isOpen = result == 0;
  object.isStopped = isStopped;
  object.wasConfigured = true;
  object.openedAt = object.latestRecord = begin;
  object.commands = 0;
  object.received = world_.commandsReceived();
  books_.beginReading();
}

void Life::read(double seconds)
{
  constexpr double pause = 0.01;  // of a host whose read failed
  const double begin = world_.now();
  const std::uint64_t recordsBefore = store_.records();
  books_.read();
  // A host gives up at some time: a plug-in that waits for one glove keeps everything that the other one
  // sends.
  while (world_.now() - begin < seconds && world_.now() - newest().latestRecord < patience) {
    if (readOnce() == 0) continue;
    if (!surroundings_.readsOn) break;
    world_.platform().clock.advance(virtualSeconds(pause));
  }
  checkFlow(begin, world_.now() - begin, store_.records() - recordsBefore);
}

std::int32_t Life::readOnce()
{
  Object& object = newest();
  const std::uint64_t before = store_.records();
  const std::int32_t result = within(longestRead, "a read", [&] { return object.hardware->readRecord(); });
  ++result_.reads;
  const bool isNew = store_.records() != before;
  const auto turn = world_.gloves().ledger().turn(true);
  const std::int32_t expected = object.rules.result(turn, hostClock());
  constexpr std::array outcomes{"no message", "no record", "a frame that is too short", "a record"};
  expect(result == expected, "a read returned ", result, " after ",
         outcomes.at(static_cast<std::size_t>(turn.outcome)));
  if (isNew != (turn.outcome == Ledger::Turn::Outcome::record))
    throw Broken(isNew ? "a record that should not be" : "a record is missing");
  if (isNew) {
    ++result_.records;
    object.latestRecord = world_.now();
    const auto [own, due] = std::ranges::mismatch(store_.elements(), turn.record->elements);
    expect(own == store_.elements().end(), "element ", own - store_.elements().begin(),
           " of a record is wrong");
    expect(store_.timestamp() == object.rules.timestamp(), "a record has the time ", store_.timestamp(),
           " instead of ", object.rules.timestamp());
    expect(store_.isMarginUntouched(), "written outside of the record");
    books_.addRecord(store_.elements(), turn.record->frames);
    store_.clear();
  }
  if (world_.platform().captured.size() > 4096) books_.takeCapture();
  return result;
}

void Life::checkFlow(double begin, double seconds, std::uint64_t records)
{
  constexpr double settling = 2, radioPackets = 1300;
  const Object& object = newest();
  if (seconds < settling || !object.isOpen || object.isStopped || !world_.isSoundSince(object.openedAt))
    return;
  const double packets = static_cast<double>(surroundings_.gloves) * surroundings_.packets;
  const double rate = std::min(surroundings_.rate, radioPackets / packets);
  expect(static_cast<double>(records) >= 0.8 * rate * (seconds - settling) - 2, records, " records in ",
         seconds, " s since ", begin, " s");
  if (seconds < settling + static_cast<double>(object.commands)) return;
  expect(world_.commandsReceived() - object.received == object.commands, "the glove received ",
         world_.commandsReceived() - object.received, " of ", object.commands, " commands");
}

void Life::ask(const std::string& text)
{
  Object& object = newest();
  std::wstring reply;
  const std::int32_t result = object.hardware->sendCommand(widen(text).c_str(), reply);
  expect(result == 0 ? !reply.empty() : result == -1, "the command ", text, " returned ", result);
  const bool isRemote = text.starts_with("AutoTune") || text.starts_with("S");
  if (isRemote && object.wasConfigured && result == 0) ++object.commands;
}

void Life::save()
{
  const std::string text = plugin_->saved(*newest().hardware);
  const std::string line = toText("TesselElementCount\t", surroundings_.gloves * surroundings_.elements());
  expect(text.find(line) != std::string::npos, "the saved settings have no ", line);
}

void Life::close()
{
  Object& object = newest();
  books_.endReading();
  within(longestClosing, "closing", [&] { return object.hardware->close(); });
  world_.gloves().ledger().beginReading();
  if (std::exchange(object.isOpen, false)) checkClosed();
}

void Life::release(Object object)
{
  if (object.wasConfigured) books_.endReading();
  expect(within(longestClosing, "the release", [&] { return plugin_->release(object.hardware); }),
         "an object was not known");
  expect(!plugin_->release(object.hardware), "an object was released twice");
  if (object.isOpen) checkClosed();
}

// The port is free for the next host, and so are the gloves, if the disconnection reached them.
void Life::checkClosed()
{
  constexpr double settling = 1;
  expect(world_.platform().open.empty(), "a port is still open");
  const double now = world_.now();
  if (!world_.isSoundSince(now - settling)) return;
  world_.platform().clock.advance(virtualSeconds(settling));
  expect(!world_.hasConnection() || !world_.isSoundSince(now - settling), "a glove is still connected");
}

void Life::checkStep()
{
  expect(world_.platform().open.size() <= 1, world_.platform().open.size(), " ports are open");
  expect(store_.isUntouched(), "written without a record");
}

void Life::abandon()
{
  books_.forget();
  objects_.clear();
  deadline_ = world_.now() + longestClosing;
  try {
    plugin_.reset();
  } catch (const std::exception&) {
    // The first failure counts.
  }
}

}  // namespace

LifeResult live(const Script& script, std::size_t steps)
{
  LifeResult result;
  std::int64_t left = 0;
  // The standard library keeps some of what it makes at its first use, but not again in the same life.
  for (int attempt = 0; attempt == 0 || (attempt == 1 && left != 0 && result.failure.empty()); ++attempt) {
    const std::int64_t before = livingAllocations();
    result = Life(script).live(steps);
    left = livingAllocations() - before;
  }
  if (result.failure.empty() && left != 0)
    result.failure = toText("at the end: ", left, " allocations are left");
  return result;
}

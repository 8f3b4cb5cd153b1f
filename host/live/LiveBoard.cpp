#include "host/live/LiveBoard.h"

#include <algorithm>
#include <cmath>
#include <mutex>
#include <utility>

#include "host/capture/GloveSigns.h"
#include "host/gloves/OpeningFailure.h"
#include "host/live/DiskWatch.h"
#include "host/live/FrameGaps.h"
#include "host/live/LiveCurves.h"
#include "host/live/RegionMeans.h"
#include "host/live/Situation.h"
#include "host/live/ViewJson.h"
#include "host/live/Warnings.h"
#include "host/recording/Names.h"
#include "host/session/WaitingText.h"

namespace {

using namespace std::chrono_literals;
using Time = LiveBoard::Time;

constexpr std::size_t maxEvents = 20;
// A latency of records that came before says nothing of now.
constexpr auto latencyMemory = 1s;
// A peak that nobody looked at is old after this.
constexpr auto peakMemory = 500ms;
// Longer than any interval of a curve.
constexpr auto pointTime = 100ms;

// Records since the latest picture.
struct Arrivals {
  std::uint64_t record = 0;  // of all
  Time time{0};
  Time since{0};  // of the first one
  bool isNew = false;
  std::vector<std::uint16_t> elements;
  std::vector<float> peaks;  // of the regions
};

void raise(std::vector<float>& peaks, std::span<const float> means, bool isFirst)
{
  if (isFirst) {
    peaks.assign(means.begin(), means.end());
    return;
  }
  for (std::size_t region = 0; region < means.size(); ++region)
    peaks[region] = std::max(peaks[region], means[region]);
}

Time timeOf(double seconds)
{
  return std::chrono::round<Time>(std::chrono::duration<double>(seconds));
}

// As far as it is known: not every failure says whether it is transient.
bool isSerious(const Failure& failure)
{
  if (const auto* const opening = dynamic_cast<const OpeningFailure*>(&failure))
    return !opening->isTransient();
  const ExitCode code = failure.code();
  return code != ExitCode::noGloves && code != ExitCode::gloves && code != ExitCode::silence;
}

// Which gloves are lost: those that the loss names, otherwise those that were silent, otherwise all.
void noteLost(Situation& situation, const LinkLoss* link, Time now)
{
  bool isAny = false;
  for (std::size_t index = 0; index < situation.gloves.size(); ++index) {
    GloveSituation& glove = situation.gloves[index];
    glove.wasLost = link != nullptr ? std::ranges::count(link->gloves(), glove.label) > 0
                                    : viewOf(situation, index, now).state != GloveState::connected;
    isAny = isAny || glove.wasLost;
  }
  if (isAny) return;
  for (GloveSituation& glove : situation.gloves)
    glove.wasLost = true;
}

Situation::Problem problemOf(const Failure& failure)
{
  std::string text = failure.what();
  if (!failure.advice().empty()) text += (text.ends_with('.') ? " " : ". ") + failure.advice();
  return {std::move(text), isSerious(failure)};
}

}  // namespace

struct LiveBoard::Parts {
  Parts(LiveFacts known, Clock viewersClock)
      : facts(std::move(known)), clock(std::move(viewersClock)), viewClock{clock()}
  {
    if (!facts.file.empty()) disk = std::make_unique<DiskWatch>(DiskQuestions::about(facts.file));
  }

  void takeFigures(const RecordingFigures& figures);
  void takeAccounts(const LiveAccounts::Snapshot& accounts);
  void takeSigns(GloveSituation& glove, const LiveAccounts::Snapshot& accounts, std::size_t index) const;
  void takeGaps(const RecordingFigures& figures, Time now);
  void restartRates();
  void handOver();
  void transfer();
  Situation current();

  const LiveFacts facts;
  const Clock clock;
  const ViewClock viewClock;
  std::unique_ptr<DiskWatch> disk;  // null if nothing is written

  // Of the reading thread: what follows is what it knows.
  RegionMeans regions;
  Situation situation;
  bool hasChanged = false;
  std::vector<FrameGaps> gaps;  // by glove
  std::optional<Time> zero;
  Arrivals arrivals;
  CurvePoints points;

  std::mutex mutex;  // of what follows: what the server's thread knows
  Situation shown;
  Arrivals shownArrivals;
  LiveCurves curves;
};

LiveBoard::LiveBoard(LiveFacts facts, Clock clock)
    : parts_(std::make_unique<Parts>(std::move(facts), std::move(clock)))
{
}

LiveBoard::~LiveBoard() = default;

void LiveBoard::Parts::handOver()
{
  const std::unique_lock lock(mutex, std::try_to_lock);
  if (lock) transfer();
}

void LiveBoard::Parts::transfer()
{
  if (std::exchange(hasChanged, false)) shown = situation;
  if (std::exchange(arrivals.isNew, false)) {
    shownArrivals.record = arrivals.record;
    shownArrivals.time = arrivals.time;
    std::swap(shownArrivals.elements, arrivals.elements);
    const bool isFirst = !shownArrivals.isNew || arrivals.time - shownArrivals.since > peakMemory;
    raise(shownArrivals.peaks, arrivals.peaks, isFirst);
    if (isFirst) shownArrivals.since = arrivals.time;
    shownArrivals.isNew = true;
  }
  points.moveTo(curves);
}

void LiveBoard::arrived(Time time, std::span<const std::uint16_t> elements)
{
  Parts& parts = *parts_;
  if (!parts.situation.layout || elements.size() != parts.situation.layout->elements) return;
  const std::span<const float> means = parts.regions.of(elements);
  Arrivals& arrivals = parts.arrivals;
  ++arrivals.record;
  arrivals.time = time;
  arrivals.elements.assign(elements.begin(), elements.end());
  raise(arrivals.peaks, means, !arrivals.isNew);
  arrivals.isNew = true;
  parts.points.add(parts.viewClock.ms(time), means);
  parts.situation.arrival = time;
  parts.situation.arrivals.add(time, arrivals.record);
  parts.handOver();
}

void LiveBoard::begin(Time zero)
{
  parts_->zero = zero;
}

void LiveBoard::add(const Record& record)
{
  const std::size_t gloves = std::min(record.frames.size(), parts_->gaps.size());
  for (std::size_t glove = 0; glove < gloves; ++glove)
    parts_->gaps[glove].add(record.frames[glove], record.arrivalMs);
}

// What is true of the whole recording.
void LiveBoard::Parts::takeFigures(const RecordingFigures& figures)
{
  const Time now = clock();
  situation.seconds = figures.seconds;
  situation.records = figures.written;
  situation.recordsPerSecond = figures.recordsPerSecond();
  situation.losses = figures.reconnections.size();
  situation.awaySeconds = figures.awaySeconds();
  if (figures.stalls.count > situation.stalls) situation.stalled = now;
  situation.stalls = figures.stalls.count;
  situation.longestStall = figures.stalls.longest;
  situation.latestStall = figures.stalls.latest;
  if (figures.accounts) situation.books = figures.accounts->books;
  takeGaps(figures, now);
  hasChanged = true;
}

void LiveBoard::Parts::takeGaps(const RecordingFigures& figures, Time now)
{
  for (std::size_t glove = 0; glove < situation.gloves.size(); ++glove) {
    GloveSituation& own = situation.gloves[glove];
    const bool isRecent = situation.arrival && now - *situation.arrival < latencyMemory;
    own.latencyMs = isRecent ? gaps[glove].latencyMs() : std::nullopt;
    // Without the numbers of frames only estimates for all gloves are known.
    own.gaps = figures.accounts ? gaps[glove].count() : figures.gaps.count();
    own.longestGapMs = figures.accounts ? gaps[glove].longestMs() : figures.gaps.longestMs();
  }
}

// What is true now.
void LiveBoard::Parts::takeAccounts(const LiveAccounts::Snapshot& accounts)
{
  const bool isNew = situation.captured != accounts.time;
  situation.captured = accounts.time;
  for (std::size_t glove = 0; glove < std::min(situation.gloves.size(), accounts.signs.size()); ++glove) {
    GloveSituation& own = situation.gloves[glove];
    takeSigns(own, accounts, glove);
    if (!isNew || glove >= accounts.books.gloves.size()) continue;
    const GloveBooks& books = accounts.books.gloves[glove];
    own.sent.add(accounts.time, books.sent + books.repeated);
    own.sentLong.add(accounts.time, books.sent + books.repeated);
    own.lostLong.add(accounts.time, books.lost.total());
  }
}

void LiveBoard::Parts::takeSigns(GloveSituation& glove, const LiveAccounts::Snapshot& accounts,
                                 std::size_t index) const
{
  const GloveSigns& signs = accounts.signs[index];
  glove.heard = signs.heard();
  glove.battery = signs.batteryCode() ? batteryLevel(*signs.batteryCode()) : std::nullopt;
  glove.faultySensors = signs.faultySensors();
  const auto& ended = accounts.ended[index];
  glove.isOver = ended && *ended > situation.connected;
}

void LiveBoard::Parts::restartRates()
{
  situation.arrivals.clear();
  for (GloveSituation& glove : situation.gloves) {
    glove.sent.clear();
    glove.sentLong.clear();
    glove.lostLong.clear();
  }
}

void LiveBoard::recording(const RecordingFigures& figures)
{
  Parts& parts = *parts_;
  Situation& situation = parts.situation;
  parts.takeFigures(figures);
  situation.read = parts.clock();
  if (figures.accounts) parts.takeAccounts(*figures.accounts);
  const bool isOne = situation.gloves.size() == 1;
  if (!figures.accounts && isOne) situation.gloves[0].battery = figures.battery;
  if (situation.arrival && situation.read - *situation.arrival > pointTime) parts.points.finish();
  parts.handOver();
}

void LiveBoard::lost(const Failure& failure, const RecordingFigures& figures)
{
  Parts& parts = *parts_;
  Situation& situation = parts.situation;
  parts.takeFigures(figures);
  if (figures.accounts) parts.takeAccounts(*figures.accounts);
  noteLost(situation, dynamic_cast<const LinkLoss*>(&failure), parts.clock());
  parts.restartRates();
  parts.points.finish();
  situation.phase = Situation::Phase::away;
  situation.isAway = true;
  situation.text = failure.what();
  situation.lost = situation.read = parts.clock();
  situation.givenUp = situation.lost + timeOf(parts.facts.reconnectSeconds);
  for (GloveSituation& glove : situation.gloves)
    glove.rssi.reset();
  parts.handOver();
}

void LiveBoard::waiting(const Waiting& waiting, const RecordingFigures& figures)
{
  Parts& parts = *parts_;
  Situation& situation = parts.situation;
  parts.takeFigures(figures);
  if (figures.accounts) parts.takeAccounts(*figures.accounts);
  const Time now = parts.clock();
  situation.connected = situation.read = now;
  situation.lost = now - timeOf(waiting.seconds);
  situation.givenUp = now + timeOf(waiting.secondsLeft);
  situation.text = situation.layout ? waitingText(waiting, *situation.layout) : "";
  if (waiting.failure) situation.opening = problemOf(*waiting.failure);
  for (GloveSituation& glove : situation.gloves) {
    // Before the first attempt it is not known who is heard.
    if (!waiting.heard) break;
    const auto& heard = waiting.heard->gloves();
    const auto found = std::ranges::find(heard, glove.module, &HeardGlove::name);
    glove.rssi = found == heard.end() ? std::nullopt : std::optional(found->rssi);
  }
  for (FrameGaps& gaps : parts.gaps)
    gaps.beginConnection();
  parts.handOver();
}

void LiveBoard::back(double /*seconds*/, unsigned /*attempts*/, const RecordingFigures& figures)
{
  Parts& parts = *parts_;
  Situation& situation = parts.situation;
  parts.takeFigures(figures);
  parts.restartRates();
  situation.phase = Situation::Phase::reading;
  situation.isAway = false;
  situation.text.clear();
  situation.opening.reset();
  situation.read = parts.clock();
  const std::vector<std::string> modules =
      figures.reconnections.empty() ? std::vector<std::string>() : figures.reconnections.back().modules;
  bool isOther = false;
  for (std::size_t glove = 0; glove < situation.gloves.size(); ++glove) {
    GloveSituation& own = situation.gloves[glove];
    own.isOver = own.wasLost = false;
    own.rssi.reset();
    if (glove < modules.size() && own.module != modules[glove]) {
      own.module = modules[glove];
      isOther = true;
    }
  }
  if (isOther) {
    Layout layout = *situation.layout;
    auto glove = situation.gloves.begin();
    for (ElementGroup& group : layout.groups) {
      if (group.isGlove()) group.module = (glove++)->module;
    }
    situation.layout = std::make_shared<const Layout>(std::move(layout));
    ++situation.layoutVersion;
  }
  parts.handOver();
}

void LiveBoard::event(const RecordingEvent& event)
{
  Parts& parts = *parts_;
  Situation& situation = parts.situation;
  SituationEvent& own = situation.events.emplace_back(SituationEvent{.number = ++situation.eventCount,
                                                                     .ms = {},
                                                                     .seconds = {},
                                                                     .event = event.event,
                                                                     .glove = event.glove,
                                                                     .detail = event.detail});
  if (parts.zero && std::isfinite(event.timeMs)) {
    own.ms = parts.viewClock.ms(*parts.zero) + event.timeMs;
    own.seconds = event.timeMs / 1000;
  }
  if (situation.events.size() > maxEvents) situation.events.pop_front();
  if (event.event == names::markerEvent) ++situation.markers;
  parts.hasChanged = true;
  parts.handOver();
}

void LiveBoard::openingFailed(const FailedAttempt& attempt)
{
  Parts& parts = *parts_;
  parts.situation.text = attemptText(attempt);
  parts.situation.opening = problemOf(attempt.failure);
  parts.hasChanged = true;
  parts.handOver();
}

// No glove is read yet, so this may wait.
void LiveBoard::opened(const RecordingMetadata& metadata)
{
  Parts& parts = *parts_;
  Situation& situation = parts.situation;
  situation.layout = std::make_shared<const Layout>(metadata.layout);
  ++situation.layoutVersion;
  situation.phase = Situation::Phase::reading;
  situation.text.clear();
  situation.opening.reset();
  situation.connected = situation.read = parts.clock();
  situation.gloves.clear();
  for (const ElementGroup& group : metadata.layout.groups) {
    if (!group.isGlove()) continue;
    GloveSituation& glove = situation.gloves.emplace_back();
    glove.label = group.label;
    glove.module = group.module;
  }
  parts.gaps.assign(situation.gloves.size(), {});
  parts.regions = RegionMeans(metadata.layout);
  parts.hasChanged = true;
  const std::scoped_lock lock(parts.mutex);
  parts.curves = LiveCurves(parts.regions.count());
  parts.transfer();
}

void LiveBoard::notStored(const Failure& failure)
{
  parts_->situation.notStored = failure.what();
  parts_->hasChanged = true;
  parts_->handOver();
}

void LiveBoard::closing()
{
  parts_->situation.isClosing = true;
  parts_->points.finish();
  parts_->hasChanged = true;
  parts_->handOver();
}

// The gloves are no longer read, so this may wait.
void LiveBoard::ended(const std::string& words, ExitCode code, const RecordingFigures* figures)
{
  Parts& parts = *parts_;
  if (figures != nullptr) parts.takeFigures(*figures);
  parts.situation.phase = Situation::Phase::ended;
  parts.situation.text.clear();
  parts.situation.ending = {words, code};
  parts.points.finish();
  parts.hasChanged = true;
  const std::scoped_lock lock(parts.mutex);
  parts.transfer();
}

Situation LiveBoard::Parts::current()
{
  const std::scoped_lock lock(mutex);
  return shown;
}

std::uint64_t LiveBoard::layoutVersion()
{
  const std::scoped_lock lock(parts_->mutex);
  return parts_->shown.layoutVersion;
}

std::string LiveBoard::layout()
{
  return layoutJson(parts_->facts, parts_->current());
}

std::string LiveBoard::state()
{
  const Parts& parts = *parts_;
  const auto disk = parts.disk ? parts.disk->figures() : std::nullopt;
  const Situation situation = parts_->current();
  return stateJson(parts.facts, situation, disk, parts.viewClock, parts.clock());
}

std::string LiveBoard::picture()
{
  Arrivals newest;
  std::shared_ptr<const Layout> layout;
  {
    const std::scoped_lock lock(parts_->mutex);
    if (!std::exchange(parts_->shownArrivals.isNew, false)) return "";
    newest = parts_->shownArrivals;
    layout = parts_->shown.layout;
  }
  return pictureJson(*layout, {.record = newest.record,
                               .ms = parts_->viewClock.ms(newest.time),
                               .elements = newest.elements,
                               .peaks = newest.peaks});
}

std::string LiveBoard::history()
{
  std::shared_ptr<const Layout> layout;
  LiveCurves curves;
  {
    const std::scoped_lock lock(parts_->mutex);
    layout = parts_->shown.layout;
    curves = parts_->curves;
  }
  if (!layout) return historyJson({}, LiveCurves());
  curves.forgetBefore(parts_->viewClock.ms(parts_->clock()) - LiveCurves::maxMs);
  return historyJson(*layout, curves);
}

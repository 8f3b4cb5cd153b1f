#include "host/session/RecordKeeper.h"

#include <algorithm>
#include <cmath>

namespace {

// The capture is up to a tenth of a second behind; only if it fails do records wait for longer, and more of
// them than a pause of the computer lets arrive at once.
constexpr std::size_t maxWaiting = 256;
constexpr std::chrono::seconds maxWait{2};

}  // namespace

RecordKeeper::RecordKeeper(const Layout& layout, RecordSink& sink, LiveAccounts* accounts)
    : sink_(sink),
      accounts_(accounts),
      frames_(static_cast<std::size_t>(std::ranges::count_if(layout.groups, &ElementGroup::isGlove)))
{
}

void RecordKeeper::beginReading(Time time)
{
  firstMs_ = Record::unknown;
  if (accounts_ != nullptr) accounts_->beginReading(time);
}

void RecordKeeper::endReading(Time time)
{
  if (accounts_ != nullptr) accounts_->endReading(time);
}

std::optional<LiveAccounts::Snapshot> RecordKeeper::accounts() const
{
  return accounts_ == nullptr ? std::nullopt : std::optional(accounts_->snapshot());
}

void RecordKeeper::add(Time arrival, std::uint32_t pluginMs, std::span<const std::uint16_t> elements)
{
  sink_.arrived(arrival, elements);
  waiting_.push_back({arrival, pluginMs, {elements.begin(), elements.end()}});
  if (accounts_ != nullptr) {
    accounts_->addRecord(arrival, elements);
  } else {
    writeNext({});
  }
}

void RecordKeeper::writeKnown()
{
  if (accounts_ == nullptr) return;
  while (const auto origin = accounts_->takeOrigin()) {
    if (overtaken_ > 0) {
      --overtaken_;
    } else {
      writeNext(*origin);
    }
  }
  while (waiting_.size() > maxWaiting && waiting_.back().arrival - waiting_.front().arrival > maxWait) {
    ++overtaken_;
    writeNext({});
  }
}

void RecordKeeper::writeRest()
{
  writeKnown();
  while (!waiting_.empty()) {
    ++overtaken_;
    writeNext({});
  }
}

void RecordKeeper::writeNext(const RecordOrigin& origin)
{
  const Waiting record = std::move(waiting_.front());
  waiting_.pop_front();
  write(record, origin);
  ++written_;
  if (accounts_ != nullptr) accounts_->noteWritten();
}

void RecordKeeper::write(const Waiting& record, const RecordOrigin& origin)
{
  cut_ = origin.cut;
  if (!zero_) {
    zero_ = origin.sampled().value_or(record.arrival);
    sink_.begin(*zero_);
  }
  double timeMs = Record::unknown;
  if (accounts_ == nullptr) {
    timeMs = estimate(record.pluginMs);
  } else if (const auto sampled = origin.sampled()) {
    timeMs = std::max(latestMs_, sinceZero(*sampled));
  }
  for (std::size_t glove = 0; glove < std::min(frames_.size(), origin.frames.size()); ++glove) {
    const RecordOrigin::Frame& frame = origin.frames[glove];
    frames_[glove] = {.number = frame.number,
                      .ticks = frame.ticks,
                      .sampledMs = frame.sampled ? sinceZero(*frame.sampled) : Record::unknown};
  }
  sink_.add({.timeMs = timeMs,
             .arrivalMs = sinceZero(record.arrival),
             .pluginMs = record.pluginMs,
             .frames = frames_,
             .elements = record.elements});
  if (std::isnan(firstMs_)) firstMs_ = std::isnan(timeMs) ? sinceZero(record.arrival) : timeMs;
  if (std::isnan(timeMs)) return;
  latestMs_ = timeMs;
  gaps_.add(static_cast<std::uint32_t>(std::llround(timeMs)));
}

// By the plug-in's timestamps since the first record; where they step back, it stands still.
double RecordKeeper::estimate(std::uint32_t pluginMs)
{
  const auto step = latestPluginMs_ ? timestampStep(*latestPluginMs_, pluginMs).value_or(0) : 0;
  latestPluginMs_ = pluginMs;
  return latestMs_ + step;
}

#include "host/session/Session.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <cmath>
#include <new>
#include <utility>

#include "host/base/MemoryReserve.h"
#include "host/gloves/OpeningFailure.h"
#include "host/recording/Names.h"

namespace {

// Each is written to the disk, while no glove is read.
constexpr std::size_t maxMarkersAtOnce = 100;

}  // namespace

Ending endingByException()
{
  try {
    throw;
  } catch (const Failure& failure) {
    return {failure.what(), failure};
  } catch (const std::bad_alloc&) {
    return {outOfMemory().what(), outOfMemory()};
  } catch (const std::exception& error) {
    return {error.what(), Failure(ExitCode::internal, error.what(), "")};
  }
}

Session::Session(GloveConnector& gloves, Recorder& recorder, RecordKeeper& keeper, MarkerQueue& markers,
                 SessionListener& listener, const SessionRules& rules, HostTime time)
    : gloves_(gloves),
      recorder_(recorder),
      keeper_(keeper),
      markers_(markers),
      listener_(listener),
      rules_(rules),
      time_(std::move(time)),
      reconnections_(recorder.reconnections())
{
}

Ending Session::run(RecordSource& first, const std::atomic<bool>& stop)
{
  try {
    return record(first, stop);
  } catch (...) {
    return endingByException();
  }
}

Ending Session::record(RecordSource& first, const std::atomic<bool>& stop)
{
  RecordSource* source = &first;
  for (;;) {
    std::uint64_t notedStalls = recorder_.figures().stalls.count;
    try {
      const bool isAtLimit = recorder_.run(
          *source, stop, [&](const RecordingFigures& figures) { whileRecording(figures, notedStalls); });
      return endedBy(isAtLimit);
    } catch (const Failure& failure) {
      const bool isLoss = failure.code() == ExitCode::silence;
      if (!isLoss || rules_.reconnectSeconds <= 0) return {failure.what(), failure};
      if (auto ending = reconnect(failure, source, stop)) return std::move(*ending);
    }
  }
}

bool Session::isAway() const
{
  return !reconnections_.empty() && std::isnan(reconnections_.back().backMs);
}

Ending Session::endedBy(bool isAtLimit) const
{
  std::string away;
  if (isAway()) {
    away = ", while the gloves were away";
  } else if (recorder_.isSilent()) {
    away = fmt::format(", but no frame arrived in the last {:.1f} s", recorder_.figures().silentSeconds);
  }
  const bool isEarly = rules_.limits.seconds || rules_.limits.records || recorder_.figures().records == 0;
  if (isAtLimit || !isEarly) return {fmt::format("as requested{}.", away), {}};
  const std::string words = fmt::format("interrupted before the recording was complete{}.", away);
  return {words, Failure(ExitCode::interrupted, words, "")};
}

void Session::whileRecording(const RecordingFigures& figures, std::uint64_t& notedStalls)
{
  noteBack();
  if (figures.zero) noteStalls(figures.stalls, notedStalls);
  noteMarkers();
  listener_.recording(figures);
}

// Returns how the recording ends, or nothing if the gloves are back.
std::optional<Ending> Session::reconnect(const Failure& loss, RecordSource*& source,
                                         const std::atomic<bool>& stop)
{
  noteBack();
  const bool isSaid = !isAway();
  if (isSaid) noteLost(loss);
  gloves_.disconnect();
  keeper_.writeRest();
  // Gloves that can be opened, but deliver nothing, have not come back. The first record may just have been
  // written.
  noteBack();
  if (!isSaid && !isAway()) noteLost(loss);
  isOpen_ = false;
  Reconnection& current = reconnections_.back();
  current.lostMs = keeper_.latestMs();

  const double secondsLeft = rules_.reconnectSeconds - secondsAway();
  if (current.attempts > 0 && secondsLeft <= 0) return giveUp(loss);
  bool isAtLimit = false;
  Waiting waiting;
  const auto goesOn = [&] {
    isAtLimit = recorder_.wait();
    noteMarkers();
    waiting.seconds = secondsAway();
    waiting.secondsLeft = rules_.reconnectSeconds - waiting.seconds;
    listener_.waiting(waiting, recorder_.figures());
    return !stop && !isAtLimit && !host::isMemoryShort();
  };
  const auto onFailed = [&](const FailedAttempt& attempt) {
    ++current.attempts;
    waiting.failure = attempt.failure;
    waiting.heard = attempt.heard;
  };
  try {
    source =
        &openPatiently(gloves_, {.seconds = secondsLeft, .isReconnection = true}, time_, goesOn, onFailed)
             .source;
    ++current.attempts;
    isOpen_ = true;
    current.modules = gloves_.modules();
    return std::nullopt;
  } catch (const OpeningFailure& failure) {
    ++current.attempts;
    return giveUp(failure);
  } catch (const Failure&) {
    if (stop || isAtLimit) return endedBy(isAtLimit);
    if (host::isMemoryShort()) throw outOfMemory();
    throw;
  }
}

void Session::noteLost(const Failure& loss)
{
  awaySince_ = time_.now();
  isOpen_ = false;
  reconnections_.push_back({.reason = loss.what()});
  const auto* const link = dynamic_cast<const LinkLoss*>(&loss);
  const bool isOneGlove = link != nullptr && link->gloves().size() == 1;
  noteEvent(msOf(awaySince_), names::disconnectedEvent, isOneGlove ? link->gloves().front() : "",
            loss.what());
  listener_.lost(loss, recorder_.figures());
}

Ending Session::giveUp(const Failure& latest)
{
  const Reconnection& current = reconnections_.back();
  noteEvent(msOf(time_.now()), "gave up", "", latest.what());
  const Failure failure(
      ExitCode::silence,
      fmt::format("{} Tried for {:.0f} s to open the gloves again, {} time{}. The latest failure: {}",
                  current.reason, secondsAway(), current.attempts, current.attempts == 1 ? "" : "s",
                  latest.what()),
      latest.advice());
  return {failure.what(), failure};
}

// They are back with their first record, which can take some tenths of a second after the opening.
void Session::noteBack()
{
  if (!isAway() || !isOpen_ || std::isnan(keeper_.firstMs())) return;
  Reconnection& current = reconnections_.back();
  current.backMs = keeper_.firstMs();
  // Without a record before the loss there is no time of the latest one.
  const double seconds =
      std::isnan(current.lostMs) ? secondsAway() : (current.backMs - current.lostMs) / 1000;
  noteEvent(current.backMs, names::reconnectedEvent, "",
            fmt::format("after {:.1f} s without records, attempt {}: {}", seconds, current.attempts,
                        fmt::join(current.modules, " and ")));
  listener_.back(seconds, current.attempts, recorder_.figures());
}

// Before the first record was written there is no time for them. Returns whether there was one.
bool Session::noteMarkers()
{
  if (!keeper_.zero()) return false;
  const auto markers = markers_.take(maxMarkersAtOnce);
  for (const Marker& marker : markers) {
    noteEvent(msOf(marker.time), names::markerEvent, "", marker.text);
  }
  return !markers.empty();
}

// Pauses of this computer, each once.
void Session::noteStalls(const Stalls& stalls, std::uint64_t& noted)
{
  if (stalls.count == std::exchange(noted, stalls.count)) return;
  noteEvent(msOf(time_.now()), "stall", "", fmt::format("tessel was stalled for {:.1f} s", stalls.latest));
}

void Session::noteRest()
{
  noteBack();
  while (noteMarkers()) {
  }
}

void Session::noteEvent(double timeMs, std::string_view event, std::string glove, std::string detail)
{
  listener_.event({timeMs, std::string(event), std::move(glove), std::move(detail)});
}

double Session::msOf(Time time) const
{
  const auto zero = keeper_.zero();
  return zero ? std::chrono::duration<double, std::milli>(time - *zero).count() : Record::unknown;
}

double Session::secondsAway() const
{
  return std::chrono::duration<double>(time_.now() - awaySince_).count();
}

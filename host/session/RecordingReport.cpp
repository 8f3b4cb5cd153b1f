#include "host/session/RecordingReport.h"

#include <fmt/format.h>

#include <utility>

#include "host/base/System.h"
#include "host/recording/Names.h"
#include "host/recording/RecordingFiles.h"
#include "host/session/BooksText.h"
#include "host/session/SessionMetadata.h"
#include "host/session/WaitingText.h"

RecordingReport::RecordingReport(const Layout& layout, const SessionRules& rules, RecordingFiles* files,
                                 RecordSink* followers, std::function<void(const Failure&)> onNotStored)
    : layout_(layout),
      files_(files),
      followers_(followers),
      onNotStored_(std::move(onNotStored)),
      patience_(rules.reconnectSeconds),
      progress_(layout, rules.limits)
{
}

void RecordingReport::recording(const RecordingFigures& figures)
{
  progress_.show(figures);
  noteLosses(figures);
  keepUp(figures);
}

void RecordingReport::lost(const Failure& failure, const RecordingFigures& figures)
{
  progress_.sayLost(figures.seconds, failure.what(), patience_);
}

void RecordingReport::waiting(const Waiting& waiting, const RecordingFigures& figures)
{
  progress_.showWaiting(waiting.seconds, waiting.secondsLeft, waitingText(waiting, layout_));
  keepUp(figures);
}

void RecordingReport::back(double seconds, unsigned attempts, const RecordingFigures& figures)
{
  progress_.sayBack(figures.seconds, seconds, attempts);
}

void RecordingReport::event(const RecordingEvent& event)
{
  if (files_ != nullptr) files_->addEvent(event);
  if (followers_ != nullptr) followers_->addEvent(event);
  if (event.event == names::markerEvent) progress_.sayMarker(event.timeMs / 1000, event.detail);
}

// Only for those that follow the recording: the books in its metadata have them all.
void RecordingReport::noteLosses(const RecordingFigures& figures)
{
  if (followers_ == nullptr || !figures.accounts || !figures.zero) return;
  const std::vector<GloveBooks>& gloves = figures.accounts->books.gloves;
  const std::vector<std::string> labels = gloveLabels(layout_);
  noted_.resize(gloves.size());
  for (std::size_t glove = 0; glove < gloves.size(); ++glove) {
    const GloveBooks::Lost& lost = gloves[glove].lost;
    if (lost.total() <= noted_[glove].total()) continue;
    const std::chrono::duration<double, std::milli> time = host::uptime() - *figures.zero;
    followers_->addEvent(
        {time.count(), std::string(names::lostEvent), labels.at(glove), newLossesText(noted_[glove], lost)});
    noted_[glove] = lost;
  }
}

void RecordingReport::keepUp(const RecordingFigures& figures)
{
  if (files_ == nullptr || !figures.zero) return;
  update(files_->metadata(), figures);
  files_->keepUp(host::uptime());
  if (const auto failure = files_->takeDiskFailure()) {
    progress_.sayNotStored(figures.seconds, failure->what());
    onNotStored_(*failure);
  }
}

#include "host/session/GloveRun.h"

#include <fmt/format.h>

#include "host/base/Text.h"
#include "host/session/BooksText.h"
#include "host/session/GloveConnection.h"
#include "host/session/GloveLayout.h"
#include "host/session/HandChoice.h"
#include "host/session/SessionMetadata.h"

namespace {

// The dongle reports after 10 s that a glove is out of range, and a read without messages, behind which that
// is seen, takes a second. What is silent for longer has another reason.
constexpr std::chrono::seconds supervisionTime{12};

constexpr const char* withoutCapture = "Losses and times will be estimates.";

// Where the elements are, if that is known. A Failure if it does not fit the gloves of these settings.
std::optional<HandLayout> handsOf(const RunOptions& options, const settings::Values& settings)
{
  std::optional<HandLayout> hands = chooseHands(options.layout, options.hardware, settings);
  if (hands) {
    Layout unknownGloves = gloveLayout(settings, {});
    hands->describe(unknownGloves);
  }
  return hands;
}

}  // namespace

GloveRun::GloveRun(const RunOptions& options)
    : rules_(options.rules),
      acceptsAnyGlove_(options.acceptsAnyGlove),
      notice_(options.hardware.notice),
      source_(options.hardware),
      hands_(handsOf(options, source_.settings())),
      capture_(makeCapture(options)),
      connector_(source_, capture_.get())
{
  if (rules_.reconnectSeconds > 0) source_.setPatience(supervisionTime);
}

// Nothing if the user wants none, or if none can be had.
std::unique_ptr<LinkCapture> GloveRun::makeCapture(const RunOptions& options) const
{
  if (options.isUncaptured) return nullptr;
  return startCapture(source_.settings(), options.capture, withoutCapture, notice_, options.sync);
}

void GloveRun::open(const Opener& opener)
{
  opener(connector_);
  dropEmptyCapture();
  if (!acceptsAnyGlove_) connector_.acceptNoOthers();
  modules_ = connector_.modules();
  layout_ = gloveLayout(source_.settings(), modules_);
  if (hands_) hands_->describe(layout_);
  metadata_ = describe(connector_.hardware(), layout_, capture_ != nullptr);
  if (hands_) metadata_.hands = hands_->json();
}

// Another plug-in than ours may write none.
void GloveRun::dropEmptyCapture()
{
  if (!capture_ || capture_->hasBegun()) return;
  if (!capture_->place().empty()) {
    throw Failure(ExitCode::plugin, "this plug-in does not capture the link.",
                  "Omit --capture and TESSEL_CAPTURE, or --plugin.");
  }
  notice_(fmt::format("This plug-in does not capture the link. {}", withoutCapture));
  connector_.dropCapture();
  capture_.reset();
}

void GloveRun::begin(RecordSink& sink, MarkerQueue& markers, SessionListener& listener)
{
  keeper_.emplace(layout_, sink, capture_ ? &capture_->accounts() : nullptr);
  recorder_.emplace(layout_, *keeper_, rules_.limits);
  session_.emplace(connector_, *recorder_, *keeper_, markers, listener, rules_);
}

Ending GloveRun::run(const std::atomic<bool>& stop)
{
  return session_->run(connector_.hardware(), stop);
}

void GloveRun::finish(Ending& ending, const std::function<void(LinkCapture&)>& onProblem)
{
  const auto attempt = [&ending](const auto& step) {
    try {
      step();
    } catch (...) {
      if (!ending.failure) ending = endingByException();
    }
  };
  // Whatever becomes of the capture, the records that wait for it are written.
  attempt([&] { connector_.disconnect(); });
  if (capture_) capture_->store();
  const bool isWriting = !ending.failure || ending.failure->code() != ExitCode::output;
  if (isWriting) attempt([&] { keeper_->writeRest(); });
  if (isWriting) attempt([&] { session_->noteRest(); });
  attempt([&] {
    if (capture_) books_ = capture_->accounts().close();
  });
  attempt([&] { recorder_->finish(books_); });
  if (!books_ || keeper_->written() == 0) return;
  const auto failure = booksFailure(*books_, gloveLabels(layout_));
  if (!failure) return;
  if (!ending.failure) ending.failure = *failure;
  if (onProblem) onProblem(*capture_);
}

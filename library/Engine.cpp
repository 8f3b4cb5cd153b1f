#include "library/Engine.h"

#include <fmt/format.h>

#include <utility>

#include "host/base/System.h"
#include "host/base/Text.h"
#include "host/capture/CaptureFeed.h"
#include "host/gloves/Plugin.h"
#include "host/session/BooksText.h"
#include "host/session/SessionMetadata.h"
#include "library/Block.h"
#include "library/Errors.h"
#include "library/JsonText.h"
#include "library/OptionNames.h"
#include "library/Process.h"
#include "library/Statistics.h"

namespace library {

namespace {

using namespace std::chrono_literals;

// Longer than a read of the gloves can take.
constexpr auto maxReplyTime = 3s;
constexpr auto noticeInterval = 10s;

// The plug-in serves one link in a process.
std::atomic<bool> isOccupied{false};

Error closedError()
{
  return {TESSEL_ERROR_HANDLE, "the gloves were closed during the call.", "Open them again."};
}

Error notOpenError()
{
  return {TESSEL_ERROR_STATE, "the gloves are not open yet.", "Call tessel_open() first."};
}

Error notConnectedError()
{
  return {TESSEL_ERROR_STATE, "the gloves are not connected now.", "Call it again when they are back."};
}

std::filesystem::path installedPlugin()
{
  const std::filesystem::path folder = process::ownFolder();
  return pluginIn({folder, folder / TESSEL_LIBRARY_PLUGIN_FOLDER});
}

}  // namespace

Engine::Engine(GlovesOptions options, std::function<void()> closeAtExit)
    : options_(std::move(options)), closeAtExit_(std::move(closeAtExit))
{
}

Engine::~Engine()
{
  try {
    close();
  } catch (...) {
    // Whoever wants to know of an incomplete recording closes the handle.
  }
}

void Engine::start()
{
  const std::unique_lock life(life_);
  if (isClosed_) throw closedError();
  {
    const std::scoped_lock lock(mutex_);
    if (state_ != TESSEL_CREATED) return;
  }
  if (isOccupied.exchange(true)) {
    throw Error(TESSEL_ERROR_BUSY, "other gloves are open in this process.",
                "Close them first: one dongle serves both gloves.");
  }
  isOccupying_ = true;
  try {
    // The signals of the program are not for the threads of the library.
    const process::SignalsBlocked blocked;
    RunOptions run = options_.run;
    run.hardware.notice = [this](const std::string& line) { note("notice", withOptionNames(line)); };
    run.hardware.announcesLog = false;
    if (run.hardware.plugin.empty()) run.hardware.plugin = installedPlugin();
    const std::filesystem::path variable = takeCaptureVariable();
    if (run.capture.empty() && !run.isUncaptured) run.capture = variable;
    process::pin();
    closeAtExit_();
    run.hardware.onLoaded = closeAtExit_;
    run_ = std::make_unique<GloveRun>(run);
    setState(TESSEL_OPENING);
    thread_ = std::thread([this] { work(); });
  } catch (...) {
    run_.reset();
    endByException();
    throw;
  }
}

bool Engine::waitUntilOpen(Timeout timeout)
{
  const auto isDecided = [this] { return state_ != TESSEL_OPENING || isClosed_; };
  std::unique_lock lock(mutex_);
  if (timeout < 0ms) {
    changed_.wait(lock, isDecided);
  } else if (!changed_.wait_until(lock, std::chrono::steady_clock::now() + timeout, isDecided)) {
    return false;
  }
  if (isClosed_) throw closedError();
  if (state_ == TESSEL_ENDED) throw causeOfEnd();
  return true;
}

void Engine::cancel()
{
  stop_ = true;
}

void Engine::close()
{
  {
    const std::scoped_lock lock(mutex_);
    isClosed_ = true;
    if (opened_) opened_->ring->end();
  }
  stop_ = true;
  changed_.notify_all();
  const std::unique_lock life(life_);
  if (thread_.joinable()) thread_.join();
  run_.reset();
  if (std::exchange(isOccupying_, false)) isOccupied = false;
  if (const auto failure = recording_.takeFailure()) throw Failure(*failure);
}

void Engine::work()
{
  try {
    const Ending ending = measure();
    const Failure failure =
        ending.failure.value_or(Failure(ExitCode::interrupted, "reading the gloves was cancelled.", ""));
    throw Failure(failure);
  } catch (...) {
    endByException();
  }
}

Ending Engine::measure()
{
  run_->open([this](GloveConnector& gloves) { openPatiently(gloves); });
  const auto opened = std::make_shared<Opened>();
  opened->metadata = run_->metadata();
  if (run_->capture() != nullptr) opened->metadata.capture = utf8(run_->capture()->place());
  opened->labels = gloveLabels(run_->layout());
  opened->shape = {.size = sizeof(tessel_shape),
                   .gloves = static_cast<std::uint32_t>(opened->labels.size()),
                   .elements = static_cast<std::uint32_t>(run_->layout().elements)};
  opened->ring = std::make_unique<RecordRing>(options_.buffer, opened->shape.gloves, opened->shape.elements);
  run_->begin(*this, markers_, *this);
  {
    const std::scoped_lock lock(mutex_);
    opened_ = opened;
    // Closed meanwhile: nobody may wait for records.
    if (isClosed_) opened->ring->end();
  }
  closeAtExit_();
  setState(TESSEL_CONNECTED);
  Ending ending = run_->run(stop_);
  run_->finish(ending);
  noteFigures(run_->figures());
  recording_.end(run_->figures(), opened->labels, run_->books(), ending.words);
  return ending;
}

void Engine::openPatiently(GloveConnector& gloves)
{
  std::optional<std::chrono::nanoseconds> latest;
  const auto onFailed = [&](const FailedAttempt& attempt) {
    const auto now = host::uptime();
    if (latest && now - *latest < noticeInterval) return;
    latest = now;
    note("notice", withOptionNames(attemptText(attempt)));
  };
  ::openPatiently(
      gloves, {.seconds = options_.run.hardware.waitSeconds}, HostTime::real(), [this] { return !stop_; },
      onFailed);
}

// In a handler.
void Engine::endByException()
{
  const tessel_status status = noteError();
  Cause cause{.status = status, .text = {}, .advice = {}};
  try {
    cause.text = latestText();
    cause.advice = latestAdvice();
  } catch (const std::bad_alloc&) {
    // The status has to do.
  }
  {
    const std::scoped_lock lock(mutex_);
    cause_ = std::move(cause);
    state_ = TESSEL_ENDED;
    // Only now: whoever finds no more records looks for the cause.
    if (opened_) opened_->ring->end();
  }
  changed_.notify_all();
  requests_.close();
}

void Engine::setState(int state)
{
  {
    const std::scoped_lock lock(mutex_);
    state_ = state;
  }
  changed_.notify_all();
}

void Engine::noteFigures(const RecordingFigures& figures)
{
  const std::scoped_lock lock(mutex_);
  figures_ = figures;
}

void Engine::note(const char* name, const std::string& detail)
{
  const double timeMs = now(figures());
  events_.add({timeMs, name, "", detail});
}

// Once for each stretch of time in which records are dropped.
void Engine::noteOverflow()
{
  const std::uint64_t overflowed = opened()->ring->counts().overflowed;
  const bool isOverflowing = overflowed > std::exchange(notedOverflow_, overflowed);
  if (isOverflowing && !wasOverflowing_) {
    note("overflow", "records are dropped, because they are not read in time");
  }
  wasOverflowing_ = isOverflowing;
}

void Engine::add(const Record& record)
{
  opened_->ring->add(record);
  recording_.add(record);
}

void Engine::recording(const RecordingFigures& figures)
{
  noteFigures(figures);
  recording_.keepUp(figures);
  noteOverflow();
  requests_.answer([this](const std::string& command) { return run_->hardware().ask(command); });
}

void Engine::lost(const Failure& /*failure*/, const RecordingFigures& figures)
{
  noteFigures(figures);
  setState(TESSEL_AWAY);
  requests_.refuse();
}

void Engine::waiting(const Waiting& /*waiting*/, const RecordingFigures& figures)
{
  noteFigures(figures);
  recording_.keepUp(figures);
}

void Engine::back(double /*seconds*/, unsigned /*attempts*/, const RecordingFigures& figures)
{
  noteFigures(figures);
  closeAtExit_();
  setState(TESSEL_CONNECTED);
}

void Engine::event(const RecordingEvent& event)
{
  events_.add(event);
  recording_.addEvent(event);
}

std::shared_ptr<const Engine::Opened> Engine::opened() const
{
  const std::scoped_lock lock(mutex_);
  if (opened_) return opened_;
  if (state_ == TESSEL_ENDED) throw causeOfEnd();
  throw notOpenError();
}

Error Engine::causeOfEnd() const
{
  return {cause_.status, cause_.text, cause_.advice};
}

RecordingFigures Engine::figures() const
{
  const std::scoped_lock lock(mutex_);
  return figures_;
}

double Engine::now(const RecordingFigures& figures)
{
  if (!figures.zero) return Record::unknown;
  return std::chrono::duration<double, std::milli>(host::uptime() - *figures.zero).count();
}

tessel_shape Engine::shape() const
{
  return opened()->shape;
}

std::string Engine::description() const
{
  RecordingMetadata metadata = opened()->metadata;
  update(metadata, figures());
  return jsonText(metadataJson(metadata, 0, false));
}

tessel_status Engine::read(tessel_block* block, Timeout timeout)
{
  const auto opened = this->opened();
  checkBlock(block, opened->shape.gloves, opened->shape.elements);
  const std::uint32_t count = opened->ring->take(*block, timeout);
  if (isClosed_) throw closedError();
  if (count > 0) return TESSEL_OK;
  const std::scoped_lock lock(mutex_);
  if (state_ == TESSEL_ENDED) throw causeOfEnd();
  return TESSEL_TIMEOUT;
}

tessel_status Engine::readLatest(tessel_block* block) const
{
  const auto opened = this->opened();
  checkBlock(block, opened->shape.gloves, opened->shape.elements);
  return opened->ring->copyLatest(*block) > 0 ? TESSEL_OK : TESSEL_TIMEOUT;
}

tessel_statistics Engine::statistics() const
{
  RecordingFigures figures;
  RecordRing::Counts counts;
  tessel_statistics values{};
  {
    const std::scoped_lock lock(mutex_);
    figures = figures_;
    if (opened_) counts = opened_->ring->counts();
    values.state = state_;
  }
  values.isRecording = recording_.isRunning() ? 1 : 0;
  values.nowMs = now(figures);
  values.records = counts.records;
  values.buffered = counts.buffered;
  values.overflowed = counts.overflowed;
  addFigures(figures, values);
  return values;
}

void Engine::mark(const char* text)
{
  opened();
  {
    const std::scoped_lock lock(mutex_);
    if (state_ == TESSEL_ENDED) throw causeOfEnd();
  }
  markers_.add(host::uptime(), text == nullptr ? "" : text);
}

void Engine::record(const RecordOptions& options)
{
  const std::shared_lock life(life_);
  const auto opened = this->opened();
  if (isClosed_) throw closedError();
  const process::SignalsBlocked blocked;
  recording_.begin(options, opened->metadata, run_->keeper());
}

void Engine::stopRecording()
{
  const std::shared_lock life(life_);
  const auto opened = this->opened();
  if (isClosed_) throw closedError();
  recording_.stop(figures(), opened->labels);
}

std::string Engine::send(const std::string& command)
{
  {
    const std::scoped_lock lock(mutex_);
    if (state_ == TESSEL_ENDED) throw causeOfEnd();
    if (state_ != TESSEL_CONNECTED) throw state_ == TESSEL_AWAY ? notConnectedError() : notOpenError();
  }
  if (const auto reply = requests_.ask(command, maxReplyTime)) return *reply;
  throw notConnectedError();
}

std::string Engine::simulate(const std::string& command)
{
  const std::shared_lock life(life_);
  if (isClosed_) throw closedError();
  if (!run_) throw notOpenError();
  SimulatedGloves* const simulated = run_->source().simulated();
  if (simulated == nullptr) {
    throw Error(TESSEL_ERROR_STATE, "the gloves are not simulated.", R"(Open them with "simulated": true.)");
  }
  return simulated->request(command);
}

}  // namespace library

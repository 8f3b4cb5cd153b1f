#include "host/capture/CaptureFeed.h"

#include <array>
#include <chrono>
#include <limits>
#include <utility>

#include "host/base/EnvironmentVariables.h"

namespace {

constexpr const char* variable = environment::capture.name;

// At the highest rate some kilobytes arrive within it; waking for each write would cost more than all else.
constexpr std::chrono::milliseconds interval{100};
// More than the pipe holds; then a stop is looked for.
constexpr int piecesInTurn = 32;

}  // namespace

CaptureFeed::CaptureFeed(const std::filesystem::path& folder) : pipe_(folder)
{
  host::setEnvironment(variable, pipe_.name());
}

CaptureFeed::~CaptureFeed()
{
  stop(Stop::now);
  host::setEnvironment(variable, "");
}

void CaptureFeed::start(Receiver receiver, CaptureFile* file)
{
  receiver_ = std::move(receiver);
  file_ = file;
  begin();
}

void CaptureFeed::begin()
{
  stop_ = Stop::no;
  thread_ = std::thread([this] { run(); });
}

void CaptureFeed::pause()
{
  stop(Stop::whenEmpty);
  if (error_) std::rethrow_exception(std::exchange(error_, nullptr));
}

void CaptureFeed::resume()
{
  pipe_.renew();
  begin();
}

void CaptureFeed::stop(Stop kind)
{
  if (!thread_.joinable()) return;
  {
    const std::lock_guard guard(mutex_);
    stop_ = kind;
  }
  wake_.notify_one();
  thread_.join();
}

void CaptureFeed::run()
{
  for (Stop seen = Stop::no; seen == Stop::no;) {
    {
      std::unique_lock guard(mutex_);
      wake_.wait_for(guard, interval, [this] { return stop_ != Stop::no; });
      seen = stop_;
    }
    if (seen == Stop::no) drain(piecesInTurn);
    if (file_ != nullptr) file_->keepUp(host::uptime());
    if (seen == Stop::whenEmpty) drain(std::numeric_limits<int>::max());
  }
}

void CaptureFeed::drain(int maxPieces)
{
  std::array<std::uint8_t, 65536> buffer;
  for (int piece = 0; piece < maxPieces; ++piece) {
    const std::size_t count = pipe_.read(buffer);
    if (count == 0) break;
    pass(std::span(buffer).first(count));
  }
}

void CaptureFeed::pass(std::span<const std::uint8_t> bytes)
{
  if (file_ != nullptr) file_->append(bytes);
  if (!receiver_ || error_) return;
  try {
    receiver_(bytes);
  } catch (...) {
    error_ = std::current_exception();
  }
}

std::filesystem::path takeCaptureVariable()
{
  std::filesystem::path path = host::environmentPath(variable);
  host::setEnvironment(variable, "");
  return path;
}

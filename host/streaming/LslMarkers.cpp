#include "host/streaming/LslMarkers.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <memory>
#include <optional>
#include <utility>

#include "host/base/System.h"
#include "host/streaming/NetworkClock.h"

namespace {

// How long the library may keep the thread from noticing the end.
constexpr double timeout = 0.5;  // seconds
constexpr std::chrono::milliseconds searchPause{300};
constexpr std::uint32_t maxFound = 16;
// No stream of markers has more, and a name is no proof that it is one.
constexpr std::int32_t maxChannels = 64;
constexpr std::int32_t maxBuffered = 10;  // in hundreds of samples, as their rate is irregular
constexpr std::int32_t recovers = 1;
// A time that is further from the arrival is none.
constexpr std::chrono::hours maxAge{1};

// The samples of one inlet as texts with the times of host::uptime().
class Receiver {
 public:
  Receiver(const lsl::Library& library, lsl::Inlet* inlet, std::int32_t channels)
      : library_(library),
        inlet_(inlet),
        clock_(library.localClock),
        texts_(static_cast<std::size_t>(channels), nullptr)
  {
  }
  ~Receiver() { library_.destroyInlet(inlet_); }
  Receiver(const Receiver&) = delete;
  Receiver& operator=(const Receiver&) = delete;

  // False if the stream is lost for good.
  bool receive(const LslMarkers::Taker& take)
  {
    std::int32_t error = lsl::noError;
    const double time =
        library_.pullTexts(inlet_, texts_.data(), static_cast<std::int32_t>(texts_.size()), timeout, &error);
    if (error != lsl::noError && error != lsl::timeoutError) return false;
    if (error == lsl::noError && time != 0) {
      const std::string text = takeText();
      take(uptimeOf(time), text);
    }
    return true;
  }

 private:
  std::string takeText()
  {
    std::string text;
    for (char*& each : texts_) {
      if (each == nullptr) continue;
      if (&each != &texts_.front()) text += ' ';
      text += each;
      library_.destroyText(std::exchange(each, nullptr));
    }
    return text;
  }

  // The sender's clock is that of its computer.
  LslMarkers::Time uptimeOf(double time)
  {
    clock_.keepUp();
    const LslMarkers::Time now = host::uptime();
    std::int32_t error = lsl::noError;
    const double correction = library_.timeCorrection(inlet_, timeout, &error);
    const double age = clock_.at(now) - (time + correction);
    if (error != lsl::noError || !(std::abs(age) < std::chrono::duration<double>(maxAge).count())) return now;
    return clock_.uptimeAt(time + correction);
  }

  const lsl::Library& library_;
  lsl::Inlet* const inlet_;
  NetworkClock clock_;
  std::vector<char*> texts_;
};

}  // namespace

LslMarkers::LslMarkers(const lsl::Library& library, std::string name, std::vector<std::string> own,
                       Taker take)
    : library_(library),
      name_(std::move(name)),
      own_(std::move(own)),
      take_(std::move(take)),
      thread_([this] { run(); })
{
}

LslMarkers::~LslMarkers()
{
  isOver_ = true;
  thread_.join();
}

void LslMarkers::run()
{
  while (!isOver_) {
    lsl::Info* const info = resolve();
    if (info != nullptr) {
      receive(info);
      library_.destroyInfo(info);
    }
    // Streams that are not wanted are found at once.
    if (!isOver_) std::this_thread::sleep_for(searchPause);
  }
}

// Waits for a while; null if there is none. To be destroyed.
lsl::Info* LslMarkers::resolve() const
{
  std::array<lsl::Info*, maxFound> found{};
  const std::int32_t count = library_.resolveBy(found.data(), maxFound, "name", name_.c_str(), 1, timeout);
  lsl::Info* chosen = nullptr;
  for (std::size_t index = 0; index < static_cast<std::size_t>(std::max(count, 0)); ++index) {
    lsl::Info* const info = found.at(index);
    const std::int32_t channels = library_.channelCount(info);
    const bool isOwn = std::ranges::find(own_, library_.sourceId(info)) != own_.end();
    if (chosen == nullptr && !isOwn && channels > 0 && channels <= maxChannels) {
      chosen = info;
    } else {
      library_.destroyInfo(info);
    }
  }
  return chosen;
}

void LslMarkers::receive(lsl::Info* info)
{
  lsl::Inlet* const inlet = library_.createInlet(info, maxBuffered, 0, recovers);
  if (inlet == nullptr) return;
  wasFound_ = true;
  Receiver receiver(library_, inlet, library_.channelCount(info));
  while (!isOver_ && receiver.receive(take_)) {
  }
}

#include "host/streaming/LslMarkers.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <utility>

#include "host/base/System.h"
#include "host/streaming/NetworkClock.h"

namespace {

constexpr std::uint32_t maxFound = 16;
// No stream of markers has more, and a name is no proof that it is one.
constexpr std::int32_t maxChannels = 64;
constexpr std::int32_t maxBuffered = 10;  // in hundreds of samples, as their rate is irregular
// Intentional: the library does not look for a lost stream itself, which it can't be stopped from for
// seconds.
constexpr std::int32_t isNotRecovered = 0;

// In seconds.
constexpr double timeout = 0.2;  // by which the end is noticed later
constexpr double openingTimeout = 0.3;
constexpr double forgetAfter = 5;        // a stream that no longer answers
constexpr double maxCorrectionTime = 5;  // for the first measurement of the sender's clock
constexpr double maxAge = 3600;          // a timestamp that is further from the arrival is none
constexpr std::chrono::milliseconds searchInterval{200};

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
  ~Receiver()
  {
    library_.destroyInlet(inlet_);
    for (char* const text : texts_) {
      if (text != nullptr) library_.destroyText(text);
    }
  }
  Receiver(const Receiver&) = delete;
  Receiver& operator=(const Receiver&) = delete;

  // The library keeps what arrives from now on.
  bool open()
  {
    std::int32_t error = lsl::noError;
    library_.openStream(inlet_, openingTimeout, &error);
    opened_ = library_.localClock();
    return error == lsl::noError;
  }

  // Waits a while for the next one. False if the stream is lost.
  bool receive(const LslMarkers::Taker& take)
  {
    if (!isCorrected() && library_.localClock() - opened_ < maxCorrectionTime) return true;
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

  // By how much the clock of the sender's computer differs, which the library measures again and again.
  bool isCorrected()
  {
    std::int32_t error = lsl::noError;
    const double correction = library_.timeCorrection(inlet_, correction_ ? 0 : timeout, &error);
    if (error == lsl::noError) correction_ = correction;
    return correction_.has_value();
  }

  LslMarkers::Time uptimeOf(double time)
  {
    clock_.keepUp();
    const LslMarkers::Time now = host::uptime();
    const double corrected = time + correction_.value_or(0);
    const bool isPlausible = std::abs(clock_.at(now) - corrected) < maxAge;
    return correction_ && isPlausible ? clock_.uptimeAt(corrected) : now;
  }

  const lsl::Library& library_;
  lsl::Inlet* const inlet_;
  NetworkClock clock_;
  std::vector<char*> texts_;
  double opened_ = 0;                 // by LSL's clock
  std::optional<double> correction_;  // seconds
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
  lsl::Resolver* const resolver = library_.createResolver("name", name_.c_str(), forgetAfter);
  if (resolver == nullptr) return;
  std::map<std::string, unsigned> attempts;  // by UID
  const auto search = [&] {
    if (const auto streams = streamsFoundBy(resolver); !streams.empty()) {
      // One that was lost is found for some seconds more, and must not keep a new one waiting.
      const auto attemptsOf = [&](const Stream& stream) -> unsigned& {
        return attempts[library_.uid(stream.get())];
      };
      const Stream& stream = *std::ranges::min_element(streams, {}, attemptsOf);
      ++attemptsOf(stream);
      receive(resolver, stream.get());
    }
  };
  while (!isOver_) {
    try {
      search();
    } catch (const std::exception&) {
      // Without memory a marker is lost, and the stream is looked for again.
    }
    if (!isOver_) std::this_thread::sleep_for(searchInterval);
  }
  library_.destroyResolver(resolver);
}

// Those that can be received.
std::vector<LslMarkers::Stream> LslMarkers::streamsFoundBy(lsl::Resolver* resolver) const
{
  std::array<lsl::Info*, maxFound> found{};
  const auto count =
      static_cast<std::size_t>(std::max(library_.results(resolver, found.data(), maxFound), 0));
  std::vector<Stream> streams;
  for (lsl::Info* const info : std::span(found).first(count)) {
    Stream stream(info, library_.destroyInfo);
    const std::int32_t channels = library_.channelCount(info);
    const bool isOwn = std::ranges::find(own_, library_.sourceId(info)) != own_.end();
    if (!isOwn && channels > 0 && channels <= maxChannels) streams.push_back(std::move(stream));
  }
  return streams;
}

void LslMarkers::receive(lsl::Resolver* resolver, lsl::Info* info)
{
  lsl::Inlet* const inlet = library_.createInlet(info, maxBuffered, 0, isNotRecovered);
  if (inlet == nullptr) return;
  Receiver receiver(library_, inlet, library_.channelCount(info));
  if (!receiver.open()) return;
  wasFound_ = true;
  const std::string uid = library_.uid(info);
  while (!isOver_ && receiver.receive(take_)) {
    // A computer that was switched off ends no connection; but if its program is started again, it is found.
    const auto streams = streamsFoundBy(resolver);
    const auto isThis = [&](const Stream& stream) { return library_.uid(stream.get()) == uid; };
    if (!streams.empty() && std::ranges::none_of(streams, isThis)) return;
  }
}

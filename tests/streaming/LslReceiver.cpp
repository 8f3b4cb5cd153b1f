#include "tests/streaming/LslReceiver.h"

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <time.h>

#include <cstdio>
#include <cstdlib>

namespace {

constexpr double patience = 20;  // seconds
constexpr std::int32_t maxBuffered = 360;
constexpr std::int32_t recovers = 1;

template <class Function>
void take(void* library, const char* name, Function& function)
{
  function = reinterpret_cast<Function>(::dlsym(library, name));
  if (function != nullptr) return;
  std::fprintf(stderr, "no function %s\n", name);
  std::exit(1);
}

Lsl load()
{
  const char* const file = std::getenv("TESSEL_LSL_LIBRARY");
  void* const library = file == nullptr ? nullptr : ::dlopen(file, RTLD_NOW | RTLD_LOCAL);
  if (library == nullptr) {
    std::fprintf(stderr, "TESSEL_LSL_LIBRARY must name the LSL library; scripts/test-lsl does so.\n");
    std::exit(1);
  }
  Lsl lsl{};
  take(library, "lsl_local_clock", lsl.clock);
  take(library, "lsl_create_streaminfo", lsl.makeInfo);
  take(library, "lsl_destroy_streaminfo", lsl.destroyInfo);
  take(library, "lsl_create_outlet", lsl.makeOutlet);
  take(library, "lsl_destroy_outlet", lsl.destroyOutlet);
  take(library, "lsl_push_sample_strtp", lsl.push);
  take(library, "lsl_have_consumers", lsl.haveConsumers);
  take(library, "lsl_resolve_byprop", lsl.resolve);
  take(library, "lsl_create_inlet", lsl.makeInlet);
  take(library, "lsl_destroy_inlet", lsl.destroyInlet);
  take(library, "lsl_open_stream", lsl.open);
  take(library, "lsl_get_fullinfo", lsl.fullInfo);
  take(library, "lsl_get_xml", lsl.xml);
  take(library, "lsl_pull_sample_i", lsl.pullNumbers);
  take(library, "lsl_pull_sample_str", lsl.pullTexts);
  take(library, "lsl_destroy_string", lsl.destroyText);
  return lsl;
}

void* openInlet(const std::string& sourceId)
{
  const Lsl& lsl = Lsl::library();
  void* info = nullptr;
  if (lsl.resolve(&info, 1, "source_id", sourceId.c_str(), 1, patience) != 1) {
    ADD_FAILURE() << "no stream " << sourceId;
    return nullptr;
  }
  void* const inlet = lsl.makeInlet(info, maxBuffered, 0, recovers);
  lsl.destroyInfo(info);
  std::int32_t error = 0;
  lsl.open(inlet, patience, &error);
  EXPECT_EQ(error, 0) << sourceId;
  return inlet;
}

}  // namespace

const Lsl& Lsl::library()
{
  static const Lsl lsl = load();
  return lsl;
}

double monotonicSeconds()
{
  timespec time{};
  ::clock_gettime(CLOCK_BOOTTIME, &time);
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
}

double lslAhead()
{
  double narrowest = 1;
  double ahead = 0;
  for (int reading = 0; reading < 100; ++reading) {
    const double before = monotonicSeconds();
    const double lsl = Lsl::library().clock();
    const double after = monotonicSeconds();
    if (after - before >= narrowest) continue;
    narrowest = after - before;
    ahead = lsl - (before + after) / 2;
  }
  return ahead;
}

LslReceiver::LslReceiver(const std::string& sourceId, std::int32_t channels)
    : channels_(channels), inlet_(openInlet(sourceId))
{
  if (inlet_ == nullptr) return;
  const Lsl& lsl = Lsl::library();
  std::int32_t error = 0;
  void* const info = lsl.fullInfo(inlet_, patience, &error);
  char* const xml = lsl.xml(info);
  xml_ = xml;
  lsl.destroyText(xml);
  lsl.destroyInfo(info);
  thread_ = std::thread([this] { run(); });
}

LslReceiver::~LslReceiver()
{
  if (inlet_ == nullptr) return;
  isOver_ = true;
  thread_.join();
  Lsl::library().destroyInlet(inlet_);
}

std::vector<LslReceiver::Sample> LslReceiver::samples() const
{
  const std::lock_guard lock(mutex_);
  return samples_;
}

void LslReceiver::run()
{
  const Lsl& lsl = Lsl::library();
  constexpr double timeout = 0.1;
  while (!isOver_) {
    Sample sample;
    std::int32_t error = 0;
    if (channels_ > 0) {
      sample.values.resize(static_cast<std::size_t>(channels_));
      sample.time = lsl.pullNumbers(inlet_, sample.values.data(), channels_, timeout, &error);
    } else {
      char* text = nullptr;
      sample.time = lsl.pullTexts(inlet_, &text, 1, timeout, &error);
      if (sample.time != 0) {
        sample.text = text;
        lsl.destroyText(text);
      }
    }
    sample.arrived = lsl.clock();
    if (sample.time == 0) continue;
    const std::lock_guard lock(mutex_);
    samples_.push_back(std::move(sample));
  }
}

LslSleeper::LslSleeper(const std::string& sourceId) : inlet_(openInlet(sourceId)) {}

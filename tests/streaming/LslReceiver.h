// A receiver of LSL streams by the library's C interface, with declarations of its own.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

// The library that the environment variable TESSEL_LSL_LIBRARY names; ends the program if there is none.
struct Lsl {
  double (*clock)();
  void* (*makeInfo)(const char*, const char*, std::int32_t, double, std::int32_t, const char*);
  void (*destroyInfo)(void*);
  void* (*makeOutlet)(void*, std::int32_t, std::int32_t);
  void (*destroyOutlet)(void*);
  std::int32_t (*push)(void*, const char**, double, std::int32_t);
  std::int32_t (*haveConsumers)(void*);
  std::int32_t (*resolve)(void**, std::uint32_t, const char*, const char*, std::int32_t, double);
  void* (*makeInlet)(void*, std::int32_t, std::int32_t, std::int32_t);
  void (*destroyInlet)(void*);
  void (*open)(void*, double, std::int32_t*);
  void* (*fullInfo)(void*, double, std::int32_t*);
  char* (*xml)(void*);
  double (*pullNumbers)(void*, std::int32_t*, std::int32_t, double, std::int32_t*);
  double (*pullTexts)(void*, char**, std::int32_t, double, std::int32_t*);
  void (*destroyText)(char*);

  static const Lsl& library();
};

// On the clock of the recordings: what run.json calls monotonic.
double monotonicSeconds();
// By how much the clock of LSL is ahead of it.
double lslAhead();

// An open stream that is received on a thread of its own.
class LslReceiver {
 public:
  struct Sample {
    double time = 0;     // of the sender
    double arrived = 0;  // by the same clock
    std::vector<std::int32_t> values;
    std::string text;
  };

  // Waits for the one stream with this source id. `channels`: 0 for a stream of texts.
  LslReceiver(const std::string& sourceId, std::int32_t channels);
  ~LslReceiver();
  LslReceiver(const LslReceiver&) = delete;
  LslReceiver& operator=(const LslReceiver&) = delete;

  // The whole description, as XML.
  const std::string& xml() const { return xml_; }
  std::vector<Sample> samples() const;
  std::size_t count() const { return samples().size(); }

 private:
  void run();

  const std::int32_t channels_;
  void* inlet_;
  std::string xml_;
  mutable std::mutex mutex_;
  std::vector<Sample> samples_;
  std::atomic<bool> isOver_{false};
  std::thread thread_;
};

// Opens the stream and never reads it.
class LslSleeper {
 public:
  explicit LslSleeper(const std::string& sourceId);
  ~LslSleeper() { Lsl::library().destroyInlet(inlet_); }
  LslSleeper(const LslSleeper&) = delete;
  LslSleeper& operator=(const LslSleeper&) = delete;

 private:
  void* inlet_;
};

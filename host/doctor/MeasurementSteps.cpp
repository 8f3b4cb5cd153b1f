#include "host/doctor/MeasurementSteps.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

#include "host/capture/GloveSigns.h"
#include "host/session/BooksText.h"

namespace {

using Result = Step::Result;

constexpr double minShareOfRate = 0.98;
constexpr double maxUsualLoss = 0.005;
constexpr double maxUsualSilenceMs = 500;
constexpr double maxUsualLatencyMs = 250;
// More than any crystal's: 200 ppm.
constexpr double maxCrystalError = 200e-6;
constexpr double radioPacketsPerSecond = 1400;

Step batteryStep(const Measurement& measurement)
{
  const auto& battery = measurement.figures.battery;
  const char* const whose = measurement.labels.size() > 1 ? ", the lower value of both gloves" : "";
  Step step{.name = "battery",
            .text = battery ? fmt::format("{:.0f}%{}", 100 * *battery, whose)
                            : "empty, or not reported by the gloves"};
  if (battery && *battery >= lowBattery) return step;
  step.result = Result::warning;
  step.fix = "Charge the gloves.";
  return step;
}

// By the fastest glove.
std::optional<double> sampledPerSecond(const Measurement& measurement)
{
  std::optional<double> highest;
  for (const auto& rate : measurement.sampledPerSecond) {
    if (rate) highest = std::max(highest.value_or(0), *rate);
  }
  return highest;
}

bool exceedsRadio(const Measurement& measurement)
{
  const double packets = 1 + std::ceil((measurement.elementsOfGlove - 8) / 9);
  return sampledPerSecond(measurement).value_or(0) * packets *
             static_cast<double>(measurement.labels.size()) >
         radioPacketsPerSecond;
}

Step framesStep(const Measurement& measurement)
{
  const RecordingFigures& figures = measurement.figures;
  const double rate = figures.recordsPerSecond();
  const auto sampled = sampledPerSecond(measurement);
  Step step{.name = "frames",
            .text = fmt::format("{} frames in {:.1f} s, {:.1f} a second{}", figures.records, figures.seconds,
                                rate, sampled ? fmt::format("; the gloves sample {:.1f}", *sampled) : "")};
  if (measurement.failure) {
    step.result = Result::failed;
    step.text = figures.records == 0 ? measurement.failure->what()
                                     : fmt::format("{} {}", step.text + ":", measurement.failure->what());
    step.fix = measurement.failure->advice();
    step.code = measurement.failure->code();
  } else if (sampled && rate < minShareOfRate * *sampled) {
    step.result = Result::warning;
    step.fix =
        exceedsRadio(measurement)
            ? "The radio carries some 1,400 packets a second, all gloves together: sample more slowly, "
              "or record one glove."
            : "See the losses below.";
  }
  return step;
}

// Frames that one glove lost on the radio cost the other one as many, by pairing.
std::string adviceAgainstLosses(const Measurement& measurement)
{
  GloveBooks all;
  for (const GloveBooks& glove : measurement.books->gloves) {
    all.sent += glove.sent;
    all.lost.radio += glove.lost.radio + glove.lost.unheard + glove.lost.refused;
    all.lost.faulty += glove.lost.faulty;
  }
  if (all.lost.faulty > all.lost.radio) {
    return "The frames are shorter than TesselElementCount in the settings says: see `tessel settings`.";
  }
  if (all.lostShare() <= maxUsualLoss / 2) {
    return "The gloves sample at different rates, or one of them paused: the frames that have no partner are "
           "left out. Switch both off and on.";
  }
  return exceedsRadio(measurement) ? "The gloves sample more than the radio carries: sample more slowly."
                                   : "Bring the gloves closer to the dongle, and the dongle out of the "
                                     "shadow of the computer and away "
                                     "from USB 3 devices, with an extension cable.";
}

Step lossesStep(const Measurement& measurement)
{
  Step step{.name = "losses", .text = ""};
  const Books& books = *measurement.books;
  for (std::size_t index = 0; index < books.gloves.size(); ++index) {
    GloveBooks glove = books.gloves[index];
    step.text +=
        fmt::format("{}{}: {}", index == 0 ? "" : "; ", measurement.labels.at(index), framesText(glove));
    // The last ones have not been read when a measurement ends.
    glove.lost.queued = 0;
    if (glove.lostShare() <= maxUsualLoss) continue;
    step.result = Result::warning;
    step.fix = adviceAgainstLosses(measurement);
  }
  if (const auto failure = booksFailure(books, measurement.labels)) {
    step.result = Result::failed;
    step.text = failure->what();
    step.fix = "Please send a report to the authors of this program: tessel doctor --report FILE";
    step.code = failure->code();
  }
  return step;
}

Step silenceStep(const Measurement& measurement)
{
  const Stalls& stalls = measurement.figures.stalls;
  Step step{
      .name = "silence",
      .text = fmt::format(
          "the longest silence took {:.0f} ms{}", measurement.longestSilenceMs,
          stalls.count > 0 ? fmt::format("; this computer paused for up to {:.1f} s", stalls.longest) : "")};
  if (measurement.longestSilenceMs <= maxUsualSilenceMs) return step;
  step.result = Result::warning;
  step.fix = stalls.count > 0
                 ? "End other programs that keep the computer busy, and keep it awake."
                 : "Bring the gloves closer, and away from other transmitters (Wi-Fi, Bluetooth).";
  return step;
}

Step clockStep(const Measurement& measurement)
{
  Step step{.name = "clock", .text = ""};
  for (std::size_t index = 0; index < measurement.clocks.size(); ++index) {
    const auto& clock = measurement.clocks[index];
    const std::string& label = measurement.labels.at(index);
    step.text += index == 0 ? "" : ", ";
    if (!clock) {
      step.text += fmt::format("{}: measured for too short a time", label);
      continue;
    }
    step.text += fmt::format("{} {:+} ppm (within {:.0f})", label, std::llround(1e6 * clock->value),
                             1e6 * clock->bound);
    if (std::abs(clock->value) - clock->bound <= maxCrystalError) continue;
    step.result = Result::warning;
    step.fix =
        "A crystal is not that far off: the times of recordings follow the glove's clock all the same, but "
        "have the glove checked.";
  }
  return step;
}

Step latencyStep(const Measurement& measurement)
{
  Step step{.name = "latency",
            .text = fmt::format(
                "a record arrives {:.0f} ms after its frame's first packet could, at most {:.0f} ms",
                *measurement.latencyMs, *measurement.maxLatencyMs)};
  if (*measurement.latencyMs <= maxUsualLatencyMs) return step;
  step.result = Result::warning;
  step.fix =
      exceedsRadio(measurement)
          ? "The gloves sample more than the radio carries, so that frames wait: sample more slowly."
          : "One glove's frames wait for the other's, or this computer is busy. Switch the gloves off and "
            "on, and end other programs.";
  return step;
}

}  // namespace

void takeMeasurementSteps(const Measurement& measurement, StepList& steps)
{
  if (measurement.figures.records == 0) {
    steps.add(framesStep(measurement));
    return;
  }
  steps.add(batteryStep(measurement));
  steps.add(framesStep(measurement));
  if (measurement.books) steps.add(lossesStep(measurement));
  steps.add(silenceStep(measurement));
  if (!measurement.clocks.empty()) steps.add(clockStep(measurement));
  if (measurement.latencyMs) steps.add(latencyStep(measurement));
}

#include "host/doctor/Measurement.h"

#include <algorithm>
#include <cmath>

#include "host/session/BooksText.h"
#include "host/session/RecordKeeper.h"
#include "host/session/Session.h"

namespace {

class MeasuringSink final : public RecordSink {
 public:
  void add(const Record& record) override
  {
    if (!std::isnan(record.timeMs)) latencies_.push_back(record.arrivalMs - record.timeMs);
    if (latest_) longestSilenceMs_ = std::max(longestSilenceMs_, record.arrivalMs - *latest_);
    latest_ = record.arrivalMs;
  }

  double longestSilenceMs() const { return longestSilenceMs_; }
  std::vector<double>& latencies() { return latencies_; }

 private:
  std::vector<double> latencies_;
  std::optional<double> latest_;
  double longestSilenceMs_ = 0;
};

void noteLatencies(std::vector<double>& latencies, Measurement& measurement)
{
  if (latencies.empty()) return;
  const auto median = latencies.begin() + static_cast<std::ptrdiff_t>(latencies.size() / 2);
  std::ranges::nth_element(latencies, median);
  measurement.latencyMs = *median;
  measurement.maxLatencyMs = *std::ranges::max_element(latencies);
}

}  // namespace

Measurement measure(GloveConnector& gloves, RecordSource& source, const Layout& layout,
                    LiveAccounts* accounts, double seconds, const std::atomic<bool>& stop,
                    const Recorder::Clock& clock)
{
  Measurement measurement;
  measurement.labels = gloveLabels(layout);
  measurement.elementsOfGlove = static_cast<double>(layout.groups.front().count);
  MeasuringSink writer;
  RecordKeeper keeper(layout, writer, accounts);
  Recorder recorder(layout, keeper, {.seconds = seconds, .records = {}}, clock);
  const auto attempt = [&measurement](const auto& step) {
    try {
      step();
    } catch (...) {
      const auto failure = endingByException().failure;
      if (!measurement.failure) measurement.failure = failure;
    }
  };
  attempt([&] { recorder.run(source, stop, [](const RecordingFigures&) {}); });
  attempt([&] { gloves.disconnect(); });
  attempt([&] { keeper.writeRest(); });
  if (accounts != nullptr) measurement.books = accounts->close();
  recorder.finish(measurement.books);
  measurement.figures = recorder.figures();
  measurement.longestSilenceMs = writer.longestSilenceMs();
  if (accounts != nullptr) noteLatencies(writer.latencies(), measurement);
  return measurement;
}

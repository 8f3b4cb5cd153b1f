#include "tests/ledger/VirtualSession.h"

#include <algorithm>
#include <cmath>
#include <string_view>

#include "host/gloves/SettingsFile.h"
#include "host/recording/SinkList.h"
#include "host/session/ListenerList.h"
#include "tests/ledger/Differences.h"
#include "tests/ledger/VirtualConnector.h"

namespace {

// Compares each record with the frames that it was made of.
class ComparingSink final : public RecordSink {
 public:
  ComparingSink(const SessionPlan& plan, VirtualGloves& gloves, VirtualConnector& connector,
                Differences& differences)
      : plan_(plan), gloves_(gloves), connector_(connector), differences_(differences)
  {
  }

  void add(const Record& record) override
  {
    if (written_ == plan_.capacity) throw Failure(ExitCode::output, "the disk is full.", "");
    ++written_;
    const DeliveredRecord delivered = std::move(connector_.delivered.front());
    connector_.delivered.pop_front();
    const Ledger::Record& truth = delivered.truth;
    if (!std::ranges::equal(record.elements, truth.elements)) note("wrong elements");
    if (record.arrivalMs < latestArrival_) note("the arrival goes back");
    latestArrival_ = record.arrivalMs;
    if (plan_.isCaptured) {
      differences_.checkCut(gloves_.now(), keeper->cut(), written_ - 1);
      compareFrames(record, delivered);
    }
    noteTime(record.timeMs, delivered);
    for (std::size_t glove = 1; glove < record.frames.size(); ++glove) {
      noteSampled(glove, record.frames[glove].sampledMs, delivered);
    }
  }

  std::uint64_t written() const { return written_; }
  std::uint64_t untimed() const { return untimed_; }
  std::vector<TimeError> timeErrors(std::size_t glove) const;

  const RecordKeeper* keeper = nullptr;

 private:
  struct Timed {
    std::size_t connection;
    simulator::Duration sampled;
    double delay;  // ms
  };

  std::ostream& note(const char* what) { return differences_.note(gloves_.now(), what); }

  void compareFrames(const Record& record, const DeliveredRecord& delivered)
  {
    for (std::size_t glove = 0; glove < record.frames.size(); ++glove) {
      const auto& [number, ticks, sampledMs] = record.frames[glove];
      if (number < 0) {
        note("a record of unknown frames");
        continue;
      }
      differences_.compareFrame(gloves_.now(), glove, number, ticks, delivered.truth.frames[glove]);
      Latest& latest = latest_.at(glove);
      if (delivered.connection > latest.connection && number <= latest.number) {
        note("the frame numbers go back with connection ") << delivered.connection;
      }
      if (sampledMs < latest.sampledMs) note("the time of a glove goes back");
      latest = {delivered.connection, number, std::isnan(sampledMs) ? latest.sampledMs : sampledMs};
    }
  }

  void noteTime(double timeMs, const DeliveredRecord& delivered)
  {
    if (std::isnan(timeMs)) {
      ++untimed_;
      return;
    }
    if (timeMs < latestTime_) note("the time goes back");
    latestTime_ = timeMs;
    noteSampled(0, timeMs, delivered);
  }

  void noteSampled(std::size_t glove, double ms, const DeliveredRecord& delivered)
  {
    if (std::isnan(ms) || !plan_.measuresTimes) return;
    const simulator::Duration sampled = delivered.truth.frames[glove].sampled;
    const double trueMs = std::chrono::duration<double, std::milli>(sampled).count();
    timed_.at(glove).push_back({delivered.connection, sampled, ms - trueMs});
  }

  struct Latest {
    std::size_t connection = 0;
    std::int64_t number = -1;
    double sampledMs = -1e9;
  };

  const SessionPlan& plan_;
  VirtualGloves& gloves_;
  VirtualConnector& connector_;
  Differences& differences_;
  std::uint64_t written_ = 0, untimed_ = 0;
  double latestArrival_ = 0, latestTime_ = 0;
  std::array<Latest, 2> latest_;
  std::array<std::vector<Timed>, 2> timed_;  // by glove
};

std::vector<TimeError> ComparingSink::timeErrors(std::size_t glove) const
{
  const std::vector<Timed>& timed = timed_.at(glove);
  std::vector<double> first;
  for (const Timed& each : timed) {
    if (each.connection == 0) first.push_back(each.delay);
  }
  if (first.empty()) return {};
  const auto median = first.begin() + static_cast<std::ptrdiff_t>(first.size() / 2);
  std::ranges::nth_element(first, median);
  std::vector<TimeError> errors(timed.back().connection + 1);
  simulator::Duration begin{0};
  for (auto each = timed.begin(); each != timed.end(); ++each) {
    if (each == timed.begin() || each->connection != std::prev(each)->connection) begin = each->sampled;
    TimeError& error = errors[each->connection];
    const double size = std::abs(each->delay - *median);
    error.max = std::max(error.max, size);
    if (each->sampled - begin >= std::chrono::seconds(5)) error.after5s = std::max(error.after5s, size);
  }
  return errors;
}

class NotingListener final : public SessionListener {
 public:
  void recording(const RecordingFigures&) override {}
  void lost(const Failure&, const RecordingFigures&) override {}
  void waiting(const Waiting& waiting, const RecordingFigures&) override
  {
    if (!waiting.failure) return;
    const std::string words = waiting.failure->what();
    if (attempts.empty() || attempts.back() != words) attempts.push_back(words);
  }
  void back(double, unsigned, const RecordingFigures&) override {}
  void event(const RecordingEvent& event) override { events.push_back(event); }

  std::vector<std::string> attempts;
  std::vector<RecordingEvent> events;
};

class VirtualSession {
 public:
  explicit VirtualSession(const SessionPlan& plan)
      : plan_(plan), gloves_(plan.gloves.size(), static_cast<std::size_t>(elementsOfGlove), plan.seed)
  {
    if (plan.stranger) gloves_.add("stranger", *plan.stranger).faults.hidden = true;
    for (const simulator::GloveConfig& config : plan.gloves) {
      gloves_.add(&config == &plan.gloves.front() ? "left" : "right", config);
      layout_.groups.push_back({&config == &plan.gloves.front() ? "left" : "right", config.name,
                                layout_.elements, static_cast<std::size_t>(elementsOfGlove)});
      layout_.elements += static_cast<std::size_t>(elementsOfGlove);
    }
    for (const std::string& command : plan.setup) {
      gloves_.execute(command);
    }
  }

  SessionResult run()
  {
    RecordSource& first = connector_.connect([] { return true; });
    if (!plan_.acceptsAnyGlove) connector_.acceptNoOthers();
    gloves_.schedule(plan_.steps, gloves_.now(), [this](const std::string& command) { execute(command); });
    SimulatedPlatform& platform = gloves_.platform();
    const HostTime time{[&platform] { return platform.uptime(); },
                        [&platform](auto duration) {
                          platform.clock.advance(std::chrono::round<simulator::Duration>(duration));
                        }};
    SinkList sinks;
    sinks.add(writer_);
    if (plan_.follower != nullptr) sinks.add(*plan_.follower);
    RecordKeeper keeper(layout_, sinks, captured_);
    writer_.keeper = &keeper;
    Recorder recorder(layout_, keeper, plan_.rules.limits, time.now);
    ListenerList listeners;
    listeners.add(listener_);
    if (plan_.follower != nullptr) {
      plan_.follower->follow(layout_, keeper, recorder, time);
      listeners.add(*plan_.follower);
    }
    Session session(connector_, recorder, keeper, markers_, listeners, plan_.rules, time);
    SessionResult result;
    result.ending = session.run(first, stop_);
    connector_.disconnect();
    if (!result.ending.failure || result.ending.failure->code() != ExitCode::output) {
      keeper.writeRest();
      session.noteRest();
    }
    if (plan_.isCaptured) {
      result.books = accounts_.close();
      compareBooks(result.books);
    }
    recorder.finish(plan_.isCaptured ? std::optional(result.books) : std::nullopt);
    if (plan_.follower != nullptr) plan_.follower->end(result.books);
    result.reconnections = recorder.figures().reconnections;
    result.events = std::move(listener_.events);
    result.attempts = std::move(listener_.attempts);
    result.timeErrors = {writer_.timeErrors(0), writer_.timeErrors(1)};
    result.records = writer_.written();
    result.untimed = writer_.untimed();
    result.differences = differences_.text();
    return result;
  }

 private:
  void execute(const std::string& command)
  {
    constexpr std::string_view marker = "marker ", port = "port ";
    if (command == "stop") {
      stop_ = true;
    } else if (command.starts_with(marker)) {
      markers_.add(gloves_.platform().uptime(), command.substr(marker.size()));
    } else if (command.starts_with(port)) {
      gloves_.port().friendlyText = "Bluegiga Bluetooth Low Energy (" + command.substr(port.size()) + ")";
    } else {
      gloves_.execute(command);
    }
  }

  // What the plug-in delivered and the disk did not take was discarded.
  void compareBooks(const Books& books)
  {
    auto ledger = gloves_.ledger().books();
    for (GloveBooks& glove : ledger) {
      glove.recorded -= connector_.delivered.size();
      glove.lost.discarded += connector_.delivered.size();
    }
    differences_.compareBooks(gloves_.now(), books, ledger);
  }

  const SessionPlan& plan_;
  VirtualGloves gloves_;
  Layout layout_;
  LiveAccounts accounts_{plan_.gloves.size(), static_cast<std::size_t>(elementsOfGlove)};
  LiveAccounts* const captured_ = plan_.isCaptured ? &accounts_ : nullptr;
  VirtualConnector connector_{gloves_, captured_, valuesFor(static_cast<int>(plan_.gloves.size()))};
  Differences differences_{plan_.gloves.size(), true};
  ComparingSink writer_{plan_, gloves_, connector_, differences_};
  MarkerQueue markers_;
  NotingListener listener_;
  std::atomic<bool> stop_{false};
};

}  // namespace

SessionResult record(const SessionPlan& plan)
{
  return VirtualSession(plan).run();
}

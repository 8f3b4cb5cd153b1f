#include "host/session/Session.h"

#include <gtest/gtest.h>

#include "host/gloves/OpeningFailure.h"
#include "tests/support/FakeGloves.h"

namespace {

using namespace std::chrono_literals;
using Time = std::chrono::nanoseconds;

// Gloves of which each connection behaves as the next entry of the script says.
class FakeConnector final : public GloveConnector {
 public:
  enum class Connection { recordsForASecond, recordsNothing, notFound, noPlugin };

  RecordSource& connect(const GoesOn& goesOn) override
  {
    ++attempts;
    if (!goesOn()) throw Failure(ExitCode::interrupted, "interrupted.", "");
    gloves_.now += 1s;
    const Connection connection = script.empty() ? Connection::notFound : script.front();
    if (!script.empty()) script.erase(script.begin());
    if (connection == Connection::notFound) throw OpeningFailure(ExitCode::noGloves, "no gloves.", "", true);
    if (connection == Connection::noPlugin) throw Failure(ExitCode::plugin, "no plug-in.", "");
    gloves_.failAt = gloves_.now + (connection == Connection::recordsForASecond ? 1s : 0s);
    isConnected = true;
    gloves_.openAgain();
    return gloves_;
  }
  void disconnect() override { isConnected = false; }
  std::optional<HeardDevices> heard() const override { return std::nullopt; }

  explicit FakeConnector(FakeGloves& gloves) : gloves_(gloves) {}
  std::vector<Connection> script;
  int attempts = 0;
  bool isConnected = false;

 private:
  FakeGloves& gloves_;
};

class Listener final : public SessionListener {
 public:
  void recording(const RecordingFigures&) override {}
  void lost(const Failure&, const RecordingFigures&) override { said += "lost "; }
  void waiting(const Waiting&, const RecordingFigures&) override
  {
    if (onWaiting) onWaiting();
  }
  void back(double, unsigned, const RecordingFigures&) override { said += "back "; }
  void event(const RecordingEvent& event) override
  {
    if (event.event == "marker" && isDiskFull) throw Failure(ExitCode::output, "the disk is full.", "");
    events += event.event + ' ';
  }

  std::function<void()> onWaiting;
  bool isDiskFull = false;
  std::string said, events;
};

TEST(Session, EndsAsItsConnectionsSay)
{
  using enum FakeConnector::Connection;
  const struct {
    const char* name;
    std::vector<FakeConnector::Connection> script;
    void (*whileAway)(MarkerQueue& markers, std::atomic<bool>& stop);  // null: nothing happens
    const char* ending;
    const char* said;
    const char* events;
    std::size_t records;
    int attempts;
  } cases[] = {
      {"ten reconnections, then none", std::vector(11, recordsForASecond), nullptr,
       "15 the dongle is gone. Tried for 5 s to open the gloves again, 5 times. The latest failure: no "
       "gloves.",
       "lost back lost back lost back lost back lost back lost back lost back lost back lost back lost back "
       "lost ",
       "disconnected reconnected disconnected reconnected disconnected reconnected disconnected reconnected "
       "disconnected reconnected disconnected reconnected disconnected reconnected disconnected reconnected "
       "disconnected reconnected disconnected reconnected disconnected gave up ",
       440, 16},
      {"gloves that open, but send nothing",
       {recordsForASecond, recordsNothing, recordsNothing, recordsNothing, recordsNothing, recordsNothing,
        recordsNothing},
       nullptr,
       "15 the dongle is gone. Tried for 5 s to open the gloves again, 5 times. The latest failure: the "
       "dongle is gone.",
       "lost ",
       "disconnected gave up ",
       40,
       6},
      {"a plug-in that is gone",
       {recordsForASecond, notFound, noPlugin},
       nullptr,
       "4 no plug-in.",
       "lost ",
       "disconnected ",
       40,
       3},
      {"a full disk while away",
       {recordsForASecond},
       [](MarkerQueue& markers, std::atomic<bool>&) { markers.add(0s, "now"); },
       "5 the disk is full.",
       "lost ",
       "disconnected ",
       40,
       2},
      {"a stop request while away",
       {recordsForASecond},
       [](MarkerQueue&, std::atomic<bool>& stop) { stop = true; },
       "0 as requested, while the gloves were away.",
       "lost ",
       "disconnected ",
       40,
       2},
  };
  for (const auto& [name, script, whileAway, ending, said, events, records, attempts] : cases) {
    SCOPED_TRACE(name);
    const Layout layout{.elements = 4, .groups = {{"left", "KVXGL00017", 0, 4}}};
    FakeGloves gloves;
    KeepingWriter writer;
    RecordKeeper keeper(layout, writer, nullptr);
    Recorder recorder(layout, keeper, {}, [&] { return gloves.now; });
    MarkerQueue markers;
    std::atomic<bool> stop{false};
    Listener listener;
    listener.isDiskFull = true;
    if (whileAway != nullptr) listener.onWaiting = [&, &act = whileAway] { act(markers, stop); };
    FakeConnector connector(gloves);
    connector.script = script;
    Session session(connector, recorder, keeper, markers, listener, {.limits = {}, .reconnectSeconds = 5},
                    {[&] { return gloves.now; }, [&](Time time) { gloves.now += time; }});
    const Ending result = session.run(connector.connect([] { return true; }), stop);
    const int code = result.failure ? static_cast<int>(result.failure->code()) : 0;
    EXPECT_EQ(std::to_string(code) + ' ' + result.words, ending);
    EXPECT_EQ(listener.said, said);
    EXPECT_EQ(listener.events, events);
    EXPECT_EQ(writer.records.size(), records);
    EXPECT_EQ(connector.attempts, attempts);
    EXPECT_FALSE(connector.isConnected);
  }
}

}  // namespace

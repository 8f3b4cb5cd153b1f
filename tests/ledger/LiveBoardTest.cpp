// What viewers see of sessions with losses and reconnections is what the session's books and records say.

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <optional>
#include <set>

#include "host/live/LiveBoard.h"
#include "host/session/BooksText.h"
#include "tests/ledger/RandomDropouts.h"
#include "tests/ledger/VirtualSession.h"

namespace {

using Json = nlohmann::json;

// Passes everything to a board, and counts the gaps of the gloves by itself.
class Viewer final : public SessionFollower {
 public:
  void follow(const Layout& layout, const RecordKeeper&, const Recorder& recorder,
              const HostTime& time) override
  {
    recorder_ = &recorder;
    board_.emplace(LiveFacts{.command = "record", .file = {}, .limits = {}, .reconnectSeconds = 60},
                   time.now);
    RecordingMetadata metadata;
    metadata.layout = layout;
    board_->opened(metadata);
  }

  void arrived(std::chrono::nanoseconds time, std::span<const std::uint16_t> elements) override
  {
    board_->arrived(time, elements);
    ++pictures;
    const Json picture = Json::parse(board_->picture());
    EXPECT_EQ(picture["record"], pictures);
    EXPECT_EQ(picture["gloves"][1]["elements"][124], elements[249]);
  }
  void begin(std::chrono::nanoseconds zero) override { board_->begin(zero); }
  void add(const Record& record) override
  {
    board_->add(record);
    ++written_;
    for (std::size_t glove = 0; glove < 2; ++glove) {
      const std::int64_t number = record.frames[glove].number;
      if (number > latest_[glove] + 1 && latest_[glove] >= 0) ++gaps_[glove];
      latest_[glove] = number;
    }
  }

  void recording(const RecordingFigures& figures) override
  {
    board_->recording(figures);
    const Json state = note();
    for (const Json& glove : state["gloves"]) {
      const double perSecond =
          glove["framesPerSecond"].is_null() ? 0 : glove["framesPerSecond"].get<double>();
      fastest = std::max(fastest, perSecond);
      if (glove["battery"].is_null()) {
        ++unknownBatteries;
      } else {
        EXPECT_EQ(glove["battery"], 0.125);
      }
    }
  }
  void lost(const Failure& failure, const RecordingFigures& figures) override
  {
    board_->lost(failure, figures);
    note();
  }
  void waiting(const Waiting& waiting, const RecordingFigures& figures) override
  {
    latest_ = {-1, -1};
    board_->waiting(waiting, figures);
    note();
  }
  void back(double seconds, unsigned attempts, const RecordingFigures& figures) override
  {
    board_->back(seconds, attempts, figures);
  }
  void event(const RecordingEvent& event) override { board_->event(event); }

  void end(const Books& books) override
  {
    board_->ended("as requested.", ExitCode::done, &recorder_->figures());
    const Json state = note();
    EXPECT_EQ(state["books"]["balanced"], true) << state["books"]["text"];
    EXPECT_EQ(state["records"], written_);
    const Json expected = booksJson(books, {"0", "1"});
    for (std::size_t index = 0; index < 2; ++index) {
      const Json& glove = state["gloves"][index];
      Json own = expected[std::to_string(index)];
      own.erase("ambiguous");
      for (const auto& [name, value] : own.items())
        EXPECT_EQ(glove[name], value) << name;
      EXPECT_EQ(glove["gaps"], gaps_[index]);
    }
  }

  std::set<std::string> states, alarms;  // that were shown
  std::uint64_t pictures = 0;
  double fastest = 0;
  unsigned unknownBatteries = 0;

 private:
  Json note()
  {
    Json state = Json::parse(board_->state());
    EXPECT_LE(state["records"], written_) << "those that arrived may be lost if the program is killed";
    for (const Json& glove : state["gloves"])
      states.insert(glove["state"]);
    for (const Json& warning : state["warnings"]) {
      if (warning["level"] == "alarm") alarms.insert(warning["id"]);
    }
    return state;
  }

  std::optional<LiveBoard> board_;
  const Recorder* recorder_ = nullptr;
  std::uint64_t written_ = 0;
  std::array<std::int64_t, 2> latest_{-1, -1};
  std::array<std::uint64_t, 2> gaps_{};
};

TEST(LiveBoardOfASession, ShowsWhatTheBooksSay)
{
  Viewer viewer;
  SessionPlan plan{.setup = {"rate 50", "battery left 12", "battery right 12"},
                   .steps = {{5, "loss left 5"},
                             {10, "leave right"},
                             {13, "back right"},
                             {20, "drop left"},
                             {40, "marker here"},
                             {45, "loss left 3"}}};
  plan.follower = &viewer;
  const SessionResult result = record(plan);
  EXPECT_EQ(result.differences, "");
  EXPECT_EQ(result.reconnections.size(), 1U);
  EXPECT_EQ(viewer.states, (std::set<std::string>{"away", "connected", "lost", "silent"}));
  EXPECT_EQ(viewer.alarms,
            (std::set<std::string>{"away", "lost-left", "loss-left", "loss-right", "silent-right"}));
  EXPECT_NEAR(viewer.fastest, 50, 8);
  EXPECT_LE(viewer.unknownBatteries, 4U) << "of two gloves, when they were opened";
}

}  // namespace

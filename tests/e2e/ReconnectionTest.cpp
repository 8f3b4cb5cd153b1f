// Recordings whose gloves go and come back: real processes, real pseudo terminals.

#include <gtest/gtest.h>
#include <signal.h>

#include <cstdlib>
#include <deque>
#include <fstream>
#include <nlohmann/json.hpp>
#include <random>

#include "tests/e2e/Rows.h"
#include "tests/e2e/Tessel.h"

namespace {

using Json = nlohmann::json;

const bool arePortsUnset = ::unsetenv("TESSEL_SERIAL_PORTS") == 0 && ::unsetenv("TESSEL_CAPTURE") == 0;

std::size_t count(const std::string& text, const std::string& words)
{
  std::size_t found = 0;
  for (auto at = text.find(words); at != std::string::npos; at = text.find(words, at + 1)) {
    ++found;
  }
  return found;
}

bool has(const std::string& text, const std::string& words)
{
  return text.find(words) != std::string::npos;
}

// A recording of simulated gloves with this scenario, which goes on while others run.
struct Recording {
  Recording(const std::string& scenario, const std::string& arguments)
  {
    folder.write("scenario", scenario);
    tessel.emplace(folder, words("record --sim --scenario scenario --output run.csv --json" + arguments));
  }

  std::string messages() const { return folder.read("stderr"); }

  TemporaryFolder folder;
  std::optional<Tessel> tessel;
};

TEST(Reconnection, EachLossIsSaidAndEndsAsItShould)
{
  const struct {
    std::string scenario, arguments;
    std::size_t losses, returns;
    std::vector<std::string> texts = {};
    int exitCode = 0;
  } cases[] = {
      {"2 leave left\n5 back left", " --seconds 6", 0, 0},
      {"2 leave both\n5 back both", " --seconds 6", 0, 0},
      {"2 drop left\n2 hide left\n5 show left",
       " --seconds 10",
       1,
       1,
       {"the connection to the left glove was lost. Waiting up to 60 s", "opened again once"}},
      {"2 silent left", " --seconds 5", 0, 0, {"Ended: as requested, but no frame arrived in the last"}},
      {"2 drop both", " --seconds 7", 1, 1, {"the connections to both gloves were lost."}},
      {"2 unplug\n5 plug",
       " --seconds 8",
       1,
       1,
       {"NOT RECORDING: the dongle is gone.", "No BLE USB dongle detected"}},
      {"2 mute on\n2.5 mute off\n2.5 drop right", " --frames 90", 1, 1},
      {"2 drop both\n2 hide left",
       " --seconds 16",
       1,
       0,
       {"left glove not heard, right glove heard (-50 dBm), 0 other devices",
        "at the end of the recording they were away", "Ended: as requested, while the gloves were away."}},
      {"2 drop left\n2 name left KVXGL00099",
       " --reconnect 2",
       1,
       0,
       {"Tried for", "; heard: ", "left glove KVXGL00099 (-50 dBm)"},
       15},
      {"2 drop left\n2 name left KVXGL00099", " --seconds 7 --any-glove", 1, 1},
      {"2 unplug",
       " --reconnect 2",
       1,
       0,
       {"tessel: the dongle is gone. Tried for ", " times. The latest failure: No BLE USB dongle detected"},
       15},
      {"2 drop left", " --no-capture --seconds 17", 1, 1, {"the gloves stopped sending"}},
  };
  std::deque<Recording> runs;
  for (const auto& each : cases) {
    runs.emplace_back(each.scenario, each.arguments);
  }
  auto run = runs.begin();
  for (const auto& [scenario, arguments, losses, returns, texts, exitCode] : cases) {
    SCOPED_TRACE(scenario + arguments);
    const auto result = run->tessel->result();
    EXPECT_EQ(result.exitCode, exitCode) << result.messages;
    for (const std::string& text : texts) {
      EXPECT_TRUE(has(result.messages, text)) << text << '\n' << result.messages;
    }
    EXPECT_EQ(count(result.messages, "  NOT RECORDING: "), losses) << result.messages;
    EXPECT_EQ(count(result.messages, "RECORDING AGAIN after"), returns) << result.messages;
    const std::string events = run->folder.read("run.events.csv");
    EXPECT_EQ(count(events, ",disconnected,"), losses) << events;
    EXPECT_EQ(count(events, ",reconnected,"), returns) << events;
    EXPECT_EQ(count(events, ",gave up,"), exitCode == 15 ? 1U : 0U) << events;
    const Json summary = Json::parse(result.output);
    EXPECT_EQ(Json::parse(run->folder.read("run.json")).at("reconnections"), summary.at("reconnections"));
    ASSERT_EQ(summary.at("reconnections").size(), losses);
    for (const Json& each : summary.at("reconnections")) {
      EXPECT_EQ(each.at("backMs").is_null(), returns == 0);
    }
    const Json& books = summary.at("books");
    EXPECT_TRUE(books.is_null() || books.at("balanced") == true) << result.output;
    EXPECT_GT(recordedRows(run->folder, "run.csv").size(), 10U);
    ++run;
  }
}

TEST(Reconnection, EndsAtOnceOnAStopRequestAndIsWholeIfKilled)
{
  const struct {
    int signal;
    std::string limit;
    int exitCode;
  } cases[] = {{SIGINT, "", 0}, {SIGTERM, " --seconds 60", 130}, {SIGKILL, "", 128 + SIGKILL}};
  std::deque<Recording> runs;
  for (const auto& each : cases) {
    runs.emplace_back("1.5 drop both\n1.5 hide both", each.limit);
  }
  auto run = runs.begin();
  for (const auto& [signal, limit, exitCode] : cases) {
    const bool isKilled = signal == SIGKILL;
    const std::string part = isKilled ? ".part" : "";
    run->tessel->waitUntil([&] { return has(run->messages(), "NOT RECORDING for"); });
    run->tessel->signal(signal);
    const auto result = run->tessel->result();
    EXPECT_EQ(result.exitCode, exitCode) << result.messages;
    EXPECT_GT(recordedRows(run->folder, "run.csv" + part).size(), 10U);
    EXPECT_TRUE(has(run->folder.read("run.events.csv" + part), ",disconnected,")) << signal;
    EXPECT_EQ(has(result.messages, "while the gloves were away."), !isKilled) << result.messages;
    ++run;
  }
}

TEST(Reconnection, EachConnectionHasALogOfItsOwn)
{
  Recording run("1.5 drop left", " --seconds 5 --log logs");
  EXPECT_EQ(run.tessel->result().exitCode, 0);
  std::size_t logs = 0;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(run.folder / "logs")) {
    if (entry.path().extension() == ".log") ++logs;
  }
  EXPECT_EQ(logs, 4U) << "of the hardware object and of its link, twice";
}

TEST(Reconnection, MarkersAreEventsAlsoWhileTheGlovesAreAway)
{
  Recording run("2 drop both\n2 hide both", " --seconds 7 --markers marks");
  const auto mark = [&](const std::string& text) { std::ofstream(run.folder / "marks") << text << '\n'; };
  run.tessel->waitUntil([&] { return has(run.messages(), " frames "); });
  mark("the subject, seated");
  run.tessel->signal(SIGUSR1);
  run.tessel->waitUntil([&] { return has(run.messages(), "NOT RECORDING for"); });
  mark("\x1B[31mback\xFF");
  EXPECT_EQ(run.tessel->result().exitCode, 0);
  EXPECT_TRUE(has(run.messages(), "  marker: the subject, seated\n")) << run.messages();
  const std::string events = run.folder.read("run.events.csv");
  EXPECT_TRUE(has(events, ",marker,,\"the subject, seated\"\n")) << events;
  EXPECT_EQ(count(events, ",marker,,marker "), 1U) << events;
  EXPECT_TRUE(has(events, "back")) << events;
  EXPECT_FALSE(has(events, "\x1B")) << events;
  EXPECT_LT(events.find(",disconnected,"), events.find("back"));
  EXPECT_FALSE(std::filesystem::exists(run.folder / "marks"));
  EXPECT_EQ(runTessel(run.folder, {"plot", "run.csv"}).exitCode, 0);
  EXPECT_TRUE(has(run.folder.read("run.svg"), ">the subject,"));
}

double secondsWanted()
{
  const char* const text = std::getenv("TESSEL_DROPOUT_SECONDS");
  return text == nullptr ? 20 : std::atof(text);
}

// Dropouts of 0.2 to 15 s, one after the other.
std::string randomDropouts(std::uint64_t seed, double seconds)
{
  std::mt19937_64 random(seed);
  const auto between = [&](double lowest, double highest) {
    return std::uniform_real_distribution<>(lowest, highest)(random);
  };
  const char* const gloves[] = {"left", "right", "both"};
  std::ostringstream text;
  double at = between(2, 5);
  while (at < seconds - 12) {
    const std::string glove = gloves[random() % 3];
    const double end = at + between(0.2, std::min(15.0, seconds / 5));
    switch (random() % 4) {
      case 0:
        text << at << " unplug\n" << end << " plug\n";
        break;
      case 1:
        text << at << " drop " << glove << '\n' << at << " hide " << glove << '\n' << end << " show all\n";
        break;
      default:
        text << at << " leave " << glove << '\n' << end << " back " << glove << '\n';
    }
    at = end + between(4, 15);
  }
  return text.str();
}

// CONTRIBUTING.md says how to run it for longer.
TEST(Reconnection, OfRandomDropoutsTheBooksAreExact)
{
  const double seconds = secondsWanted();
  const auto seed = std::random_device()();
  const std::string scenario = randomDropouts(seed, seconds);
  SCOPED_TRACE("seed " + std::to_string(seed) + '\n' + scenario);
  Recording run(scenario, " --seconds " + std::to_string(seconds));
  const auto begin = std::chrono::steady_clock::now();
  const auto elapsed = [&] {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
  };
  while (elapsed() < seconds + 5) {
    run.tessel->waitUntil([&, until = elapsed() + 30] { return elapsed() > until; });
    if (has(run.messages(), "Ended: ")) break;
  }
  const auto result = run.tessel->result();
  ASSERT_EQ(result.exitCode, 0) << result.messages;
  const Json summary = Json::parse(result.output);
  EXPECT_EQ(summary.at("books").at("balanced"), true) << result.output;
  const auto reconnections = summary.at("reconnections").size();
  std::printf("%zu reconnections in %g s\n", reconnections, seconds);

  // Of the times themselves `ledger-tests` has exact bounds, over far more dropouts.
  const std::size_t rows = recordedRows(run.folder, "run.csv").size();
  EXPECT_EQ(rows, summary.at("books").at("left").at("recorded"));
}

}  // namespace

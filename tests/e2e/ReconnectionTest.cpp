// Recordings whose gloves go and come back: real processes, real pseudo terminals.

#include <gtest/gtest.h>
#include <signal.h>

#include <cstdlib>
#include <deque>
#include <fstream>
#include <nlohmann/json.hpp>

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
      {"2 drop left\n2 hide left\n5 show left",
       " --seconds 10",
       1,
       1,
       {"the connection to the left glove was lost. Waiting up to 60 s", "opened again once"}},
      {"2 silent left", " --seconds 5", 0, 0, {"Ended: as requested, but no frame arrived in the last"}},
      {"2 unplug\n5 plug",
       " --seconds 8",
       1,
       1,
       {"NOT RECORDING: the dongle is gone.", "No BLE USB dongle detected"}},
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
  Recording run("6 drop both\n6 hide both", " --seconds 11 --markers marks");
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

}  // namespace

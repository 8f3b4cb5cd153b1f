// `tessel` and the real LSL library: what receivers get is what was recorded.

#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <fstream>
#include <functional>
#include <map>
#include <nlohmann/json.hpp>
#include <optional>
#include <sstream>

#include "tests/e2e/Tessel.h"
#include "tests/streaming/LslReceiver.h"

namespace {

using Cells = std::vector<std::string>;

constexpr const char* leftId = "tessel-KVXGL00017";
constexpr const char* rightId = "tessel-KVXGR00018";
constexpr const char* eventsId = "tessel-KVXGL00017-KVXGR00018-events";
constexpr std::size_t elements = 125;
constexpr std::size_t firstElement = 9;  // column of a CSV file
constexpr double msTolerance = 1;

std::vector<std::string> withLibrary(std::vector<std::string> arguments)
{
  Lsl::library();
  arguments.insert(arguments.end(), {"--lsl-library", std::getenv("TESSEL_LSL_LIBRARY")});
  return arguments;
}

std::vector<Cells> linesOf(const std::string& csv)
{
  std::vector<Cells> rows;
  std::istringstream lines(csv);
  for (std::string line; std::getline(lines, line);) {
    std::istringstream cells(line);
    auto& row = rows.emplace_back();
    for (std::string cell; std::getline(cells, cell, ',');) {
      row.push_back(cell);
    }
  }
  return rows;
}

// The texts of all elements of this name.
std::vector<std::string> valuesOf(const std::string& xml, const std::string& name)
{
  std::vector<std::string> values;
  const std::string begin = '<' + name + '>';
  for (auto at = xml.find(begin); at != std::string::npos; at = xml.find(begin, at)) {
    at += begin.size();
    values.push_back(xml.substr(at, xml.find("</" + name, at) - at));
  }
  return values;
}

void waitFor(const std::function<bool()>& condition, const char* what)
{
  for (const double end = monotonicSeconds() + 20; !condition();) {
    ASSERT_LT(monotonicSeconds(), end) << what;
    ::usleep(10'000);
  }
}

double zeroOf(const TemporaryFolder& folder)
{
  const auto json = nlohmann::json::parse(folder.read("run.json"));
  return json.at("started").at("monotonic_ns").get<double>() / 1e9;
}

struct Figures {
  std::vector<double> latenciesMs;
  double largestDifferenceMs = 0;
};

// All samples are the latest rows of the recording, at their times.
void expectRecorded(const std::vector<LslReceiver::Sample>& samples, const std::vector<Cells>& csv,
                    std::size_t glove, double zero, Figures& figures)
{
  const std::size_t rows = csv.size() - 1;
  ASSERT_LE(samples.size(), rows);
  ASSERT_GT(samples.size(), rows / 2) << "the stream was found soon";
  const std::size_t msColumn = 5 + 3 * glove;
  ASSERT_TRUE(csv[0][msColumn].ends_with("_ms"));
  const double ahead = lslAhead();
  double earlier = 0;
  for (std::size_t index = 0; index < samples.size(); ++index) {
    const LslReceiver::Sample& sample = samples[index];
    const Cells& row = csv[1 + rows - samples.size() + index];
    for (std::size_t element = 0; element < elements; ++element) {
      ASSERT_EQ(std::to_string(sample.values[element]), row[firstElement + glove * elements + element])
          << "sample " << index << " of " << samples.size();
    }
    ASSERT_GE(sample.time, earlier);
    earlier = sample.time;
    const double ms = std::stod(row[msColumn].empty() ? row[0] : row[msColumn]);
    const double difference = (sample.time - ahead - zero) * 1000 - ms;
    ASSERT_LT(std::abs(difference), msTolerance) << "sample " << index << " of " << samples.size();
    figures.largestDifferenceMs = std::max(figures.largestDifferenceMs, std::abs(difference));
    figures.latenciesMs.push_back((sample.arrived - sample.time) * 1000);
  }
}

// The same descriptions are in XDF files, whose tests know the rest.
void expectDescribed(const std::string& xml, const Cells& columns, std::size_t glove)
{
  EXPECT_EQ(valuesOf(xml, "name").at(0), glove == 0 ? "Tessel left glove" : "Tessel right glove");
  EXPECT_EQ(valuesOf(xml, "type").at(0), "Tactile");
  EXPECT_EQ(valuesOf(xml, "channel_format").at(0), "int32");
  EXPECT_EQ(valuesOf(xml, "channel_count").at(0), std::to_string(elements));
  EXPECT_EQ(std::stod(valuesOf(xml, "nominal_srate").at(0)), 0);
  const auto first = columns.begin() + static_cast<std::ptrdiff_t>(firstElement + glove * elements);
  EXPECT_EQ(valuesOf(xml, "label"), Cells(first, first + elements));
  EXPECT_NEAR(std::stod(valuesOf(xml, "measured_srate").at(0)), 40, 1);
}

bool hasText(const std::vector<LslReceiver::Sample>& samples, const std::string& beginning)
{
  return std::ranges::any_of(samples, [&](const auto& sample) { return sample.text.starts_with(beginning); });
}

}  // namespace

// With losses, a reconnection, markers, and a receiver that opens the streams and never reads.
TEST(Lsl, StreamsAreTheRecording)
{
  const TemporaryFolder folder;
  folder.write("scenario.txt", "1 loss left 3\n7 drop left\n");
  Tessel tessel(folder,
                withLibrary({"record", "--sim", "--scenario", "scenario.txt", "--lsl", "--output", "run.csv",
                             "--markers", (folder / "fifo").string(), "--frames", "400", "--json"}));
  std::optional<LslReceiver> left(std::in_place, leftId, elements), right(std::in_place, rightId, elements),
      events(std::in_place, eventsId, 0);
  const LslSleeper sleeper(leftId), other(rightId), third(eventsId);
  waitFor([&] { return right->count() > 40; }, "samples");
  if (HasFatalFailure()) return;
  const double marked = monotonicSeconds();
  std::ofstream(folder / "fifo") << "grasp <1> & \"more\"\n" << std::flush;
  const Tessel::Result result = tessel.result();
  ASSERT_EQ(result.exitCode, 0) << result.messages;
  EXPECT_NE(result.messages.find("Tessel left glove, type Tactile, 125 channels, source tessel-KVXGL00017"),
            std::string::npos)
      << result.messages;

  const auto json = nlohmann::json::parse(result.output);
  EXPECT_EQ(json.at("books").at("balanced"), true);
  EXPECT_EQ(json.at("stalls").at("count"), 0);
  EXPECT_EQ(json.at("reconnections").size(), 1U);
  const auto csv = linesOf(folder.read("run.csv"));
  EXPECT_EQ(csv.size() - 1, json.at("frames"));
  ::usleep(300'000);
  const double zero = zeroOf(folder);
  Figures figures;
  expectRecorded(left->samples(), csv, 0, zero, figures);
  expectRecorded(right->samples(), csv, 1, zero, figures);
  if (HasFatalFailure()) return;
  expectDescribed(left->xml(), csv[0], 0);
  expectDescribed(right->xml(), csv[0], 1);
  std::ranges::sort(figures.latenciesMs);
  std::cout << figures.latenciesMs.size() << " samples; from sampling to the receiver: median "
            << figures.latenciesMs[figures.latenciesMs.size() / 2] << " ms, largest "
            << figures.latenciesMs.back() << " ms; times differ by up to " << figures.largestDifferenceMs
            << " ms from the recording's\n";

  const auto texts = events->samples();
  const auto marker = std::ranges::find(texts, "marker: grasp <1> & \"more\"", &LslReceiver::Sample::text);
  ASSERT_NE(marker, texts.end());
  EXPECT_NEAR(marker->time - lslAhead(), marked, 0.1);
  EXPECT_TRUE(hasText(texts, "disconnected (left): "));
  EXPECT_TRUE(hasText(texts, "reconnected: after "));
  const auto lost = json.at("books").at("left").at("lost");
  std::uint64_t total = 0;
  for (const auto& cause : lost) {
    total += cause.get<std::uint64_t>();
  }
  const auto last = std::ranges::find_if(
      texts.rbegin(), texts.rend(), [](const auto& each) { return each.text.starts_with("lost (left)"); });
  EXPECT_TRUE(last->text.ends_with("; " + std::to_string(total) + " in all")) << last->text;
  EXPECT_EQ(folder.read("run.events.csv").find(",lost,"), std::string::npos) << "the books have them";
}

TEST(Lsl, MarkersOfAnotherStreamAreRecordedAtTheirTimes)
{
  const Lsl& lsl = Lsl::library();
  const TemporaryFolder folder;
  Tessel tessel(folder, withLibrary({"record", "--sim", "--lsl-markers", "Stimulus", "--output", "run.csv"}));
  std::map<std::string, double> pushed;  // by text, on the recording's clock
  for (const char* const round : {"first", "second"}) {
    // The stream appears while the recording runs, and is gone and there again.
    void* const info = lsl.makeInfo("Stimulus", "Markers", 1, 0, 3, "");
    void* const outlet = lsl.makeOutlet(info, 0, 360);
    lsl.destroyInfo(info);
    waitFor([&] { return lsl.haveConsumers(outlet) != 0; }, "a receiver");
    for (const std::string name : {"onset", "offset"}) {
      const std::string text = std::string(round) + ' ' + name;
      const char* value = text.c_str();
      const double time = lsl.clock() - 0.25;
      pushed[text] = time - lslAhead();
      lsl.push(outlet, &value, time, 1);
    }
    const auto isRecorded = [&] {
      return folder.read("stderr").find("marker: " + std::string(round) + " offset") != std::string::npos;
    };
    waitFor(isRecorded, "a marker");
    lsl.destroyOutlet(outlet);
  }
  tessel.signal(SIGINT);
  EXPECT_EQ(tessel.result().exitCode, 0);
  const double zero = zeroOf(folder);
  const auto events = linesOf(folder.read("run.events.csv"));
  ASSERT_EQ(events.size(), 1 + pushed.size());
  for (std::size_t line = 1; line < events.size(); ++line) {
    ASSERT_EQ(events[line].at(1), "marker");
    EXPECT_NEAR(std::stod(events[line][0]), (pushed.at(events[line].at(3)) - zero) * 1000, 2);
  }
}

TEST(Lsl, OwnMarkersAreNotTakenAgain)
{
  const TemporaryFolder folder;
  Tessel tessel(folder, withLibrary({"record", "--sim", "--lsl", "--lsl-markers", "Tessel events", "--output",
                                     "run.csv", "--frames", "120"}));
  const LslReceiver events(eventsId, 0);
  tessel.signal(SIGUSR1);
  const Tessel::Result result = tessel.result();
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_EQ(linesOf(folder.read("run.events.csv")).size(), 2U);
  EXPECT_NE(result.messages.find("No LSL stream Tessel events appeared"), std::string::npos)
      << result.messages;
}

TEST(Lsl, LibraryIsNotTakenFromTheWorkingFolderAndItsErrorsSayWhatToDo)
{
  const TemporaryFolder folder;
  for (const char* const name : {"liblsl.so.2", "liblsl.so", "liblsl64.so"}) {
    std::filesystem::copy_file(TESSEL_NO_PLUGIN, folder / name);
  }
  const std::string working = "LD_LIBRARY_PATH=";
  const struct {
    std::vector<std::string> command, options;
    std::string words;
  } cases[] = {
      {{"env"}, {}, "the LSL library was not found"},
      {{"env", working + ":/nowhere"}, {}, "the LSL library was not found"},
      {{"env", working + "/nowhere:"}, {}, "the LSL library was not found"},
      {{"env", working + "."}, {}, "the LSL library was not found"},
      {{"env"}, {"--lsl-library", "none.so"}, "the LSL library none.so can't be loaded: "},
      {{"env"}, {"--lsl-library", "liblsl.so"}, "liblsl.so is not the LSL library"},
      {{"env", working + folder.path().string()}, {}, "is not the LSL library"},
  };
  for (auto [command, options, words] : cases) {
    command.emplace_back(TESSEL_PROGRAM);
    std::vector<std::string> arguments{"stream", "--sim", "--frames", "5"};
    arguments.insert(arguments.end(), options.begin(), options.end());
    const Tessel::Result result = Tessel(folder, arguments, command).result();
    EXPECT_EQ(result.exitCode, 4) << result.messages;
    EXPECT_NE(result.messages.find(words), std::string::npos) << words << "; " << result.messages;
    EXPECT_NE(result.messages.find("--lsl-library"), std::string::npos) << result.messages;
  }
}

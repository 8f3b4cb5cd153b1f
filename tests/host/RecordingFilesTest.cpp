#include "host/recording/RecordingFiles.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "host/base/Failure.h"
#include "tests/support/TemporaryFolder.h"

namespace {

using namespace std::chrono_literals;
using Json = nlohmann::json;
namespace fs = std::filesystem;

const std::string ownMetadata = R"({"format": "tessel-recording"})";
const std::string ownEvents = "time_ms,event,glove,detail\n";

class Files : public testing::Test {
 public:
  OutputName output(const std::string& name, RecordFormat format = RecordFormat::csv) const
  {
    return {folder_ / name, format};
  }

  static RecordingMetadata metadata()
  {
    RecordingMetadata metadata;
    metadata.layout = {.elements = 1, .groups = {{"left", "KVXGL00017", 0, 1}}};
    return metadata;
  }

  static void addRecord(RecordWriter& writer)
  {
    const GloveFrame unknown;
    const std::uint16_t element = 7;
    writer.add({.frames = {&unknown, 1}, .elements = {&element, 1}});
  }

  // All names in the folder and in its folders, except those of locks, which some systems keep in files.
  std::string list() const
  {
    std::vector<std::string> names;
    for (const auto& entry : fs::recursive_directory_iterator(folder_.path())) {
      if (entry.path().extension() != ".lock")
        names.push_back(entry.path().lexically_relative(folder_.path()).generic_string());
    }
    std::ranges::sort(names);
    std::string text;
    for (const std::string& name : names) {
      text += name + ' ';
    }
    return text;
  }

  TemporaryFolder folder_;
};

TEST_F(Files, AreReplacedAllOrNone)
{
  const struct {
    const char* description;
    std::vector<std::pair<std::string, std::string>> existing;
    bool replaces;
    std::string refused;  // the name in the message; empty: it is recorded
  } cases[] = {
      {"nothing is there", {}, false, ""},
      {"the records are", {{"run.csv", "old"}}, false, "run.csv already exists"},
      {"the metadata is", {{"run.json", ownMetadata}}, false, "run.json already exists"},
      {"the events are", {{"run.events.csv", ownEvents}}, false, "run.events.csv already exists"},
      {"metadata of a killed run", {{"run.json.part", ownMetadata}}, false, "run.json.part was left"},
      {"events of a killed run", {{"run.events.csv.part", ""}}, false, "run.events.csv.part was left"},
      {"all may be replaced",
       {{"run.csv", "old"}, {"run.json", ownMetadata}, {"run.events.csv", ownEvents}},
       true,
       ""},
      {"leftovers may be replaced",
       {{"run.csv.part", "old"}, {"run.json.part", ""}, {"run.events.csv.part", ownEvents}},
       true,
       ""},
      {"other metadata must not",
       {{"run.csv.part", "old"}, {"run.json", "{}"}},
       true,
       "run.json already exists, and"},
      {"other events must not",
       {{"run.csv", "old"}, {"run.events.csv", "onset,label\n"}},
       true,
       "run.events.csv already exists, and"},
  };
  for (const auto& [description, existing, replaces, refused] : cases) {
    for (const auto& entry : fs::directory_iterator(folder_.path())) {
      fs::remove_all(entry.path());
    }
    for (const auto& [name, content] : existing) {
      folder_.write(name, content);
    }
    const std::string before = list();
    try {
      RecordingFiles files(output("run.csv"), replaces);
      EXPECT_EQ(refused, "") << description;
      addRecord(files.begin(metadata()));
      files.complete();
      EXPECT_EQ(list(), "run.csv run.json ") << description;
      EXPECT_NE(folder_.read("run.csv"), "old") << description;
      EXPECT_EQ(Json::parse(folder_.read("run.json")).at("complete"), true) << description;
    } catch (const Failure& failure) {
      EXPECT_NE(refused, "") << description << failure.what();
      EXPECT_NE(std::string(failure.what()).find(refused), std::string::npos) << failure.what();
      EXPECT_EQ(list(), before) << description;
      for (const auto& [name, content] : existing) {
        EXPECT_EQ(folder_.read(name), content) << description;
      }
    }
  }
}

TEST_F(Files, GrowUnderTheirOwnNamesUntilTheEnd)
{
  const struct {
    RecordFormat format;
    std::string name, metadata, growing, complete;
  } cases[] = {
      {RecordFormat::csv, "run.csv", "run.json.part", "run.csv.part run.events.csv.part run.json.part ",
       "run.csv run.events.csv run.json "},
      {RecordFormat::csv, "run", "run.json.part", "run.events.csv.part run.json.part run.part ",
       "run run.events.csv run.json "},
      {RecordFormat::npy, "run.npy", "run.npy.part/meta.json",
       "run.npy.part run.npy.part/arrival.npy run.npy.part/events.csv run.npy.part/left_frame.npy "
       "run.npy.part/left_ms.npy run.npy.part/left_ticks.npy run.npy.part/meta.json run.npy.part/samples.npy "
       "run.npy.part/stamps.npy run.npy.part/time.npy ",
       "run.npy run.npy/arrival.npy run.npy/events.csv run.npy/left_frame.npy run.npy/left_ms.npy "
       "run.npy/left_ticks.npy "
       "run.npy/meta.json run.npy/samples.npy run.npy/stamps.npy run.npy/time.npy "},
  };
  for (const auto& [format, name, metadataName, growing, complete] : cases) {
    std::optional<RecordingFiles> files;
    files.emplace(output(name, format), false);
    addRecord(files->begin(metadata()));
    const auto records = [&, &file = metadataName] { return Json::parse(folder_.read(file)).at("records"); };
    EXPECT_EQ(records(), 0) << "written at the beginning";
    const struct {
      RecordingFiles::Time now;
      unsigned expected;
    } steps[] = {{100s, 1}, {105s, 1}, {110s, 3}, {119s, 3}, {121s, 5}};
    for (const auto& [now, expected] : steps) {
      ++files->metadata().records;
      files->keepUp(now);
      EXPECT_EQ(records(), expected) << now.count();
      EXPECT_EQ(list(), growing);
    }
    files->addEvent(
        {.timeMs = 12.5, .event = "reconnected", .glove = "left", .detail = "a \"b\", c\n\x1B[2J"});
    files->complete();
    files.reset();
    EXPECT_EQ(list(), complete);
    const std::string events = format == RecordFormat::npy ? "run.npy/events.csv" : "run.events.csv";
    EXPECT_EQ(folder_.read(events), ownEvents + "12.50,reconnected,left,\"a \"\"b\"\", c\\n\\x1B[2J\"\n");
    for (const auto& entry : fs::directory_iterator(folder_.path())) {
      fs::remove_all(entry.path());
    }
  }
}

TEST_F(Files, StayOrGoTogetherWhenARecordingFails)
{
  {
    const RecordingFiles unopened(output("run.csv"), false);
  }
  EXPECT_EQ(list(), "") << "no gloves";
  {
    RecordingFiles files(output("run.csv"), false);
    files.begin(metadata());
    files.discard();
  }
  EXPECT_EQ(list(), "") << "no records";
  {
    RecordingFiles files(output("run.csv"), false);
    addRecord(files.begin(metadata()));
    fs::create_directory(folder_ / "run.json.part.new");
    EXPECT_NO_THROW(files.keepUp(0s)) << "records are worth more than metadata";
    fs::remove(folder_ / "run.json.part.new");
    files.metadata().ended = "the disk is full.";
    files.abandon();
  }
  EXPECT_EQ(list(), "run.csv.part run.json.part ") << "no space";
  const auto json = Json::parse(folder_.read("run.json.part"));
  EXPECT_EQ(json.at("ended"), "the disk is full.");
  EXPECT_EQ(json.at("complete"), false);
}

TEST_F(Files, AFolderWithOtherFilesIsNotReplaced)
{
  {
    RecordingFiles files(output("run", RecordFormat::npy), false);
    addRecord(files.begin(metadata()));
    files.addEvent({.event = "marker", .glove = {}, .detail = {}});
    files.complete();
  }
  {
    RecordingFiles files(output("run", RecordFormat::npy), true);
    addRecord(files.begin(metadata()));
    files.complete();
  }
  EXPECT_FALSE(fs::exists(folder_ / "run/events.csv")) << "of the first recording";
  folder_.write("run/mean.npy", "mine");
  EXPECT_THROW(RecordingFiles(output("run", RecordFormat::npy), true), Failure);
  EXPECT_EQ(folder_.read("run/mean.npy"), "mine");
}

TEST(Metadata, HasTheWallClockAndWhatIsUnknownIsNull)
{
  RecordingMetadata metadata;
  Json json = Json::parse(metadataText(metadata, 0, false));
  for (const char* key : {"started", "ended", "recordsPerSecond", "books", "capture"}) {
    EXPECT_TRUE(json.at(key).is_null()) << key;
  }
  metadata.started = std::chrono::sys_days(std::chrono::year(2024) / 2 / 29) + 86'399s + 42us;
  json = Json::parse(metadataText(metadata, 0, false));
  EXPECT_EQ(json.at("started").at("utc"), "2024-02-29T23:59:59.000042Z");
  EXPECT_EQ(json.at("started").at("time_ms"), 0);
}

}  // namespace

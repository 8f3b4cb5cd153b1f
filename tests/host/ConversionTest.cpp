#include "host/recording/Conversion.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "host/base/Failure.h"
#include "host/recording/MetadataReader.h"
#include "host/recording/RecordReader.h"
#include "host/recording/RecordingFiles.h"
#include "host/recording/RegionChoice.h"
#include "tests/support/Refusal.h"
#include "tests/support/TemporaryFolder.h"

namespace {

using namespace std::chrono_literals;
using Json = nlohmann::ordered_json;
namespace fs = std::filesystem;

// The left hand's regions are not contiguous.
Layout handsLayout()
{
  const Hand left{.regions = {{"thumb", {2, 0}}, {"palm", {1}}},
                  .positions = {{1, 2, 3}, {4, 5, 6}, {7, 8, 9}}};
  const Hand right{.regions = {{"palm", {1}}, {"thumb", {0, 2}}}, .positions = {{}, {1, 0, 0}, {0.5, 0, 0}}};
  return {.elements = 7,
          .groups = {{"left", "KVXGL00017", 0, 3, left},
                     {"right", "KVXGR00018", 3, 3, right},
                     {.label = "aux", .module = {}, .first = 6, .count = 1}}};
}

RecordingMetadata fullMetadata()
{
  RecordingMetadata metadata;
  metadata.program = "tessel 0.9";
  metadata.reconnections = {{"it \"left\"", 1.5, Record::unknown, 3, {"KVXGL00017"}}};
  metadata.started = std::chrono::sys_days(std::chrono::year(2024) / 2 / 29) + 86'399s + 42us;
  metadata.startedLocal = "2024-03-01T11:59:59.000042+12:00";
  metadata.zero = 123'456'789'012'345ns;
  metadata.time = {"glove clock, fitted to arrivals", 0.125, -49.8, 11};
  metadata.gloves = {{"left", "KVXGL00017", 17, {{"build", 212}}, "00:07:80:00:00:11", 5.25},
                     {"right", "KVXGR00018", 18, {}, "", {}}};
  metadata.settings = {{"TesselElementCount", 250}, {"TesselTimeDivisor", 10.0}};
  metadata.layout = handsLayout();
  metadata.hands = handLayoutJson(metadata.layout);
  metadata.recordsPerSecond = 40;
  metadata.records = 3;
  metadata.books = {{"left", {{"sent", 12}}}, {"balanced", true}};
  metadata.capture = "run.capture.pcapng";
  metadata.ended = "as requested.";
  return metadata;
}

class Conversions : public testing::Test {
 public:
  // Three records 25 ms apart from 10 s on, of which the second has hardly a known value.
  void writeRun(const std::string& name, RecordFormat format, double offsetMs = 0) const
  {
    RecordingFiles files({folder_ / name, format}, false);
    RecordWriter& writer = files.begin(fullMetadata());
    const GloveFrame unknown;
    for (unsigned row = 0; row < 3; ++row) {
      const double ms = 10'000 + 25 * row + offsetMs;
      const GloveFrame known{.number = row, .ticks = 250 * row, .sampledMs = ms - 1};
      const std::vector<GloveFrame> frames{known, row == 1 ? unknown : known};
      std::vector<std::uint16_t> elements;
      for (unsigned element = 0; element < 7; ++element) {
        elements.push_back(static_cast<std::uint16_t>(row == 2 ? 65535 : 10 * row + element));
      }
      writer.add({.timeMs = row == 1 ? Record::unknown : ms,
                  .arrivalMs = ms + 12.5,
                  .pluginMs = 60'000 + row,
                  .frames = frames,
                  .elements = elements});
    }
    files.addEvent({.event = "disconnected", .glove = {}, .detail = "before"});
    files.addEvent({.timeMs = 10'025, .event = "marker", .glove = "left", .detail = "a \"b\", \\n\x1B"});
    files.complete();
  }

  Conversion conversion(const std::string& from, const std::string& to,
                        std::variant<RecordFormat, TableKind> format) const
  {
    return {.from = folder_ / from, .to = folder_ / to, .format = format};
  }

  // Without what says that it was converted.
  Json metadataOf(const std::string& file) const
  {
    Json json = Json::parse(folder_.read(file));
    json.erase("converted");
    return json;
  }

  const TemporaryFolder folder_;
};

TEST_F(Conversions, ThereAndBackChangeNothing)
{
  writeRun("a.csv", RecordFormat::csv);
  const struct {
    const char *name, *from;
    RecordFormat format;
  } steps[] = {
      {"b.npy", "a.csv", RecordFormat::npy}, {"b.csv", "b.npy", RecordFormat::csv},
      {"c.xdf", "b.npy", RecordFormat::xdf}, {"c.npy", "c.xdf", RecordFormat::npy},
      {"d.xdf", "c.npy", RecordFormat::xdf}, {"d.csv", "d.xdf", RecordFormat::csv},
  };
  for (const auto& [name, from, format] : steps) {
    const ConversionResult result = convert(conversion(from, name, format));
    EXPECT_EQ(result.records, 3U);
    const bool isLosing = std::string(name) == "c.xdf";
    EXPECT_EQ(result.lost, isLosing ? "XDF has no events without a time; they get the time 0" : "") << name;
    EXPECT_TRUE(result.notes.empty()) << name << ": " << result.notes[0];
  }
  std::string events = folder_.read("a.events.csv");
  EXPECT_EQ(folder_.read("b.events.csv"), events);
  events.replace(events.find("\n,"), 2, "\n0.00,");
  EXPECT_EQ(folder_.read("d.events.csv"), events);
  for (const std::string name : {"b", "d"}) {
    EXPECT_EQ(folder_.read(name + ".csv"), folder_.read("a.csv"));
    EXPECT_EQ(metadataOf(name + ".json").dump(2), metadataOf("a.json").dump(2));
  }
  EXPECT_EQ(Json::parse(folder_.read("b.json")).at("converted").at("from"), "b.npy");

  writeRun("exact.npy", RecordFormat::npy, 1.0 / 3);
  EXPECT_NE(convert(conversion("exact.npy", "rounded.csv", RecordFormat::csv)).lost, "");
  convert(conversion("exact.npy", "exact.xdf", RecordFormat::xdf));
  convert(conversion("exact.xdf", "again.npy", RecordFormat::npy));
  for (const char* array : {"samples", "time", "arrival", "stamps", "left_frame", "right_ticks", "left_ms"}) {
    const std::string file = std::string("/") + array + ".npy";
    EXPECT_EQ(folder_.read("again.npy" + file), folder_.read("exact.npy" + file)) << array;
  }
}

TEST_F(Conversions, TablesHaveTheChosenPart)
{
  writeRun("run.csv", RecordFormat::csv);
  const std::string tidy = "time_ms,side,region,element,value\n";
  const std::string regions =
      "time_ms,left_mean,left_max,left_sum,left_thumb_mean,left_thumb_max,left_thumb_sum,";
  constexpr double any = std::numeric_limits<double>::infinity();
  const struct {
    const char* description;
    TableKind kind;
    double from, to;
    std::string region, table;
  } cases[] = {
      {"an estimated time", TableKind::tidy, 10.02, 10.05, "",
       tidy + "10025.00,left,thumb,1,10\n10025.00,left,palm,0,11\n10025.00,left,thumb,0,12\n"
              "10025.00,right,thumb,0,13\n10025.00,right,palm,0,14\n10025.00,right,thumb,1,15\n"
              "10025.00,aux,,0,16\n"},
      {"the time of the first record, not of the next", TableKind::tidy, 10, 10.025, "palm",
       tidy + "10000.00,left,palm,0,1\n10000.00,right,palm,0,4\n"},
      {"regions", TableKind::regions, 10.025, any, "thumb",
       regions + "right_mean,right_max,right_sum,right_thumb_mean,right_thumb_max,right_thumb_sum\n"
                 "10025.00,11.000,12,22,11.000,12,22,14.000,15,28,14.000,15,28\n"
                 "10050.00,65535.000,65535,131070,65535.000,65535,131070,65535.000,65535,131070,65535.000,"
                 "65535,131070\n"},
      {"the whole glove first", TableKind::regions, 10.02, 10.05, "",
       regions + "left_palm_mean,left_palm_max,left_palm_sum,right_mean,right_max,right_sum,right_palm_mean,"
                 "right_palm_max,right_palm_sum,right_thumb_mean,right_thumb_max,right_thumb_sum\n"
                 "10025.00,11.000,12,33,11.000,12,22,11.000,11,11,14.000,15,42,14.000,14,14,14.000,15,28\n"},
  };
  for (const auto& [description, kind, from, to, region, table] : cases) {
    Conversion wanted = conversion("run.csv", "table.csv", kind);
    wanted.fromSeconds = from;
    wanted.toSeconds = to;
    if (!region.empty()) wanted.regions = {region};
    wanted.replaces = true;
    EXPECT_NE(convert(wanted).lost, "");
    EXPECT_EQ(folder_.read("table.csv"), table) << description;
  }
}

TEST_F(Conversions, KeepTheElementsOfRegionsWithTheirNamesAndPositions)
{
  writeRun("run.csv", RecordFormat::csv);
  Conversion wanted = conversion("run.csv", "part.npy", RecordFormat::npy);
  wanted.regions = {"thumb"};
  wanted.toSeconds = 10.03;
  convert(wanted);
  const auto reader = openRecording(folder_ / "part.npy");
  const auto& groups = reader->metadata().layout.groups;
  ASSERT_EQ(groups.size(), 2U) << "auxiliary elements are in no region";
  EXPECT_EQ(groups[0].hand.regions, (std::vector<Region>{{"thumb", {1, 0}}}));
  EXPECT_EQ(groups[0].hand.positions, (std::vector<Position>{{1, 2, 3}, {7, 8, 9}}));
  EXPECT_EQ(groups[1].first, 2U);
  const auto elements = [](const Record& record) {
    return std::vector<std::uint16_t>(record.elements.begin(), record.elements.end());
  };
  EXPECT_EQ(elements(*reader->next()), (std::vector<std::uint16_t>{0, 2, 3, 5}));
  EXPECT_EQ(elements(*reader->next()), (std::vector<std::uint16_t>{10, 12, 13, 15}));
  EXPECT_FALSE(reader->next());
  EXPECT_EQ(reader->events().size(), 2U);
  EXPECT_EQ(metadataOf("part.npy/meta.json").at("books"), metadataOf("run.json").at("books"));
}

TEST_F(Conversions, ThatCannotBeDoneLeaveEverythingAsItWas)
{
  writeRun("run.csv", RecordFormat::csv);
  folder_.write("plain.csv", "time_ms,left_0\n5,1\n30,2\n");
  folder_.write("bad.csv", "time_ms,left_0\n5,1\n30,x\n");
  folder_.write("growing.csv.part", "time_ms,left_0\n5,1\n30,");
  folder_.write("path.csv", "time_ms,../left_0\n5,1\n");
  const struct {
    std::string from, to, reason;
    std::variant<RecordFormat, TableKind> format = RecordFormat::csv;
    std::vector<std::string> regions = {};
    double from_s = 0;
  } cases[] = {
      {"run.csv", "run.csv", "belongs to the recording"},
      {"run.csv", "run", "run.json belongs to the recording"},
      {"run.csv", "run.json", "belongs to the recording", TableKind::tidy},
      {"growing.csv.part", "growing.csv", "growing.csv.part belongs to the recording"},
      {"none.csv", "new", "does not exist"},
      {"bad.csv", "new", "line 3, column 2"},
      {"bad.csv", "new", "line 3, column 2", TableKind::tidy},
      {"path.csv", "new", "'../left'", RecordFormat::npy},
      {"plain.csv", "new", "no records between", RecordFormat::csv, {}, 1},
      {"plain.csv", "new", "which elements belong to which region", TableKind::regions},
      {"plain.csv", "new", "which elements belong to which region", RecordFormat::csv, {"thumb"}},
      {"run.csv", "new", "no region 'nose'", RecordFormat::csv, {"thumb", "nose"}},
  };
  const std::string before = folder_.list();
  const std::string run =
      folder_.read("run.csv") + folder_.read("run.json") + folder_.read("growing.csv.part");
  for (const auto& [from, to, reason, format, regions, fromSeconds] : cases) {
    Conversion wanted = conversion(from, to, format);
    wanted.regions = regions;
    wanted.fromSeconds = fromSeconds;
    wanted.replaces = true;
    const std::string said = refusal([&] { convert(wanted); });
    EXPECT_NE(said.find(reason), std::string::npos) << said << reason;
    EXPECT_EQ(folder_.list(), before) << reason;
    EXPECT_EQ(folder_.read("run.csv") + folder_.read("run.json") + folder_.read("growing.csv.part"), run);
  }
}

TEST_F(Conversions, ReadRegionsFromColumnsAndFromMetadataThatFits)
{
  const std::string start = "time_ms,arrival_ms,plugin_ms,left_frame,left_ticks,";
  const std::string metadata = R"({"format":"tessel-recording","version":3,"complete":true,"records":1,
      "groups":[{"label":"left","first":0,"count":2}],"layout":)";
  const std::string positioned = R"({"format":"tessel-layout","version":1,"left":{"regions":[
      {"name":"a","elements":[1,0],"positions":[[1,2],[3,4]]}]}}})";
  const struct {
    std::string columns, metadata;
    std::string found;  // regions and number of positions, or a part of the error
    std::size_t notes;
  } cases[] = {
      {"left_0,left_1", "", "0", 0},
      {"left_a_01,left_a_00", "", "a:1:0:0", 0},
      {"left_b-2_0,left_a_00", "", "b-2:0:a:1:0", 0},
      {"left_a_01,left_a_00", metadata + positioned, "a:1:0:2", 0},
      {"left_a_00,left_a_01", metadata + positioned, "a:0:1:0", 1},
      {"left_0,left_1", metadata + positioned, "0", 1},
      {"left_0,left_1", metadata + R"({"version":7}})", "0", 1},
      {"left_a_01,left_a_00", "[]", "a:1:0:0", 1},
      {"left_a_00,left_a_02", "", "lacks the column 'left_a_01'", 0},
      {"left_a_00,left_a_0", "", "has the column 'left_a_0' twice", 0},
      {"left_a_00,left_1", "", "'left_1' is in no region, unlike 'left_a_00'", 0},
      {"left_0,left_a_00", "", "'left_a_00' instead of 'left_1'", 0},
      {"left__00,left_a_00", "", "'left__00' instead of 'left_0'", 0},
  };
  for (const auto& [columns, json, found, notes] : cases) {
    const TemporaryFolder folder;
    folder.write("a.csv", start + columns + "\n1,2,3,4,5,6,7\n");
    if (!json.empty()) folder.write("a.json", json);
    try {
      const auto reader = openRecording(folder / "a.csv");
      const Hand& hand = reader->metadata().layout.groups.at(0).hand;
      std::string text;
      for (const Region& region : hand.regions) {
        text += region.name + ":";
        for (const std::size_t element : region.elements) {
          text += std::to_string(element) + ":";
        }
      }
      EXPECT_EQ(text + std::to_string(hand.positions.size()), found) << columns << json;
      EXPECT_TRUE(reader->next());
      EXPECT_EQ(reader->notes().size(), notes) << columns << json;
    } catch (const Failure& failure) {
      EXPECT_NE(std::string(failure.what()).find(found), std::string::npos) << failure.what() << found;
    }
  }
}

TEST(MetadataReader, ReadsWhatWasWrittenAndOnlyThat)
{
  const std::string text = metadataText(fullMetadata(), 7, true);
  const ReadMetadata read = readMetadata(text, "run.json");
  EXPECT_EQ(metadataText(read.metadata, read.events, read.isComplete), text);
  EXPECT_EQ(read.metadata.layout.groups[1].hand.regions, handsLayout().groups[1].hand.regions);
  const std::string empty = metadataText(RecordingMetadata(), 0, false);
  EXPECT_EQ(metadataText(readMetadata(empty, "run.json").metadata, 0, false), empty);

  const std::string deep = R"({"format":"tessel-recording","version":3,"books":{"a":)" +
                           std::string(100'000, '[') + std::string(100'000, ']') + "}}";
  EXPECT_THROW(readMetadata(deep, "run.json"), Failure);
}

}  // namespace

// Recordings through the C interface: they are the same in each format, and nothing wrong does harm.

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "host/recording/RecordingFiles.h"
#include "host/recording/RegionChoice.h"
#include "tests/library/RecordBlock.h"
#include "tests/support/GroupingLocale.h"
#include "tests/support/SampleRecording.h"
#include "tests/support/TemporaryFolder.h"

namespace {

using Json = nlohmann::ordered_json;

class Recordings : public testing::Test {
 public:
  Recordings()
  {
    // XDF has no events without a time.
    sample_.events.erase(sample_.events.begin());
    // All formats keep what is known of both hands.
    Layout& layout = sample_.metadata.layout;
    layout.groups[1].count = 3;
    layout.groups[1].hand = layout.groups[0].hand;
    layout.groups.pop_back();
    sample_.metadata.hands = handLayoutJson(layout);
    sample_.metadata.zero = sample_.zero;
    sample_.metadata.started = std::chrono::sys_days(std::chrono::year(2024) / 2 / 29);
    sample_.metadata.records = sample_.rows.size();
    sample_.metadata.ended = "the end";
    const std::pair<const char*, RecordFormat> files[] = {{"r\xC3\xBCn.csv", RecordFormat::csv},
                                                          {"r\xC3\xBCn.npy", RecordFormat::npy},
                                                          {"r\xC3\xBCn.xdf", RecordFormat::xdf}};
    for (const auto& [name, format] : files) {
      write(name, format);
      names_.emplace_back(name);
    }
  }

  void write(const std::string& name, RecordFormat format)
  {
    RecordingFiles files({pathOf(name), format}, false);
    RecordWriter& writer = files.begin(sample_.metadata);
    writer.begin(sample_.zero);
    for (const SampleRecording::Row& row : sample_.rows) {
      writer.add(row.record());
    }
    for (const RecordingEvent& event : sample_.events) {
      files.addEvent(event);
    }
    files.complete();
  }

  std::filesystem::path pathOf(const std::string& name) const
  {
    return folder_.path() / std::u8string(name.begin(), name.end());
  }

  tessel_recording open(const std::string& name) const
  {
    tessel_recording recording = 0;
    const std::u8string path = pathOf(name).u8string();
    EXPECT_EQ(tessel_open_recording(reinterpret_cast<const char*>(path.c_str()), &recording), TESSEL_OK)
        << tessel_error_text();
    return recording;
  }

  static Json describe(tessel_recording recording)
  {
    std::size_t needed = 0;
    EXPECT_EQ(tessel_describe_recording(recording, nullptr, 0, &needed), TESSEL_ERROR_TOO_SMALL);
    std::string text(needed + 1, '#');
    EXPECT_EQ(tessel_describe_recording(recording, text.data(), text.size(), &needed), TESSEL_OK);
    EXPECT_EQ(text.at(needed - 1), '\0');
    return Json::parse(text.substr(0, needed - 1));
  }

  // A program's locale changes nothing.
  const GroupingLocale locale_;
  SampleRecording sample_;
  std::vector<std::string> names_;
  const TemporaryFolder folder_;
};

TEST_F(Recordings, AreTheSameInEachFormat)
{
  std::vector<std::string> wanted;
  for (const SampleRecording::Row& row : sample_.rows) {
    RecordBlock block(1, 2, 6);
    std::copy_n(&row.timeMs, 1, block.timeMs.begin());
    block.arrivalMs[0] = row.arrivalMs;
    block.pluginMs[0] = row.pluginMs;
    for (std::size_t glove = 0; glove < 2; ++glove) {
      block.frame[glove] = row.frames[glove].number;
      block.ticks[glove] = row.frames[glove].ticks;
      block.sampledMs[glove] = row.frames[glove].sampledMs;
    }
    block.sample = row.elements;
    wanted.push_back(block.row(0));
  }

  Json csv;
  for (const std::string& name : names_) {
    SCOPED_TRACE(name);
    const tessel_recording recording = open(name);
    tessel_shape shape{.size = sizeof shape, .gloves = 0, .elements = 0};
    EXPECT_EQ(tessel_recording_shape(recording, &shape), TESSEL_OK);
    EXPECT_EQ(std::tuple(shape.gloves, shape.elements), std::tuple(2U, 6U));
    EXPECT_EQ(describe(recording)["events"], Json::array());

    RecordBlock block(8, 2, 6);
    std::vector<std::string> rows;
    tessel_status status = TESSEL_OK;
    while ((status = tessel_read_recording(recording, &block.view)) == TESSEL_OK) {
      EXPECT_EQ(block.view.first, rows.size());
      for (std::uint32_t row = 0; row < block.view.count; ++row) {
        rows.push_back(block.row(row));
      }
    }
    EXPECT_EQ(status, TESSEL_END);
    EXPECT_EQ(rows, wanted);
    EXPECT_EQ(tessel_read_recording(recording, &block.view), TESSEL_END);
    EXPECT_EQ(std::tuple(block.view.count, block.view.first), std::tuple(0U, wanted.size()));

    const Json description = describe(recording);
    if (csv.is_null()) csv = description;
    EXPECT_EQ(description.dump(1), csv.dump(1));
    EXPECT_EQ(tessel_close_recording(recording), TESSEL_OK);
  }
  EXPECT_EQ(csv["notes"], Json::array());
  EXPECT_EQ(csv["metadata"]["complete"], true);
  EXPECT_EQ(csv["metadata"]["records"], sample_.rows.size());
  EXPECT_EQ(csv["metadata"]["columns"][0], "left_thumb_01");
  EXPECT_FALSE(csv["metadata"]["layout"].is_null());
  EXPECT_EQ(csv["events"].dump(),
            R"([{"timeMs":731.25,"event":"marker","glove":"","detail":"object (small): lifted\\n\\xFF"},)"
            R"({"timeMs":8000.0,"event":"stall","glove":"","detail":""},)"
            R"({"timeMs":12500.5,"event":"reconnected","glove":"right","detail":")"
            "\xC3\xA4\"}]");
}

TEST_F(Recordings, WithoutMetadataHaveTheirColumns)
{
  folder_.write("bare.csv",
                "time_ms,arrival_ms,plugin_ms,left_frame,left_ticks,left_ms,left_thumb_00,left_thumb_01\n"
                ",,1,,,,2,3\n,,4,,,,5,");
  const tessel_recording recording = open("bare.csv");
  RecordBlock block(8, 1, 2);
  EXPECT_EQ(tessel_read_recording(recording, &block.view), TESSEL_OK);
  EXPECT_EQ(block.view.count, 1U);
  EXPECT_EQ(block.row(0), "? ? 1 [-1 -1 ? ] 2 3 ");
  EXPECT_EQ(tessel_read_recording(recording, &block.view), TESSEL_END);
  const Json description = describe(recording);
  EXPECT_EQ(description["metadata"]["records"], 1);
  EXPECT_EQ(description["metadata"]["complete"], false);
  EXPECT_EQ(description["metadata"]["program"], nullptr);
  EXPECT_EQ(description["metadata"]["layout"]["left"]["regions"][0]["name"], "thumb");
  EXPECT_EQ(description["notes"].size(), 1U) << description["notes"];
  tessel_close_recording(recording);
}

TEST_F(Recordings, WrongCallsAreErrors)
{
  const tessel_recording good = open(names_[0]);
  const tessel_recording closed = open(names_[0]);
  EXPECT_EQ(tessel_close_recording(closed), TESSEL_OK);
  RecordBlock block(8, 2, 6);
  const auto changed = [&](auto member, auto value) {
    tessel_block view = block.view;
    view.*member = value;
    return tessel_read_recording(good, &view);
  };
  tessel_shape shape{.size = sizeof shape - 1, .gloves = 0, .elements = 0};
  tessel_recording other = 7;
  std::size_t needed = 0;
  const auto missing = pathOf("missing.csv").u8string();
  const struct {
    const char* call;
    tessel_status is, wanted;
  } rows[] = {
      {"path", tessel_open_recording(nullptr, &other), TESSEL_ERROR_ARGUMENT},
      {"no path", tessel_open_recording("", &other), TESSEL_ERROR_RECORDING},
      {"missing", tessel_open_recording(reinterpret_cast<const char*>(missing.c_str()), &other),
       TESSEL_ERROR_RECORDING},
      {"result", tessel_open_recording("run.csv", nullptr), TESSEL_ERROR_ARGUMENT},
      {"block", tessel_read_recording(good, nullptr), TESSEL_ERROR_ARGUMENT},
      {"block's size", changed(&tessel_block::size, sizeof(tessel_block) - 1), TESSEL_ERROR_ARGUMENT},
      {"capacity", changed(&tessel_block::capacity, 0U), TESSEL_ERROR_ARGUMENT},
      {"gloves", changed(&tessel_block::gloves, 1U), TESSEL_ERROR_TOO_SMALL},
      {"elements", changed(&tessel_block::elements, 5U), TESSEL_ERROR_TOO_SMALL},
      {"shape", tessel_recording_shape(good, nullptr), TESSEL_ERROR_ARGUMENT},
      {"shape's size", tessel_recording_shape(good, &shape), TESSEL_ERROR_ARGUMENT},
      {"text", tessel_describe_recording(good, nullptr, 8, &needed), TESSEL_ERROR_ARGUMENT},
      {"closed: close", tessel_close_recording(closed), TESSEL_ERROR_HANDLE},
      {"closed: read", tessel_read_recording(closed, &block.view), TESSEL_ERROR_HANDLE},
      {"closed: shape", tessel_recording_shape(closed, &shape), TESSEL_ERROR_HANDLE},
      {"closed: describe", tessel_describe_recording(closed, nullptr, 0, &needed), TESSEL_ERROR_HANDLE},
      {"0", tessel_close_recording(0), TESSEL_ERROR_HANDLE},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(row.is, row.wanted) << row.call;
  }
  EXPECT_EQ(other, 0U);
  // Nothing was taken by the failed calls.
  EXPECT_EQ(tessel_read_recording(good, &block.view), TESSEL_OK);
  EXPECT_EQ(block.view.first, 0U);
  tessel_close_recording(good);
}

TEST_F(Recordings, DamageIsReportedAfterWhatIsBeforeIt)
{
  folder_.write("damaged.csv", "time_ms,arrival_ms,plugin_ms,left_0\n1,1,1,1\n2,2,2,2\n3,3,3,x\n4,4,4,4\n");
  const tessel_recording recording = open("damaged.csv");
  RecordBlock block(8, 1, 1);
  EXPECT_EQ(tessel_read_recording(recording, &block.view), TESSEL_OK);
  EXPECT_EQ(block.view.count, 2U);
  for (int call = 0; call < 2; ++call) {
    EXPECT_EQ(tessel_read_recording(recording, &block.view), TESSEL_ERROR_RECORDING);
    EXPECT_EQ(block.view.count, 0U);
    EXPECT_NE(std::string(tessel_error_text()).find("line 4"), std::string::npos) << tessel_error_text();
  }
  tessel_close_recording(recording);
}

TEST(Versions, AreThoseOfTheProject)
{
  EXPECT_STREQ(tessel_version(), TESSEL_VERSION);
  EXPECT_EQ(tessel_interface(), TESSEL_INTERFACE);
}

TEST(Ports, AreJson)
{
  std::size_t needed = 0;
  EXPECT_EQ(tessel_ports(nullptr, 0, &needed), TESSEL_ERROR_TOO_SMALL);
  // Ports may come and go.
  std::string text(needed + 10'000, '\0');
  ASSERT_EQ(tessel_ports(text.data(), text.size(), &needed), TESSEL_OK);
  EXPECT_TRUE(Json::parse(text.c_str()).is_array());
}

}  // namespace

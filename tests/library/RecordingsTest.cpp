// Recordings through the C interface: nothing wrong does harm. The tests of the Python module read what
// gloves recorded in each format through it.

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "tests/library/RecordBlock.h"
#include "tests/support/GroupingLocale.h"
#include "tests/support/TemporaryFolder.h"

namespace {

using Json = nlohmann::ordered_json;

class Recordings : public testing::Test {
 public:
  tessel_recording open(const std::string& name) const
  {
    tessel_recording recording = 0;
    EXPECT_EQ(tessel_open_recording((folder_ / name).string().c_str(), &recording), TESSEL_OK)
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
  const TemporaryFolder folder_;
};

TEST_F(Recordings, WithoutMetadataHaveTheirColumnsAndEvents)
{
  folder_.write("bare.csv",
                "time_ms,arrival_ms,plugin_ms,left_frame,left_ticks,left_ms,left_thumb_00,left_thumb_01\n"
                ",,1,,,,2,3\n1025.50,,4,5000,1250000,1025.50,6000,7\n,,4,,,,5,");
  folder_.write("bare.events.csv",
                "time_ms,event,glove,detail\n,disconnected,,before\n1030.25,marker,,\"a\"\"\"\n");
  const tessel_recording recording = open("bare.csv");
  RecordBlock block(8, 1, 2);
  EXPECT_EQ(describe(recording)["events"], Json::array());
  EXPECT_EQ(tessel_read_recording(recording, &block.view), TESSEL_OK);
  EXPECT_EQ(block.view.count, 2U);
  EXPECT_EQ(block.row(0), "? ? 1 [-1 -1 ? ] 2 3 ");
  EXPECT_EQ(block.row(1), "1025.500000 ? 4 [5000 1250000 1025.500000 ] 6000 7 ");
  EXPECT_EQ(tessel_read_recording(recording, &block.view), TESSEL_END);
  EXPECT_EQ(std::tuple(block.view.count, block.view.first), std::tuple(0U, 2U));
  const Json description = describe(recording);
  EXPECT_EQ(description["metadata"]["records"], 2);
  EXPECT_EQ(description["metadata"]["complete"], false);
  EXPECT_EQ(description["metadata"]["program"], nullptr);
  EXPECT_EQ(description["metadata"]["columns"][0], "left_thumb_00");
  EXPECT_EQ(description["metadata"]["layout"]["left"]["regions"][0]["name"], "thumb");
  EXPECT_EQ(description["notes"].size(), 1U) << description["notes"];
  EXPECT_EQ(description["events"].dump(),
            R"([{"timeMs":null,"event":"disconnected","glove":"","detail":"before"},)"
            R"({"timeMs":1030.25,"event":"marker","glove":"","detail":"a\""}])");
  tessel_close_recording(recording);
}

// Handles that are none: interface/Program.c.
TEST_F(Recordings, WrongCallsAreErrors)
{
  folder_.write(
      "run.csv",
      "time_ms,arrival_ms,plugin_ms,left_frame,left_ticks,right_frame,right_ticks,left_0,right_0,right_1\n"
      "1,1,1,1,1,1,1,2,3,4\n");
  const tessel_recording good = open("run.csv");
  RecordBlock block(8, 2, 3);
  const auto changed = [&](auto member, auto value) {
    tessel_block view = block.view;
    view.*member = value;
    return tessel_read_recording(good, &view);
  };
  tessel_shape shape{.size = sizeof shape, .gloves = 0, .elements = 0};
  EXPECT_EQ(tessel_recording_shape(good, &shape), TESSEL_OK);
  EXPECT_EQ(std::tuple(shape.gloves, shape.elements), std::tuple(2U, 3U));
  shape.size -= 1;
  tessel_recording other = 7;
  std::size_t needed = 0;
  const struct {
    const char* call;
    tessel_status is, wanted;
  } rows[] = {
      {"path", tessel_open_recording(nullptr, &other), TESSEL_ERROR_ARGUMENT},
      {"no path", tessel_open_recording("", &other), TESSEL_ERROR_RECORDING},
      {"missing", tessel_open_recording((folder_ / "missing").string().c_str(), &other),
       TESSEL_ERROR_RECORDING},
      {"result", tessel_open_recording("run.csv", nullptr), TESSEL_ERROR_ARGUMENT},
      {"block", tessel_read_recording(good, nullptr), TESSEL_ERROR_ARGUMENT},
      {"block's size", changed(&tessel_block::size, sizeof(tessel_block) - 1), TESSEL_ERROR_ARGUMENT},
      {"capacity", changed(&tessel_block::capacity, 0U), TESSEL_ERROR_ARGUMENT},
      {"gloves", changed(&tessel_block::gloves, 1U), TESSEL_ERROR_TOO_SMALL},
      {"elements", changed(&tessel_block::elements, 2U), TESSEL_ERROR_TOO_SMALL},
      {"shape", tessel_recording_shape(good, nullptr), TESSEL_ERROR_ARGUMENT},
      {"shape's size", tessel_recording_shape(good, &shape), TESSEL_ERROR_ARGUMENT},
      {"text", tessel_describe_recording(good, nullptr, 8, &needed), TESSEL_ERROR_ARGUMENT},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(row.is, row.wanted) << row.call;
  }
  EXPECT_EQ(other, 0U);
  // Nothing was taken by the failed calls.
  EXPECT_EQ(tessel_read_recording(good, &block.view), TESSEL_OK);
  EXPECT_EQ(block.view.first, 0U);
  EXPECT_EQ(tessel_close_recording(good), TESSEL_OK);
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

}  // namespace

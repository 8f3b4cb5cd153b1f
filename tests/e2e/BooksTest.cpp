// The books of recordings as users get them: from the capture of a real plug-in, over a real pipe.

#include <gtest/gtest.h>

#include <cstdlib>
#include <nlohmann/json.hpp>

#include "tests/e2e/Rows.h"
#include "tests/e2e/Tessel.h"

namespace {

using Json = nlohmann::json;

class RecordedBooks : public testing::Test {
 public:
  RecordedBooks()
  {
    ::unsetenv("TESSEL_SERIAL_PORTS");
    ::unsetenv("TESSEL_CAPTURE");
  }
  ~RecordedBooks() override { ::unsetenv("TESSEL_CAPTURE"); }

  TemporaryFolder folder_;
};

TEST_F(RecordedBooks, EqualTheRows)
{
  folder_.write("faults", "1.5 loss left 0.5\n2 loss right 0.5\n2.5 double right 0.3\n");
  const auto result = runTessel(
      folder_,
      words("record --sim --scenario faults --seconds 5 --output run.csv --capture run.pcapng --json"));
  ASSERT_EQ(result.exitCode, 0) << result.messages;
  const Json summary = Json::parse(result.output);
  const Json metadata = Json::parse(folder_.read("run.json"));
  EXPECT_EQ(summary.at("books"), metadata.at("books"));
  EXPECT_EQ(metadata.at("capture"), "run.pcapng");
  EXPECT_EQ(folder_.read("run.pcapng").substr(0, 4), "\n\r\r\n");
  EXPECT_EQ(summary.at("books").at("balanced"), true);

  const std::size_t rows = recordedRows(folder_, "run.csv").size();
  for (const char* const label : {"left", "right"}) {
    const Json& glove = summary.at("books").at(label);
    int lost = 0;
    for (const auto& [cause, count] : glove.at("lost").items()) {
      lost += count.get<int>();
    }
    EXPECT_EQ(glove.at("recorded"), rows);
    EXPECT_EQ(glove.at("sent").get<int>() + glove.at("repeated").get<int>(),
              glove.at("recorded").get<int>() + lost);
    EXPECT_GT(lost, 3) << label << ": at these chances some 10 frames are lost";
  }
}

TEST_F(RecordedBooks, ThatDoNotBalanceKeepDataAndCapture)
{
  // The rate changes while nothing is heard, and more frames are sampled than the glove can queue.
  folder_.write("faults", "2 leave left\n3 rate left 90\n7 back left\n");
  const auto result =
      runTessel(folder_, words("record --sim --scenario faults --seconds 8 --output run.csv --json"));
  EXPECT_EQ(result.exitCode, 17);
  EXPECT_NE(
      result.messages.find(
          "tessel: the books do not balance: how many frames the left glove sent stays undecided in 1 place"),
      std::string::npos)
      << result.messages;
  EXPECT_NE(result.messages.find("Please send the recording and its capture"), std::string::npos);
  EXPECT_EQ(Json::parse(result.output).at("books").at("balanced"), false);
  EXPECT_EQ(Json::parse(folder_.read("run.json")).at("ended"), "as requested.");
  EXPECT_GT(recordedRows(folder_, "run.csv").size(), 40U);
  EXPECT_EQ(folder_.read("run.capture.pcapng").substr(0, 4), "\n\r\r\n");
}

TEST_F(RecordedBooks, AreAnEstimateWithoutACapture)
{
  const auto result = runTessel(
      folder_, {"record", "--sim", "--frames", "40", "--output", "run.csv", "--no-capture", "--json"});
  ASSERT_EQ(result.exitCode, 0) << result.messages;
  const Json summary = Json::parse(result.output);
  EXPECT_TRUE(summary.at("books").is_null());
  EXPECT_TRUE(summary.at("estimatedMissingFrames").is_number());
  EXPECT_EQ(Json::parse(folder_.read("run.json")).at("time").at("method"), "plug-in timestamps");
}

TEST_F(RecordedBooks, TheUsersVariableNamesTheFileOfTheCapture)
{
  ::setenv("TESSEL_CAPTURE", "own.pcapng", 1);
  const auto result = runTessel(folder_, words("record --sim --frames 5 --output run.csv"));
  ASSERT_EQ(result.exitCode, 0) << result.messages;
  EXPECT_NE(result.messages.find("The link was captured to own.pcapng\n"), std::string::npos)
      << result.messages;
  EXPECT_EQ(folder_.read("own.pcapng").substr(0, 4), "\n\r\r\n");
  // A capture that was asked for, but can't be written, is known before the gloves are opened.
  ::setenv("TESSEL_CAPTURE", "missing/own.pcapng", 1);
  const auto refused = runTessel(folder_, words("record --sim --frames 5 --output two.csv"));
  EXPECT_EQ(refused.exitCode, 5);
  EXPECT_NE(refused.messages.find("missing/own.pcapng"), std::string::npos) << refused.messages;
  EXPECT_FALSE(std::filesystem::exists(folder_ / "two.csv.part"));
  ::setenv("TESSEL_CAPTURE", "./two.json", 1);
  EXPECT_EQ(runTessel(folder_, words("record --sim --frames 5 --output two.csv")).exitCode, 2)
      << "it would overwrite the metadata";
}

}  // namespace

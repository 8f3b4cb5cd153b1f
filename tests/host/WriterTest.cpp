#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "host/base/Version.h"
#include "host/recording/RecordWriter.h"
#include "tests/support/TemporaryFolder.h"

namespace {

TEST(RecordWriter, WritesTimestampsAndElementsUnchanged)
{
  const Layout layout{.elements = 3, .groups = {{"left", "KVXGL00017", 0, 2}, {"aux", "", 2, 1}}};
  const TemporaryFolder folder;
  for (const auto format : {RecordFormat::csv, RecordFormat::npy}) {
    const auto writer =
        makeRecordWriter(format, format == RecordFormat::csv ? folder / "a.csv" : folder.path(), layout);
    writer->add(4'294'967'295U, std::vector<std::uint16_t>{0, 65535, 7});
    writer->add(1, std::vector<std::uint16_t>{258, 2, 3});
    writer->finish({.words = "as requested.", .backwardSteps = 1});
  }
  EXPECT_EQ(folder.read("a.csv"), "time_ms,left_0,left_1,aux_0\n4294967295,0,65535,7\n1,258,2,3\n");
  const auto meta = nlohmann::json::parse(folder.read("meta.json"));
  EXPECT_EQ(meta.at("program"), programVersion);
  EXPECT_EQ(meta.at("frames"), 2);
  EXPECT_EQ(meta.at("backwardSteps"), 1);
  EXPECT_EQ(meta.at("ended"), "as requested.");
  const std::string timestamps = folder.read("stamps.npy");
  EXPECT_EQ(timestamps.substr(128), std::string("\xFF\xFF\xFF\xFF\x01\0\0\0", 8));
  EXPECT_EQ(folder.read("samples.npy").substr(128),
            std::string("\0\0\xFF\xFF\x07\0\x02\x01\x02\0\x03\0", 12));
}

TEST(RecordWriter, TheHeaderOfAnArrayCountsEachRowAtOnce)
{
  const Layout layout{.elements = 2, .groups = {{"left", "KVXGL00017", 0, 2}}};
  const TemporaryFolder folder;
  const auto writer = makeRecordWriter(RecordFormat::npy, folder.path(), layout);
  for (int rows = 0; rows < 12; ++rows) {
    const std::string count = std::to_string(rows);
    const std::string samples = folder.read("samples.npy");
    const std::string timestamps = folder.read("stamps.npy");
    EXPECT_NE(samples.find("'shape': (" + count + ", 2)"), std::string::npos) << samples.substr(0, 128);
    EXPECT_NE(timestamps.find("'shape': (" + count + ",)"), std::string::npos) << timestamps.substr(0, 128);
    EXPECT_EQ(samples.size(), 128U + 4U * static_cast<unsigned>(rows));
    writer->add(60'000, std::vector<std::uint16_t>{0, 65535});
  }
}

}  // namespace

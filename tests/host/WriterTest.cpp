#include <gtest/gtest.h>

#include "host/recording/RecordWriter.h"
#include "tests/support/TemporaryFolder.h"

namespace {

using namespace std::string_literals;

TEST(RecordWriter, WritesEveryValueAndLeavesOutUnknownOnes)
{
  RecordingMetadata metadata;
  metadata.layout = {.elements = 3, .groups = {{"right", "KVXGR00018", 0, 2}, {"aux", "", 2, 1}}};
  const TemporaryFolder folder;
  for (const auto format : {RecordFormat::csv, RecordFormat::npy}) {
    const auto writer =
        makeRecordWriter(format, format == RecordFormat::csv ? folder / "a.csv" : folder.path(), metadata);
    const GloveFrame unknown;
    const GloveFrame frame{.number = 258, .ticks = 65'536, .sampledMs = 24.5};
    writer->add({.pluginMs = 4'294'967'295U,
                 .frames = {&unknown, 1},
                 .elements = std::vector<std::uint16_t>{0, 65535, 7}});
    writer->add({.timeMs = 24.996,
                 .arrivalMs = 1'000'000.5,
                 .pluginMs = 1,
                 .frames = {&frame, 1},
                 .elements = std::vector<std::uint16_t>{258, 2, 3}});
    writer->add({.timeMs = -0.05,
                 .arrivalMs = 1e300,
                 .pluginMs = 2,
                 .frames = {&frame, 1},
                 .elements = std::vector<std::uint16_t>{0, 0, 0}});
    writer->close(true);
  }
  EXPECT_EQ(folder.read("a.csv"),
            "time_ms,arrival_ms,plugin_ms,right_frame,right_ticks,right_ms,right_0,right_1,aux_0\n"
            ",,4294967295,,,,0,65535,7\n"
            "25.00,1000000.50,1,258,65536,24.50,258,2,3\n"
            "-0.05,,2,258,65536,24.50,0,0,0\n");
  const auto numbers = [&](const char* name) { return folder.read(name).substr(128); };
  EXPECT_EQ(numbers("samples.npy"), "\0\0\xFF\xFF\x07\0\x02\x01\x02\0\x03\0\0\0\0\0\0\0"s);
  EXPECT_EQ(numbers("stamps.npy"), "\xFF\xFF\xFF\xFF\x01\0\0\0\x02\0\0\0"s);
  EXPECT_EQ(numbers("right_frame.npy").substr(0, 16),
            "\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF\x02\x01\0\0\0\0\0\0"s);
  EXPECT_EQ(numbers("right_ticks.npy").substr(8, 8), "\0\0\x01\0\0\0\0\0"s);
  EXPECT_EQ(numbers("right_ms.npy").substr(8, 8), "\0\0\0\0\0\x80\x38\x40"s);
  EXPECT_EQ(numbers("time.npy").substr(6, 2), "\xF8\x7F"s) << "a quiet NaN";
  EXPECT_EQ(numbers("arrival.npy").substr(8, 8), "\0\0\0\0\x81\x84\x2E\x41"s);
}

}  // namespace

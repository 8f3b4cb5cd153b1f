#include <gtest/gtest.h>

#include "host/recording/Recording.h"
#include "tests/support/Refusal.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/Timestamps.h"

namespace {

using namespace std::string_literals;

const std::string metaText = R"({"format":"tessel-recording","version":1,"frames":2,"groups":[
    {"label":"left","first":0,"count":1},{"label":"right","first":1,"count":1}]})";

std::string npy(const std::string& type, const std::string& shape, const std::string& numbers)
{
  const std::string header = "{'descr': '" + type + "', 'fortran_order': False, 'shape': " + shape + ", }\n";
  return "\x93NUMPY\x01\x00"s + static_cast<char>(header.size()) + '\0' + header + numbers;
}

TEST(Recordings, HaveTheirTimesAndEstimateThoseThatAreUnknown)
{
  // Of the second row the arrival is known, of the third only the plug-in's timestamp. The fifth steps back.
  const std::vector<double> seconds{0, 0.02, 0.045, 0.1, 0.1};
  const TemporaryFolder folder;
  folder.write("a.csv",
               "time_ms,arrival_ms,plugin_ms,left_frame,left_ticks,right_frame,right_ticks,left_0,right_0\n"
               "1000.50,3.00,4294967290,7,9000000000,,,1,2\n"
               ",23.00,10,,,8,12,3,4\n"
               ",,35,8,9000000250,9,12,5,6\n"
               "1100.5,90,40,9,1,9,1,7,8\n"
               "1000,91,41,9,1,9,1,9,10\n");
  std::filesystem::create_directory(folder / "a");
  const auto bytes = []<class Number>(const std::vector<Number>& numbers) {
    return std::string(reinterpret_cast<const char*>(numbers.data()), numbers.size() * sizeof(Number));
  };
  constexpr double unknown = Record::unknown;
  folder.write("a/meta.json", R"({"format":"tessel-recording","version":2,"complete":true,"records":5,
      "started":{"local":"2024-02-29"},"groups":[{"label":"left","first":0,"count":1},
      {"label":"right","first":1,"count":1}]})");
  folder.write("a/samples.npy",
               npy("<u2", "(5, 2)", bytes(std::vector<std::uint16_t>{1, 2, 3, 4, 5, 6, 7, 8, 9, 10})));
  folder.write("a/stamps.npy",
               npy("<u4", "(5,)", bytes(std::vector<std::uint32_t>{4'294'967'290, 10, 35, 40, 41})));
  folder.write("a/time.npy",
               npy("<f8", "(5,)", bytes(std::vector{1000.5, unknown, unknown, 1100.5, 1000.0})));
  folder.write("a/arrival.npy", npy("<f8", "(5,)", bytes(std::vector{3.0, 23.0, unknown, 90.0, 91.0})));
  for (const char* name : {"a.csv", "a"}) {
    const Recording recording = readRecording(folder / name);
    ASSERT_EQ(recording.seconds.size(), seconds.size());
    for (std::size_t row = 0; row < seconds.size(); ++row) {
      EXPECT_NEAR(recording.seconds[row], seconds[row], 1e-9) << name << row;
    }
    EXPECT_EQ(recording.samples, (std::vector<std::uint16_t>{1, 2, 3, 4, 5, 6, 7, 8, 9, 10})) << name;
    EXPECT_EQ(recording.groups.size(), 2U);
    EXPECT_EQ(recording.notes.size(), 1U) << "a step back";
    EXPECT_EQ(recording.started, *name == 'a' && name[1] == '\0' ? "2024-02-29" : "");
  }
}

TEST(Recordings, ThatAreDamagedAreRefusedWithTheReason)
{
  const std::string heading = "time_ms,left_0,right_0\n";
  const std::string timed = "time_ms,arrival_ms,plugin_ms,left_frame,left_ticks,left_0\n";
  const std::string samples = npy("<u2", "(2, 2)", "12345678");
  const std::string timestamps = npy("<u4", "(2,)", "12345678");
  const struct {
    std::string text, meta, samples, timestamps, reason;  // text empty: a folder of arrays
  } damaged[] = {
      {"\n", "", "", "", "line 1 begins with ''"},
      {"\x89PNG\n\x1A", "", "", "", "line 1 begins with '\\x89PNG'"},
      {"time_ms\n1\n", "", "", "", "no elements"},
      {"time_ms,left_1\n", "", "", "", "'left_1' instead of 'left_0'"},
      {"time_ms,a_0,b_0,a_0\n", "", "", "", "'a' twice"},
      {"time_ms" + std::string(600'000, ','), "", "", "", "no newline in the first bytes of line 1"},
      {heading + "1,2", "", "", "", "no records"},
      {heading + "1,2\n", "", "", "", "line 2: 2 columns instead of 3"},
      {heading + "1,2,3\n2,2,3,4\n", "", "", "", "line 3: more than 3 columns"},
      {heading + "4294967296,2,3\n", "", "", "", "line 2, column 1: '4294967296' is not a number"},
      {heading + "1,2,65536\n", "", "", "", "line 2, column 3: '65536' is not a number from 0 to 65535"},
      {"time_ms,arrival_ms,left_0\n", "", "", "", "'left_0' instead of 'plugin_ms'"},
      {"time_ms,arrival_ms,plugin_ms,left_frame,left_0\n", "", "", "", "'left_0' instead of 'left_ticks'"},
      {"time_ms,plugin_ms,left_0\n", "", "", "", "'plugin_ms' instead of 'plugin_0'"},
      {timed + "1,2,3,4,5\n", "", "", "", "line 2: 5 columns instead of 6"},
      {timed + "inf,2,3,4,5,6\n", "", "", "", "line 2, column 1: 'inf' is not a time in ms"},
      {timed + "1,2e9,3,4,5,6\n", "", "", "", "line 2, column 2: '2e9' is not a time in ms"},
      {timed + "1,2,,4,5,6\n", "", "", "", "line 2, column 3: '' is not a number"},
      {timed + "1,2,3,-4,5,6\n", "", "", "", "line 2, column 4: '-4' is not a number"},
      {"", "", samples, timestamps, "does not describe a recording"},
      {"", R"({"format":"tessel-recording","version":4})", samples, timestamps, "another version"},
      {"", R"({"format":"tessel-recording","version":2})", samples, timestamps, "time.npy does not exist"},
      {"", metaText, "text", timestamps, "not a NumPy array"},
      {"", metaText, samples, npy("<f8", "(2,)", "12345678"), "other numbers than '<u4'"},
      {"", metaText, npy("<u2", "(99999999999999999999, 2)", ""), timestamps, "unusable shape"},
      {"", metaText, npy("<u2", "(9223372036854775808, 2)", "12345678"), timestamps,
       "9223372036854775808 records"},
      {"", metaText, npy("<u2", "(2, 3)", "123456789012"), timestamps,
       "3 elements in a record, meta.json has 2"},
      {"", metaText, npy("<u2", "(2, 2)", "1234567"), timestamps, "1 in the file"},
  };
  for (const auto& [text, meta, sampleFile, timestampFile, reason] : damaged) {
    const TemporaryFolder folder;
    folder.write("a.csv", text);
    folder.write("meta.json", meta);
    folder.write("samples.npy", sampleFile);
    folder.write("stamps.npy", timestampFile);
    const auto failure = failureOf(
        [&, isFolder = text.empty()] { readRecording(isFolder ? folder.path() : folder / "a.csv"); });
    ASSERT_TRUE(failure) << reason;
    EXPECT_EQ(failure->code(), ExitCode::recording);
    EXPECT_NE(std::string(failure->what()).find(reason), std::string::npos)
        << failure->what() << " / " << reason;
  }
}

TEST(Recordings, HaveTheirEventsAndSkipDamagedOnes)
{
  const std::string records =
      "time_ms,arrival_ms,plugin_ms,left_frame,left_ticks,left_0\n500,500,1,1,1,1\n525,525,2,2,2,2\n";
  const std::string heading = "time_ms,event,glove,detail\n";
  std::string tooMany = heading;
  std::string allOfThem;
  for (int event = 0; event < 10'001; ++event) {
    tooMany += "500,marker,,m\n";
    if (event < 10'000) allOfThem += "0 marker  m;";
  }
  const struct {
    const char* name;
    std::string text, events, note;
  } cases[] = {
      {"as they are written", heading + "1500.00,marker,,\"a \"\"b\"\", \\n\"\n-500.00,stall,left,x\n",
       "-1 stall left x;1 marker  a \"b\", \\n;", ""},
      {"unfinished", heading + "500,marker,,x\n600,mar", "0 marker  x;", ""},
      {"none", heading, "", ""},
      {"of another program", "onset,label\n1,2\n", "", "is not a file of events"},
      {"left empty", "", "", ""},
      {"before the first record", heading + ",disconnected,left,x\n500,reconnected,,\n", "0 reconnected  ;",
       ""},
      {"cells that are no event",
       heading + "inf,marker,,\n \n1e9,marker,,\n1,,,\n1,marker,,\"x\n1,marker,,\"x\"y\n1,marker,,x,y\n", "",
       "7 line(s) of"},
      {"an endless line", heading + "500,marker,,x\n" + std::string(100'000, 'x'), "0 marker  x;",
       "its events are incomplete"},
      {"too many", tooMany, allOfThem, "only its first 10000 events"},
  };
  for (const auto& [name, text, expected, note] : cases) {
    const TemporaryFolder folder;
    for (const char* file : {"a.csv", "a.csv.part"}) {
      folder.write(file, records);
      folder.write(file == "a.csv"s ? "a.events.csv" : "a.events.csv.part", text);
      const Recording recording = readRecording(folder / file);
      std::string events;
      for (const Recording::Event& event : recording.events) {
        events += std::to_string(static_cast<int>(event.seconds)) + ' ' + event.name + ' ' + event.glove +
                  ' ' + event.detail + ';';
      }
      EXPECT_EQ(events, expected) << name;
      ASSERT_EQ(recording.notes.size(), note.empty() ? 0 : 1) << name;
      EXPECT_TRUE(note.empty() || recording.notes[0].find(note) != std::string::npos) << recording.notes[0];
    }
  }
}

}  // namespace

// `tessel convert` as its users run it.

#include <gtest/gtest.h>

#include <csignal>

#include "tests/e2e/SparseRecording.h"
#include "tests/e2e/Tessel.h"

namespace {

TEST(Convert, ErrorsSayWhatToDoAndLeaveTheFilesAlone)
{
  const TemporaryFolder folder;
  folder.write("run.csv", "time_ms,left_0,left_1\n5,1,2\n30,3,4\n55,");
  folder.write("there.csv", "mine");
  folder.write("layout.json", R"({"format":"tessel-layout","version":1,"left":{"regions":[
      {"name":"thumb","elements":[1]},{"name":"palm","elements":[0]}]}})");
  const std::string tidy = "time_ms,side,region,element,value\n";
  const struct {
    std::string arguments;
    int exitCode;
    std::string message, output = {};
  } cases[] = {
      {"run.dat", 2, "run.dat does not say which format to write."},
      {"new.csv --format npy", 2, "contradict each other"},
      {"- --format npy", 2, "Standard output takes csv, tidy and regions only."},
      {"there.csv", 5, "there.csv already exists"},
      {"./run.csv --force", 5, "belongs to the recording"},
      {"- --format regions", 2, "Add --layout FILE"},
      {"- --format regions --layout nowhere", 2, "no layout nowhere"},
      {"- --from 3 --to 3", 2, "--from 3 is not before --to 3"},
      {"- --format tidy --from 3", 2, "times go from 0.000 to 0.025 seconds", tidy},
      {"- --regions nose --layout layout.json", 2, "regions are thumb, palm"},
      {"- --regions palm,thumb --layout layout.json --from 0.01", 0, "line 4 is incomplete",
       "time_ms,arrival_ms,plugin_ms,left_frame,left_ticks,left_ms,left_palm_00,left_thumb_00\n,,30,,,,3,"
       "4\n"},
      {"- --format tidy --to 0.01", 0, "not all is kept", tidy + "0.00,left,,0,1\n0.00,left,,1,2\n"},
  };
  for (const auto& [arguments, exitCode, message, output] : cases) {
    const auto result = runTessel(folder, words("convert run.csv " + arguments));
    EXPECT_EQ(result.exitCode, exitCode) << message << result.messages;
    EXPECT_NE(result.messages.find(message), std::string::npos) << result.messages;
    EXPECT_EQ(result.output, output) << message;
  }
  EXPECT_EQ(folder.read("there.csv"), "mine");
  EXPECT_EQ(folder.list().find("new"), std::string::npos) << folder.list();
  EXPECT_EQ(folder.list().find(".part"), std::string::npos) << folder.list();
}

TEST(Convert, CtrlCLeavesNothing)
{
  const TemporaryFolder folder;
  writeSparseRecording(folder);
  for (const std::string name : {"out.csv", "out.npy", "out"}) {
    Tessel tessel(folder, {"convert", ".", name, "--format", name == "out" ? "tidy" : name.substr(4)});
    tessel.waitUntil([&] { return std::filesystem::exists(folder / (name + ".part")); });
    tessel.signal(SIGINT);
    const auto result = tessel.result();
    EXPECT_EQ(result.exitCode, 130) << result.messages;
    EXPECT_NE(result.messages.find("there is no output"), std::string::npos) << result.messages;
    EXPECT_EQ(folder.list().find("out."), std::string::npos) << folder.list();
  }
}

}  // namespace

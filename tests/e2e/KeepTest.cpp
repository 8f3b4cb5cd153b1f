// The output of `tessel record` can be read, however it ended.

#include <gtest/gtest.h>
#include <signal.h>

#include <cstdlib>
#include <nlohmann/json.hpp>

#include "tests/e2e/SparseRecording.h"
#include "tests/e2e/Tessel.h"

namespace {

TEST(Keep, AKilledRunLeavesFilesThatBelongTogether)
{
  ::unsetenv("TESSEL_SERIAL_PORTS");
  const TemporaryFolder folder;
  const struct {
    std::string format, records, metadata;
    std::uintmax_t enough;
  } cases[] = {{"npy", "run.part/samples.npy", "run.part/meta.json", 128 + 500 * 45},
               {"csv", "run.csv.part", "run.json.part", 40'000}};
  for (const auto& [format, records, metadata, enough] : cases) {
    const std::string name = format == "npy" ? "run" : "run.csv";
    Tessel tessel(folder, {"record", "--sim", "--output", name, "--format", format});
    const auto size = [&, &file = records] {
      std::error_code notThere;
      const auto bytes = std::filesystem::file_size(folder / file, notThere);
      return notThere ? 0 : bytes;
    };
    // The metadata takes as long as the disk needs to store it.
    tessel.waitUntil([&, &wanted = enough, &file = metadata] {
      return size() > wanted && folder.read(file).find("\"utc\"") != std::string::npos;
    });
    tessel.signal(SIGKILL);
    EXPECT_EQ(tessel.result().exitCode, 128 + SIGKILL);
    const auto json = nlohmann::json::parse(folder.read(metadata));
    EXPECT_EQ(json.at("complete"), false);
    EXPECT_TRUE(json.at("ended").is_null());
    EXPECT_TRUE(json.at("started").at("utc").is_string()) << "written when the first record came";
    EXPECT_EQ(runTessel(folder, {"plot", name + ".part"}).exitCode, 0);
    if (format == "csv") continue;
    // It may have been killed between writing a row and the header.
    const std::string check = "cd " + folder.path().string() +
                              "/run.part && /usr/bin/python3 -c \"import numpy, glob; n = {f: "
                              "len(numpy.load(f)) for f in glob.glob('*.npy')}; rows = (" +
                              std::to_string(size()) +
                              " - 128) // 500; assert len(n) == 10 and rows - 1 <= min(n.values()) and "
                              "max(n.values()) == n['samples.npy'] <= rows, (rows, n)\"";
    EXPECT_EQ(std::system(check.c_str()), 0);
  }
  const auto refused = runTessel(folder, words("record --sim --frames 3 --output run.csv"));
  EXPECT_EQ(refused.exitCode, 5) << refused.messages;
  EXPECT_NE(refused.messages.find("run.csv.part was left"), std::string::npos) << refused.messages;
  const auto replaced = runTessel(folder, words("record --sim --frames 3 --output run.csv --force"));
  EXPECT_EQ(replaced.exitCode, 0) << replaced.messages;
  for (const char* name : {"run.csv.part", "run.json.part", "run.events.csv.part"}) {
    EXPECT_FALSE(std::filesystem::exists(folder / name)) << name;
  }
  EXPECT_EQ(nlohmann::json::parse(folder.read("run.json")).at("records"), 3);
}

TEST(Keep, ARecordingThatDoesNotFitIntoMemoryIsAnError)
{
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  GTEST_SKIP() << "a sanitizer's own memory exceeds the limit";
#endif
  const TemporaryFolder folder;
  writeSparseRecording(folder);
  const std::string command = "cd " + folder.path().string() +
                              " && ulimit -v 400000 && " TESSEL_PROGRAM " plot . 2> messages > output";
  EXPECT_EQ(WEXITSTATUS(std::system(command.c_str())), 1);
  EXPECT_NE(folder.read("messages").find("not enough memory.\n        End other programs"), std::string::npos)
      << folder.read("messages");
}

}  // namespace

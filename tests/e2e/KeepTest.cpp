// The output of `tessel record` can be read, however it ended.

#include <gtest/gtest.h>
#include <signal.h>

#include <cstdlib>

#include "tests/e2e/Tessel.h"

namespace {

TEST(Keep, WhatIsRecordedCanBePlotted)
{
  ::unsetenv("TESSEL_SERIAL_PORTS");
  const TemporaryFolder folder;
  const struct {
    const char* auxCount;
    int exitCode;
    std::string words;
  } cases[] = {
      {"3846", 0, "Recorded 3 frames"}, {"3847", 3, "1 to 4096 elements"}, {"2147483647", 3, "4096"}};
  for (const auto& [auxCount, exitCode, words] : cases) {
    folder.write("settings",
                 "TesselElementCount\t250\nTesselNumSensors\t2\nTesselNumBleModules\t2\nTesselAuxCount\t" +
                     std::string(auxCount) + "\n");
    const auto result = runTessel(folder, {"record", "--sim", "--settings", "settings", "--frames", "3",
                                           "--output", "run.csv", "--force"});
    EXPECT_EQ(result.exitCode, exitCode) << auxCount << result.messages;
    EXPECT_NE(result.messages.find(words), std::string::npos) << auxCount << result.messages;
    if (exitCode != 0) continue;
    EXPECT_EQ(runTessel(folder, {"plot", "run.csv"}).exitCode, 0) << auxCount;
  }
}

TEST(Keep, NumPyShowsAllRowsOfAKilledRun)
{
  ::unsetenv("TESSEL_SERIAL_PORTS");
  const TemporaryFolder folder;
  Tessel tessel(folder, {"record", "--sim", "--output", "run", "--format", "npy"});
  const auto size = [&] {
    std::error_code notThere;
    const auto bytes = std::filesystem::file_size(folder / "run.part/samples.npy", notThere);
    return notThere ? 0 : bytes;
  };
  tessel.waitUntil([&] { return size() > 128 + 500 * 45; });
  tessel.signal(SIGKILL);
  EXPECT_EQ(tessel.result().exitCode, 128 + SIGKILL);
  // It may have been killed between writing a row and the header.
  const std::string check =
      "cd " + folder.path().string() +
      "/run.part && /usr/bin/python3 -c \"import numpy; s = numpy.load('samples.npy'); t = "
      "numpy.load('stamps.npy'); rows = (" +
      std::to_string(size()) +
      " - 128) // 500; assert rows - 1 <= len(s) <= rows and abs(len(s) - len(t)) <= 1, "
      "(rows, s.shape, t.shape)\"";
  EXPECT_EQ(std::system(check.c_str()), 0);
}

TEST(Keep, ARecordingThatDoesNotFitIntoMemoryIsAnError)
{
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  GTEST_SKIP() << "a sanitizer's own memory exceeds the limit";
#endif
  const TemporaryFolder folder;
  // A sparse file: a gigabyte of samples that takes no disk space.
  const std::string header = "{'descr': '<u2', 'fortran_order': False, 'shape': (0, 1024), }\n";
  const std::string magic("\x93NUMPY\x01\x00", 8);
  folder.write("samples.npy", magic + static_cast<char>(header.size()) + '\0' + header);
  std::filesystem::resize_file(folder / "samples.npy", 1 << 30);
  const std::string times = "{'descr': '<u4', 'fortran_order': False, 'shape': (0,), }\n";
  folder.write("stamps.npy", magic + static_cast<char>(times.size()) + '\0' + times);
  std::filesystem::resize_file(folder / "stamps.npy", 4 << 20);
  folder.write("meta.json", R"({"format":"tessel-recording","version":1,"groups":[
      {"label":"left","first":0,"count":1024}]})");
  const std::string command = "cd " + folder.path().string() +
                              " && ulimit -v 400000 && " TESSEL_PROGRAM " plot . 2> messages > output";
  EXPECT_EQ(WEXITSTATUS(std::system(command.c_str())), 1);
  EXPECT_NE(folder.read("messages").find("not enough memory.\n        End other programs"), std::string::npos)
      << folder.read("messages");
}

}  // namespace

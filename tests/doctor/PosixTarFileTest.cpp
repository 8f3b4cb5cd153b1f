#include <gtest/gtest.h>
#include <stdio.h>

#include "host/base/Failure.h"
#include "host/doctor/TarFile.h"
#include "tests/support/TemporaryFolder.h"

namespace {

std::string outputOf(const std::string& command)
{
  std::string text;
  FILE* const pipe = ::popen((command + " 2>&1").c_str(), "r");
  for (int character = std::fgetc(pipe); character != EOF; character = std::fgetc(pipe)) {
    text += static_cast<char>(character);
  }
  return text + "exit " + std::to_string(::pclose(pipe));
}

TEST(TarFile, IsReadByTar)
{
  const TemporaryFolder folder;
  const std::string path = (folder / "report.tar").string();
  const std::string longName = "log/" + std::string(TarFile::maxName - 4, 'n');
  const std::chrono::sys_seconds modified{std::chrono::seconds(1'700'000'000)};
  {
    TarFile file(path, false);
    file.add("steps.json", "{}\n", modified);
    file.add("empty", "", modified);
    file.add(longName, std::string(1024, 'x'), modified);
    EXPECT_THROW(file.add(longName + "n", "", modified), Failure);
    EXPECT_EQ(folder.list(), "report.tar.part");
    file.close();
  }
  EXPECT_EQ(outputOf("TZ=UTC tar tvf " + path),
            "-rw-r--r-- 0/0               3 2023-11-14 22:13 steps.json\n"
            "-rw-r--r-- 0/0               0 2023-11-14 22:13 empty\n"
            "-rw-r--r-- 0/0            1024 2023-11-14 22:13 " +
                longName + "\nexit 0");
  EXPECT_EQ(outputOf("tar xOf " + path + " steps.json " + longName),
            "{}\n" + std::string(1024, 'x') + "exit 0");
}

}  // namespace

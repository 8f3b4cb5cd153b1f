// Temporary folders that a killed run leaves.

#include <gtest/gtest.h>
#include <signal.h>

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <set>
#include <sstream>

#include "tests/e2e/Tessel.h"

namespace fs = std::filesystem;

namespace {

class Leftover : public testing::Test {
 public:
  Leftover()
  {
    ::unsetenv("TESSEL_SERIAL_PORTS");
    ::setenv("TMPDIR", temporary_.path().c_str(), 1);
  }
  ~Leftover() override { ::unsetenv("TMPDIR"); }

  static std::vector<std::string> record(const std::string& name)
  {
    return {"record", "--sim", "--output", name};
  }
  void put(const std::string& folder, const std::string& file) const
  {
    fs::create_directories(temporary_ / folder);
    std::ofstream(temporary_ / folder / file) << "text";
  }

  std::set<std::string> names() const
  {
    std::istringstream list(temporary_.list());
    return {std::istream_iterator<std::string>(list), {}};
  }

  TemporaryFolder folder_;
  TemporaryFolder other_;
  TemporaryFolder temporary_;
};

TEST_F(Leftover, OfAKilledRunIsDeletedByTheNextAndNothingElseIs)
{
  Tessel killed(folder_, record("killed.csv"));
  killed.waitUntil([&] { return !folder_.read("killed.csv.part").empty(); });
  killed.signal(SIGKILL);
  EXPECT_EQ(killed.result().exitCode, 128 + SIGKILL);
  const std::set<std::string> ofKilled = names();
  EXPECT_FALSE(ofKilled.empty()) << "a killed run leaves a folder";

  Tessel running(other_, record("running.csv"));
  running.waitUntil([&] { return !other_.read("running.csv.part").empty(); });
  const std::set<std::string> ofRunning = names();

  for (const std::string& name : ofKilled) {
    EXPECT_FALSE(ofRunning.contains(name)) << name;
  }

  const std::vector<std::string> foreign{"linked", "tessel-0000000a", "tessel-0000000b", "tessel-notes"};
  put("tessel-0000000a", "diary");     // a similar name
  put("tessel-notes", "tessel.lock");  // similar content
  put("linked", "tessel.lock");
  fs::create_directory_symlink(temporary_ / "linked", temporary_ / "tessel-0000000b");
  put("tessel-0000000c", "tessel.lock");                 // an abandoned folder
  fs::create_directory(temporary_ / "tessel-0000000d");  // of a run that was killed before it locked it
  const auto next = runTessel(folder_, words("record --sim --frames 3 --output next.csv"));
  EXPECT_EQ(next.exitCode, 0) << next.messages;
  std::set<std::string> left = names();
  for (const std::string& name : foreign) {
    EXPECT_EQ(left.erase(name), 1U) << name;
  }
  EXPECT_EQ(left, ofRunning);
  EXPECT_TRUE(fs::exists(temporary_ / "tessel-0000000a" / "diary"));
  EXPECT_TRUE(fs::exists(temporary_ / "linked" / "tessel.lock"));

  running.signal(SIGINT);
  const auto result = running.result();
  EXPECT_EQ(result.exitCode, 0) << result.messages;
}

}  // namespace

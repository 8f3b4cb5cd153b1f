// Allocations fail somewhere in the whole program, in any thread. If it is one, the program ends in order: it
// says that there is not enough memory, and all that it has recorded can be read and has no hole.

#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <map>
#include <memory>
#include <random>
#include <regex>
#include <sstream>

#include "tests/e2e/Tessel.h"
#include "tests/support/FromEnvironment.h"

namespace {

constexpr std::size_t atOnce = 6;
constexpr std::size_t frames = 40;

class FailingRun {
 public:
  // `failing`: the first allocation that fails; 0 for none.
  FailingRun(const char* format, std::uint64_t failing, std::uint64_t count)
      : name_(std::string("run.") + format),
        environment_{"LD_PRELOAD=" TESSEL_FAILING_ALLOCATION, "ALLOCATIONS_FILE=allocations",
                     "FAILING_ALLOCATION=" + std::to_string(failing),
                     "FAILING_ALLOCATIONS=" + std::to_string(count)},
        isOne_(count == 1),
        tessel_(folder_, {"record", "--sim", "--frames", std::to_string(frames), "--output", name_},
                {"/usr/bin/env", environment_[0], environment_[1], environment_[2], environment_[3],
                 TESSEL_PROGRAM})
  {
  }

  // Returns the exit code.
  int check()
  {
    const Tessel::Result result = tessel_.result();
    SCOPED_TRACE(name_ + ' ' + environment_[2] + ' ' + environment_[3] + '\n' + result.messages);
    const bool hasReason = result.messages.find("tessel: there is not enough memory.") != std::string::npos;
    const bool isInOrder = result.exitCode == 0 || (result.exitCode == 1 && hasReason);
    EXPECT_TRUE(isInOrder || (!isOne_ && (result.exitCode == 1 || result.exitCode == 128 + SIGABRT)))
        << result.exitCode;
    std::size_t recorded = 0;
    for (const std::string& left : {name_, name_ + ".part"}) {
      if (std::filesystem::exists(folder_ / left))
        recorded += readRecords(left, unpairedFrames(result.messages));
    }
    EXPECT_TRUE(result.exitCode != 0 || recorded == frames) << recorded;
    return result.exitCode;
  }

  // After check().
  std::uint64_t allocations() const
  {
    return std::strtoull(folder_.read("allocations").c_str(), nullptr, 10);
  }

 private:
  // Of the left glove, as the summary counts them: on a busy computer its first frames may find none of the
  // right one. A killed program has no summary.
  std::int64_t unpairedFrames(const std::string& messages) const
  {
    std::smatch found;
    const bool isAny = std::regex_search(messages, found, std::regex("  left .*\n.*[:,] (\\d+) pairing"));
    return !isOne_ ? INT64_MAX : isAny ? std::stoll(found[1]) : 0;
  }

  // Frames without a hole but for those.
  std::size_t readRecords(const std::string& name, std::int64_t unpaired) const
  {
    const Tessel::Result converted = runTessel(folder_, {"convert", name, "read.csv", "--force"});
    if (converted.exitCode == 6 && !isOne_) return 0;  // it was killed before the first record
    EXPECT_EQ(converted.exitCode, 0) << converted.messages;
    std::istringstream text(folder_.read("read.csv"));
    std::string line;
    std::getline(text, line);
    const auto columns = std::ranges::count(line, ',');
    std::size_t records = 0;
    std::int64_t latest = -1;
    std::int64_t missing = 0;
    while (std::getline(text, line)) {
      ++records;
      EXPECT_EQ(std::ranges::count(line, ','), columns);
      std::istringstream cells(line);
      std::string cell;
      for (int column = 0; column < 4; ++column) {
        std::getline(cells, cell, ',');
      }
      if (cell.empty()) continue;  // it could not be matched with its frame any more
      const std::int64_t number = std::stoll(cell);
      EXPECT_GT(number, latest);
      if (latest >= 0) missing += number - latest - 1;
      latest = number;
    }
    EXPECT_LE(missing, unpaired);
    return records;
  }

  const TemporaryFolder folder_;
  const std::string name_;
  const std::vector<std::string> environment_;
  const bool isOne_;
  Tessel tessel_;
};

TEST(Memory, TheProgramEndsInOrderWhicheverAllocationFails)
{
  ::unsetenv("TESSEL_SERIAL_PORTS");
  const auto runs = static_cast<std::uint64_t>(fromEnvironment("TESSEL_MEMORY_RUNS", 6));
  const auto seed = static_cast<std::uint64_t>(fromEnvironment("TESSEL_MEMORY_SEED", 1));
  // More than one also exhaust the reserve of the program, which may then be killed.
  const auto failing = static_cast<std::uint64_t>(fromEnvironment("TESSEL_MEMORY_FAILING", 1));
  std::printf("seed %llu\n", static_cast<unsigned long long>(seed));
  std::mt19937_64 random(seed);
  for (const char* const format : {"csv", "npy", "xdf"}) {
    FailingRun whole(format, 0, 1);
    ASSERT_EQ(whole.check(), 0);
    ASSERT_GT(whole.allocations(), 1000U);
    std::map<int, std::size_t> codes;
    std::vector<std::unique_ptr<FailingRun>> running;
    for (std::uint64_t run = 0; run < runs; ++run) {
      running.push_back(std::make_unique<FailingRun>(format, 1 + random() % whole.allocations(), failing));
      if (running.size() < atOnce && run + 1 < runs) continue;
      for (const auto& each : running) {
        ++codes[each->check()];
      }
      running.clear();
    }
    std::printf("record --output run.%s: %llu allocations", format,
                static_cast<unsigned long long>(whole.allocations()));
    for (const auto& [code, count] : codes) {
      std::printf("; exit code %d: %zu", code, count);
    }
    std::printf("\n");
  }
}

}  // namespace

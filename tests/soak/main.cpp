// tessel-soak: lives whole lives of the plug-in in virtual time, see Life.h.

#include <CLI/CLI.hpp>

#include <cinttypes>
#include <cstdio>
#include <ctime>
#include <iostream>
#include <limits>
#include <optional>
#include <random>

#include "tests/soak/Life.h"

namespace {

constexpr std::size_t wholeScript = std::numeric_limits<std::size_t>::max();

double cpuSeconds()
{
  return static_cast<double>(std::clock()) / CLOCKS_PER_SEC;
}

void print(const Script& script, std::size_t steps)
{
  std::cout << "  " << describe(script.surroundings) << '\n';
  for (std::size_t step = 0; step < steps; ++step) {
    std::cout << "  " << step + 1 << ". " << describe(script.steps[step]) << '\n';
  }
}

LifeResult liveBeginning(const Script& script, std::size_t steps)
{
  return live(script, std::min(steps, script.steps.size()));
}

// Prints the shortest beginning of the script that fails.
void reportFailure(const Script& script, LifeResult result, std::size_t steps)
{
  const std::uint64_t seed = script.surroundings.seed;
  std::cout << "seed " << seed << " failed " << result.failure << '\n' << std::flush;
  std::size_t shortest = std::min(steps, result.steps);
  for (std::size_t fewer = 1; fewer < shortest; ++fewer) {
    LifeResult shorter = liveBeginning(script, fewer);
    if (shorter.failure.empty()) continue;
    result = std::move(shorter);
    shortest = fewer;
  }
  print(script, shortest);
  std::cout << "  " << result.failure << "\nRepeat it with: tessel-soak --seed " << seed << " --steps "
            << shortest << std::endl;
}

struct Totals {
  double hours = 0;
  std::uint64_t lives = 0, reads = 0, records = 0, openings = 0, refusedOpenings = 0, books = 0;

  void add(const LifeResult& result)
  {
    ++lives;
    hours += result.seconds / 3600;
    reads += result.reads;
    records += result.records;
    openings += result.openings;
    refusedOpenings += result.refusedOpenings;
    books += result.books;
  }
  void print() const
  {
    std::printf(
        "%" PRIu64 " lives, %.1f virtual hours, %" PRIu64 " openings and %" PRIu64 " refused ones, %" PRIu64
        " reads, %" PRIu64 " records, %" PRIu64 " books; %.0f virtual hours per CPU hour\n",
        lives, hours, openings, refusedOpenings, reads, records, books, hours / (cpuSeconds() / 3600));
    std::fflush(stdout);
  }
};

}  // namespace

int main(int argc, char** argv)
{
  CLI::App app("Lives whole lives of the plug-in in virtual time, with faults, and checks after each step.");
  std::optional<std::uint64_t> seed;
  std::optional<std::size_t> steps;
  double hours = 0, minutes = 0;
  bool printsScript = false;
  app.add_option("--seed", seed,
                 "Of the first life; the following ones have the next numbers. Default: random");
  app.add_option("--hours", hours, "Virtual hours to live. Default: one life")->check(CLI::NonNegativeNumber);
  app.add_option("--minutes", minutes, "End after this CPU time")->check(CLI::NonNegativeNumber);
  app.add_option("--steps", steps, "Only the beginning of one script")
      ->check(CLI::Range(std::size_t{1}, wholeScript));
  app.add_flag("--script", printsScript, "Print each script");
  CLI11_PARSE(app, argc, argv);

  std::uint64_t next = seed ? *seed : std::random_device()();
  if (!seed) std::cout << "first seed " << next << std::endl;
  Totals totals;
  while (true) {
    const Script script = makeScript(next++);
    if (printsScript) print(script, std::min(steps.value_or(wholeScript), script.steps.size()));
    LifeResult result = liveBeginning(script, steps.value_or(wholeScript));
    if (!result.failure.empty()) {
      reportFailure(script, std::move(result), steps.value_or(wholeScript));
      return 1;
    }
    totals.add(result);
    const bool isTimeOver = minutes > 0 && cpuSeconds() >= minutes * 60;
    const bool areHoursOver = hours > 0 ? totals.hours >= hours : minutes == 0;
    if (steps || isTimeOver || areHoursOver) break;
  }
  totals.print();
  return 0;
}

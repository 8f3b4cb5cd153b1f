// The whole data path through the built plug-in and a real pseudo terminal, compared with a program that only
// reads the bytes: CPU time, headroom over the radio, latency. Exits with 1 on any error; the figures
// themselves are not judged.

#include <fmt/core.h>

#include <CLI/CLI.hpp>
#include <cstdio>
#include <exception>

#include "bench/plugin/FrameStream.h"
#include "bench/plugin/Processes.h"
#include "bench/plugin/Readers.h"
#include "bench/plugin/Report.h"
#include "bench/plugin/Writer.h"
#include "tests/support/HostLog.h"

namespace {

void measure(const Plan& plan, std::size_t pairs)
{
  Results plugin;
  Results blocks;
  const auto runOne = [&plan](const auto& reader, Results& results) {
    const SharedRun run;
    runProcesses(
        *run, [&] { writeFrames(plan, *run); }, [&] { reader(plan, *run); });
    results.add(*run, plan);
    return run->cost.cpuSeconds;
  };
  for (std::size_t pair = 1; pair <= pairs; ++pair) {
    const double pluginSeconds = runOne(readWithPlugin, plugin);
    const double blocksSeconds = runOne(readBlocks, blocks);
    fmt::print("pair {} of {}: plug-in {:.4f} s, blocks only {:.4f} s, ratio {:.2f}\n", pair, pairs,
               pluginSeconds, blocksSeconds, pluginSeconds / blocksSeconds);
    std::fflush(stdout);
  }
  printReport(plugin, blocks, plan);
}

int run(int count, char** arguments)
{
  bool isQuick = false;
  std::size_t pairs = 7;
  Plan plan;
  plan.plugin = std::filesystem::read_symlink("/proc/self/exe").parent_path() / "HwTessel.so";
  CLI::App app(
      "Measures the plug-in's data path over a pseudo terminal, compared with only reading the bytes.");
  app.add_flag("--quick", isQuick, "One small pair: a smoke test without meaningful figures");
  app.add_option("--pairs", pairs, "Pairs of runs")->check(CLI::Range(1, 1000))->capture_default_str();
  app.add_option("--frames", plan.burstFrames, "Frames of both gloves in a run's burst")
      ->check(CLI::Range(1, 100'000))
      ->capture_default_str();
  app.add_option("--plugin", plan.plugin, "The plug-in")->capture_default_str();
  try {
    app.parse(count, arguments);
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? 0 : 2;
  }
  if (isQuick) {
    pairs = 1;
    plan.burstFrames = 1000;
    plan.pacedFrames = 50;
  }

  catchInterrupts();
  const HostLog log(0);
  const TemporaryFolder& folder = log.folder;
  folder.write("settings", "TesselElementCount\t250\nTesselNumSensors\t2\nTesselNumBleModules\t2\n");
  plan.settings = folder / "settings";
  plan.port = folder / "dongle";
  const auto stream = makeFrames(plan.burstFrames + plan.pacedFrames);
  plan.stream = stream;
  measure(plan, pairs);
  return 0;
}

}  // namespace

int main(int count, char** arguments)
{
  try {
    return run(count, arguments);
  } catch (const std::exception& reason) {
    std::fprintf(stderr, "tessel-bench-plugin: %s\n", reason.what());
    return 1;
  }
}

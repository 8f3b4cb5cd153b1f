#include "bench/plugin/Report.h"

#include <fmt/core.h>

#include <algorithm>
#include <utility>

#include "bench/plugin/FrameStream.h"

namespace {

// The radio needs 676 microseconds for a notification of 20 bytes, and the gloves share it.
constexpr double radioCeiling = 1480;  // messages a second

template <class Type>
Type quantile(std::vector<Type> values, double share)
{
  const auto place = static_cast<std::ptrdiff_t>(share * static_cast<double>(values.size() - 1));
  std::nth_element(values.begin(), values.begin() + place, values.end());
  return values[static_cast<std::size_t>(place)];
}

double medianOf(const std::vector<Cost>& costs, auto figure)
{
  std::vector<double> values(costs.size());
  std::transform(costs.begin(), costs.end(), values.begin(),
                 [figure](const Cost& cost) { return static_cast<double>(cost.*figure); });
  return quantile(std::move(values), 0.5);
}

double sumOf(const std::vector<Cost>& costs, double Cost::*figure)
{
  double sum = 0;
  for (const Cost& cost : costs) {
    sum += cost.*figure;
  }
  return sum;
}

// The run with the least interference by other programs and waits for the writer.
double minOf(const std::vector<Cost>& costs)
{
  const auto isLess = [](const Cost& one, const Cost& other) { return one.cpuSeconds < other.cpuSeconds; };
  return std::min_element(costs.begin(), costs.end(), isLess)->cpuSeconds;
}

double burstMessages(const Plan& plan)
{
  return static_cast<double>(plan.burstFrames * messagesPerFrame);
}

void printCost(const char* name, const std::vector<Cost>& costs, const Plan& plan)
{
  const double cpu = medianOf(costs, &Cost::cpuSeconds);
  const double perMessage = 1e9 * cpu / burstMessages(plan);
  // The share is computed over all runs, because one run has few clock ticks.
  const double userShare = sumOf(costs, &Cost::userSeconds) / sumOf(costs, &Cost::cpuSeconds);
  const double user = perMessage * std::min(userShare, 1.0);
  const double reads = medianOf(costs, &Cost::reads);
  const double bytes = burstMessages(plan) * messageSize;
  fmt::print("  {:<12} {:>7.4f} {:>11.1f} {:>7.1f} {:>7.1f} {:>6.0f} {:>11} {:>6.0f} {:>8}\n", name, cpu,
             perMessage, user, perMessage - user, reads,
             reads > 0 ? fmt::format("{:.0f}", bytes / reads) : "?", medianOf(costs, &Cost::waits),
             costs.front().frames);
}

void printCosts(const Results& plugin, const Results& blocks, const Plan& plan)
{
  fmt::print("\nCPU time of the reading process for {} messages, median of {} runs each\n",
             burstMessages(plan), plugin.costs.size());
  fmt::print("  {:<12} {:>7} {:>11} {:>7} {:>7} {:>6} {:>11} {:>6} {:>8}\n", "", "seconds", "ns/message",
             "user", "system", "reads", "bytes/read", "waits", "frames");
  printCost("blocks only", blocks.costs, plan);
  printCost("plug-in", plugin.costs, plan);
  const double fastest = minOf(plugin.costs) / minOf(blocks.costs);
  std::vector<double> ratios;
  for (std::size_t pair = 0; pair < plugin.costs.size(); ++pair) {
    ratios.push_back(plugin.costs[pair].cpuSeconds / blocks.costs[pair].cpuSeconds);
  }
  fmt::print(
      "  ratio: {:.2f}, median of the pairs ({:.2f} to {:.2f}); {:.2f} of the two fastest runs; target: at "
      "most 2\n",
      quantile(ratios, 0.5), quantile(ratios, 0), quantile(ratios, 1), fastest);
  fmt::print("  the terminal returned at most {:.0f} bytes for a read of 4096\n",
             medianOf(blocks.costs, &Cost::largestRead));
}

void printHeadroom(const Results& plugin, const Plan& plan)
{
  const auto print = [&](double seconds, const char* what) {
    const double rate = burstMessages(plan) / seconds;
    fmt::print("  {:>9.0f} messages a second {}: {:.0f} times the ceiling\n", rate, what,
               rate / radioCeiling);
  };
  fmt::print("\nHeadroom of the plug-in over the radio's ceiling, {} messages a second\n", radioCeiling);
  print(medianOf(plugin.costs, &Cost::cpuSeconds), "of CPU time, on one core");
  print(medianOf(plugin.costs, &Cost::wallSeconds), "of wall-clock time, as fast as the writer writes");
}

double microseconds(const Results& results, double share)
{
  return 1e-3 * static_cast<double>(quantile(results.latencies, share));
}

void printLatency(const char* name, const Results& results)
{
  fmt::print("  {:<12} {:>8.1f} {:>8.1f} {:>8.1f}\n", name, microseconds(results, 0.5),
             microseconds(results, 0.99), microseconds(results, 1));
}

void printLatencies(const Results& plugin, const Results& blocks, const Plan& plan)
{
  fmt::print(
      "\nLatency in microseconds, {} frames each, one every {} ms: from just before the one write of a\n"
      "frame of both gloves, {} bytes, until the record is committed, or its last byte read\n",
      plugin.latencies.size(), plan.pace.count() / 1000, bytesPerFrame);
  fmt::print("  {:<12} {:>8} {:>8} {:>8}\n", "", "median", "99 %", "max");
  printLatency("blocks only", blocks);
  printLatency("plug-in", plugin);
  fmt::print("  {:<12} {:>8.1f} {:>8.1f}\n", "difference",
             microseconds(plugin, 0.5) - microseconds(blocks, 0.5),
             microseconds(plugin, 0.99) - microseconds(blocks, 0.99));
}

}  // namespace

void Results::add(const Run& run, const Plan& plan)
{
  costs.push_back(run.cost);
  for (std::size_t frame = 0; frame < plan.pacedFrames; ++frame) {
    latencies.push_back(run.delivered.at(frame) - run.written.at(frame));
  }
}

void printReport(const Results& plugin, const Results& blocks, const Plan& plan)
{
  printCosts(plugin, blocks, plan);
  printHeadroom(plugin, plan);
  printLatencies(plugin, blocks, plan);
}

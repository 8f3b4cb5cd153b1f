#include "host/doctor/ComputerSteps.h"

#include <fmt/format.h>

#include <algorithm>
#include <string_view>
#include <utility>

#include "host/base/Version.h"
#include "host/doctor/StepResults.h"

namespace {

constexpr std::uint64_t minMemoryKiB = 200 * 1024;

void warn(Step& step, const std::string& text, const std::string& fix)
{
  step.text += fmt::format("{}{}", step.result == Step::Result::warning ? "; " : "", text);
  step.fix += fmt::format("{}{}", step.fix.empty() ? "" : "\n", fix);
  step.result = Step::Result::warning;
}

// Drivers that choose the frequency themselves call their normal mode "powersave", too.
bool isSlow(const SystemFacts& facts)
{
  return facts.governor == "powersave" && !facts.frequencyDriver.starts_with("intel_pstate") &&
         !facts.frequencyDriver.starts_with("amd-pstate");
}

bool maySuspend(const UsbDevice& dongle)
{
  return dongle.powerControl == "auto" && dongle.autosuspendDelayMs.value_or(0) >= 0;
}

}  // namespace

Step systemStep(const SystemFacts& facts)
{
  const auto known = [](const std::string& text) {
    return text.empty() ? std::string_view("unknown") : text;
  };
  return ok("system", fmt::format("{} on {}, kernel {}, {}", programVersion, known(facts.system),
                                  known(facts.kernel), known(facts.architecture)));
}

std::vector<Step> computerSteps(const SystemFacts& facts, bool isSimulated)
{
  std::vector<Step> steps{systemStep(facts)};
  for (Step& step : hardwareSteps(facts)) {
    steps.push_back(isSimulated ? skipped(step.name, "the gloves are simulated") : std::move(step));
  }
  return steps;
}

Step loadStep(const SystemFacts& facts)
{
  Step step{.name = "computer", .text = ""};
  if (facts.load && *facts.load > facts.processors) {
    warn(step, fmt::format("{:.1f} programs compete for {} processors", *facts.load, facts.processors),
         "End programs that compute:\ntop -o %CPU");
  }
  if (isSlow(facts)) {
    warn(step, "the processors run at their lowest frequency (governor \"powersave\")",
         "Let them run faster:\n"
         "echo performance | sudo tee /sys/devices/system/cpu/cpu*/cpufreq/scaling_governor");
  }
  if (facts.memory.totalKiB > 0 && facts.memory.availableKiB < minMemoryKiB) {
    warn(step, fmt::format("{} MiB of memory are available", facts.memory.availableKiB / 1024),
         "End programs that need much memory:\ntop -o %MEM");
  }
  if (const UsbDevice* const dongle = facts.dongle(); dongle != nullptr && maySuspend(*dongle)) {
    warn(step, "the system may suspend the dongle to save power (USB autosuspend)",
         fmt::format(
             "Keep it awake until it is unplugged; power managers such as TLP have a list of exceptions:\n"
             "echo on | sudo tee /sys/bus/usb/devices/{}/power/control",
             dongle->place));
  }
  if (step.result != Step::Result::ok) return step;
  step.text = fmt::format("{} processors", facts.processors);
  if (facts.load) step.text += fmt::format(", load {:.1f}", *facts.load);
  if (!facts.governor.empty()) step.text += fmt::format(", governor {}", facts.governor);
  if (facts.memory.totalKiB > 0)
    step.text += fmt::format(", {} MiB of memory available", facts.memory.availableKiB / 1024);
  return step;
}

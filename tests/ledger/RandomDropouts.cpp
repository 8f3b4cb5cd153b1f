#include "tests/ledger/RandomDropouts.h"

#include <algorithm>
#include <cmath>
#include <random>
#include <utility>

#include "simulator/WordReader.h"

using simulator::toText;

namespace {

class DropoutPlanner {
 public:
  explicit DropoutPlanner(std::uint64_t seed) : random_(seed) { plan_.seed = seed; }

  SessionPlan make(double seconds)
  {
    for (simulator::GloveConfig& glove : plan_.gloves) {
      glove.framesPerSecond = 39.7;
      glove.clockError = between(-200e-6, 200e-6);
      glove.firstClock = static_cast<std::uint16_t>(between(0, 65'535));
    }
    for (double at = 10; at < seconds; at += dropoutInterval) {
      addFaults(at);
      addDropout(at + between(0, 8));
    }
    plan_.rules.limits.seconds = seconds;
    return std::move(plan_);
  }

 private:
  double between(double lowest, double highest)
  {
    return std::uniform_real_distribution<>(lowest, highest)(random_);
  }
  bool happens(double probability) { return std::bernoulli_distribution(probability)(random_); }
  std::string oneOf(std::initializer_list<const char*> words)
  {
    return *(words.begin() +
             std::uniform_int_distribution<std::ptrdiff_t>(0, std::ssize(words) - 1)(random_));
  }
  void add(double at, std::string command) { plan_.steps.push_back({at, std::move(command)}); }

  void addFaults(double at)
  {
    if (!happens(0.5)) return;
    add(at, toText(oneOf({"loss ", "loss ", "double ", "swap "}), oneOf({"left ", "right ", "both "}),
                   oneOf({"0", "0", "0.1", "1", "5"})));
  }

  // Short and long ones are as frequent.
  void addDropout(double at)
  {
    const double seconds = std::exp(between(std::log(0.2), std::log(50.0)));
    const std::string glove = oneOf({"left", "right", "both"});
    const auto during = [&](const std::string& begin, const std::string& end) {
      add(at, begin);
      add(at + seconds, end);
    };
    switch (std::uniform_int_distribution<>(0, 6)(random_)) {
      case 0:
        during("unplug", "plug");
        if (happens(0.3)) add(at + seconds, happens(0.5) ? "port COM12" : "port COM3");
        break;
      case 1:
        during("mute on", "mute off");
        break;
      case 2:
        during("silent " + glove, "back " + glove);
        break;
      case 3:
      case 4:
        during("leave " + glove, "back " + glove);
        if (happens(0.2) && seconds > 12) add(at + seconds, "restart " + glove);
        if (happens(0.3)) {
          const double again = at + seconds + between(0, 6);
          add(again, "leave " + glove);
          add(again + between(0.2, 12), "back " + glove);
        }
        break;
      default:
        during("hide " + glove, "show " + glove);
        // Again soon after the gloves are back, perhaps before their first record.
        for (double again = at; again == at || happens(0.3);
             again = std::max(again, at + seconds) + between(0, 6)) {
          add(again, "drop " + glove);
        }
    }
  }

  std::mt19937_64 random_;
  SessionPlan plan_;
};

}  // namespace

SessionPlan randomDropouts(std::uint64_t seed, double seconds)
{
  return DropoutPlanner(seed).make(seconds);
}

#include "tests/ledger/RandomPlan.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <random>
#include <span>

#include "simulator/WordReader.h"

using simulator::toText;

namespace {

class Planner {
 public:
  explicit Planner(std::uint64_t seed) : random_(seed) { plan_.seed = seed; }

  RecordingPlan make()
  {
    chooseGloves();
    plan_.seconds = happens(0.2) ? between(300, 900) : between(20, 200);
    if (happens(0.3)) plan_.writtenSeconds = plan_.seconds - between(0, 2);
    plan_.setup = {toText("rate ", rate_), toText("packets ", packets_)};
    if (happens(0.5)) plan_.setup.push_back(faults());
    for (double at = between(0, 20); at < plan_.seconds; at += between(0.05, 60)) {
      at = addEvent(at);
    }
    if (happens(0.2)) plan_.scenario.push_back({plan_.seconds - between(0, 15), ending()});
    return std::move(plan_);
  }

 private:
  static constexpr double wholeClock = 65'536;  // ticks until it wraps

  double between(double lowest, double highest)
  {
    return std::uniform_real_distribution<>(lowest, highest)(random_);
  }
  bool happens(double probability) { return std::bernoulli_distribution(probability)(random_); }
  template <class Value>
  Value oneOf(std::initializer_list<Value> values)
  {
    return *(values.begin() +
             std::uniform_int_distribution<std::ptrdiff_t>(0, std::ssize(values) - 1)(random_));
  }

  void chooseGloves()
  {
    plan_.gloves = VirtualGloves::leftAndRight();
    if (happens(0.1)) plan_.gloves[1].name = "KVXGL00018";
    if (happens(0.25)) plan_.gloves.pop_back();
    packets_ = happens(0.7) ? 14 : oneOf({2, 3, 7, 15});
    rate_ = happens(0.5) ? 40 : randomRate();
    const bool isAtRest = happens(0.2);
    const bool isOld = happens(0.1);
    for (simulator::GloveConfig& glove : plan_.gloves) {
      glove.packetsPerFrame = static_cast<std::uint8_t>(packets_);
      glove.firstClock = static_cast<std::uint16_t>(between(0, wholeClock));
      glove.clockError = between(-200e-6, 200e-6);
      if (isOld) glove.revision = 4;
      if (isAtRest)
        glove.movement = [](std::size_t element, std::uint64_t) {
          return static_cast<std::uint16_t>(300 + element);
        };
    }
    plan_.elements = plan_.gloves.front().elements();
  }

  // Among them the rates at which counter and clock wrap together, and more than the radio can carry.
  double randomRate() { return oneOf({between(3, 60), between(3, 60), 39.0625, 100.0}); }
  std::string glove()
  {
    return oneOf<std::string>({"left", "both", plan_.gloves.size() > 1 ? "right" : "left"});
  }

  std::string faults()
  {
    const double percent = oneOf({0.01, 0.1, 1.0, 10.0}) * between(0.5, 2);
    return toText(oneOf<std::string>({"loss ", "double ", "swap "}), glove(), ' ',
                  happens(0.3) ? 0 : percent);
  }

  std::string ending() { return toText(oneOf<std::string>({"silent ", "drop ", "leave "}), glove()); }

  // Returns the time at which it is over.
  double addEvent(double at)
  {
    const auto during = [&](double seconds, std::string begin, std::string end) {
      plan_.scenario.push_back({at, std::move(begin)});
      plan_.scenario.push_back({at + seconds, std::move(end)});
      return at + seconds;
    };
    const std::string who = glove();
    switch (std::uniform_int_distribution<>(0, 8)(random_)) {
      case 0:
      case 1:
        return during(between(0.1, 9.5), "leave " + who, "back " + who);
      case 2:
        return during(between(0, 3), toText("packets ", who, ' ', packets_ == 2 ? 3 : packets_ - 1),
                      toText("packets ", packets_));
      case 3:
        plan_.scenario.push_back({at, toText("rate ", who, ' ', randomRate())});
        return at;
      case 4:
        plan_.scenario.push_back({at, toText("rate ", rate_)});
        return at;
      case 5:
        plan_.pauses.push_back({at, between(0.02, 12)});
        return at + plan_.pauses.back().seconds;
      case 6:
        plan_.repeats.push_back(at);
        return at;
      default:
        plan_.scenario.push_back({at, faults()});
        return at;
    }
  }

  std::mt19937_64 random_;
  RecordingPlan plan_;
  int packets_ = 14;
  double rate_ = 40;
};

}  // namespace

RecordingPlan randomPlan(std::uint64_t seed)
{
  return Planner(seed).make();
}

#include <algorithm>
#include <cmath>
#include <random>
#include <utility>

#include "simulator/WordReader.h"
#include "tests/soak/Script.h"
#include "tests/soak/World.h"

using simulator::toText;

namespace {

class Maker {
 public:
  explicit Maker(std::uint64_t seed) : random_(seed) { script_.surroundings.seed = seed; }

  Script make()
  {
    chooseSurroundings();
    for (int loads = oneOf({1, 1, 2, 3}); loads > 0; --loads) {
      add(Kind::load);
      for (int objects = oneOf({1, 1, 2, 4}); objects > 0; --objects) {
        useObject();
        // One that the host forgets is the last one.
        if (objects > 1 || happens(0.8)) add(Kind::release);
      }
      add(Kind::unload);
    }
    return std::move(script_);
  }

 private:
  using Kind = Step::Kind;

  double between(double lowest, double highest)
  {
    return std::uniform_real_distribution<>(lowest, highest)(random_);
  }
  // Short and long are as frequent.
  double scaled(double lowest, double highest)
  {
    return std::exp(between(std::log(lowest), std::log(highest)));
  }
  bool happens(double probability) { return std::bernoulli_distribution(probability)(random_); }
  template <class Value>
  Value oneOf(std::initializer_list<Value> values)
  {
    return *(values.begin() +
             std::uniform_int_distribution<std::ptrdiff_t>(0, std::ssize(values) - 1)(random_));
  }
  std::uint32_t justBelow(double wrap, double range)
  {
    return static_cast<std::uint32_t>(wrap - between(1, range));
  }

  // So that a text says it exactly.
  static double inMs(double seconds) { return std::round(seconds * 1e3) / 1e3; }

  void add(Kind kind, double seconds = 0, std::string text = {})
  {
    script_.steps.push_back({kind, inMs(seconds), std::move(text)});
  }

  void chooseSurroundings()
  {
    constexpr double clock16 = 65'536, clock32 = 4'294'967'296;
    Surroundings& all = script_.surroundings;
    all.gloves = happens(0.4) ? 1 : 2;
    // Days, of a glove that takes few samples: its clock, as widened, goes past 32 bits after five.
    isLong_ = happens(0.05);
    all.packets = isLong_ ? 2 : oneOf({14, 14, 14, 2, 3, 7, 15});
    all.rate = isLong_ ? between(0.5, 2) : oneOf({40.0, 40.0, between(1, 60), 39.0625, 100.0});
    all.rightIsFirst = all.gloves == 2 && happens(0.3);
    all.isAtRest = happens(0.1);
    all.isOld = happens(0.1);
    all.gloveClock =
        static_cast<std::uint16_t>(happens(0.5) ? justBelow(clock16, 5'000) : between(0, clock16));
    all.clockError = happens(0.5) ? between(-200e-6, 200e-6) : 0;
    if (happens(0.5)) all.hostClock = justBelow(clock32, 200'000);
    if (happens(0.3)) all.operationUs = oneOf({1U, 10U, 100U});
    all.logLevel = oneOf({0, 0, 1, 2});
    all.skipsSensorCheck = happens(0.2);
    all.readsOn = happens(0.5);
  }

  void useObject()
  {
    const bool losesLog = script_.surroundings.logLevel > 0 && happens(0.3);
    if (losesLog && happens(0.5)) add(Kind::loseLog);
    add(Kind::create);
    const bool isSecond = happens(0.1);
    if (isSecond) add(Kind::create);
    if (happens(0.2)) ask();
    if (happens(0.7)) add(Kind::heal);
    if (happens(0.3)) beginOneFault();
    if (happens(0.3)) disturb(2);
    if (losesLog && happens(0.5)) add(Kind::loseLog);
    add(Kind::configure, happens(0.15) ? scaled(0.01, 8) : 0);
    if (happens(0.5)) script_.steps.back().wrapAfter = inMs(scaled(0.05, 8));
    if (isSecond) add(Kind::releaseEarlier);
    for (int phases = oneOf({1, 2, 3, 6}); phases > 0; --phases)
      usePhase();
    if (happens(0.1)) add(Kind::configure);
    if (happens(0.2)) add(Kind::save);
    if (happens(0.5)) add(Kind::close);
    if (happens(0.1)) add(Kind::read, 1);
  }

  void usePhase()
  {
    if (happens(0.7)) disturb(oneOf({1, 1, 2, 3}));
    const double longest = isLong_ ? 5 * 86'400 : 3'600;
    add(Kind::read, scaled(isLong_ ? 3'600 : 3, longest));
    if (happens(0.3)) ask();
    if (happens(0.2)) add(Kind::wait, scaled(0.02, 20));
  }

  void ask()
  {
    add(Kind::ask, 0,
        oneOf<std::string>({"BatteryLevel", "AutoTune", "SequentialScan", "StopSequential", "Identify",
                            "GetModuleMap", "GetFirmwareVersion", "SensorSelect 1", "SetSerialNumber,0,17",
                            "Nonsense"}));
  }

  // That an opening notices, if it is alone.
  void beginOneFault()
  {
    add(Kind::begin, 0, std::string(anyFault().name));
    add(Kind::wait, 0.1);
  }

  const Fault& anyFault()
  {
    const auto all = faults();
    const bool isOne = script_.surroundings.gloves == 1;
    while (true) {
      const Fault& fault = all[std::uniform_int_distribution<std::size_t>(0, all.size() - 1)(random_)];
      if (!isOne || !fault.needsTwoGloves) return fault;
    }
  }

  void disturb(int count)
  {
    for (; count > 0; --count) {
      const double at = happens(0.5) ? 0 : scaled(0.01, 60);
      if (happens(0.4)) {
        add(Kind::event, at, event());
        continue;
      }
      const Fault& fault = anyFault();
      add(Kind::begin, at, std::string(fault.name));
      if (happens(0.7)) add(Kind::end, at + scaled(0.05, 30), std::string(fault.name));
    }
  }

  std::string event()
  {
    switch (std::uniform_int_distribution<>(0, 8)(random_)) {
      case 0:
        return "drop left";
      case 1:
        return "restart left";
      case 2:
        return toText("noise ", oneOf({1, 3, 4, 40, 500}));
      case 3:
        return toText("cut ", std::uniform_int_distribution<>(0, 28)(random_));
      case 4:
        return toText("snap ", std::uniform_int_distribution<>(0, 28)(random_));
      case 5:
        return toText("battery ", std::uniform_int_distribution<>(0, 31)(random_));
      case 6:
        return toText("drift ", std::uniform_int_distribution<>(-200, 200)(random_));
      case 7:
        return "repeat";
      default:
        return "drop both";
    }
  }

  std::mt19937_64 random_;
  Script script_;
  bool isLong_ = false;
};

}  // namespace

Script makeScript(std::uint64_t seed)
{
  return Maker(seed).make();
}

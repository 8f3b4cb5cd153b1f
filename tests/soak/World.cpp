#include "tests/soak/World.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "simulator/WordReader.h"

namespace {

constexpr const wchar_t* noDongle = L"No BLE USB dongle detected.";
constexpr const wchar_t* inUse = L"The BLE USB dongle is currently being used";
constexpr const wchar_t* outOfDate = L"The BLE USB dongle firmware is out of date.";
constexpr const wchar_t* notEnough = L"Not enough remote BLE modules detected.";
constexpr const wchar_t* timedOut = L"A remote BLE module timed out.";
constexpr const wchar_t* faulty = L"Faulty sensor(s) on ";

const std::vector<Fault> table{
    {"little loss", {"loss both 0.5"}, {"loss both 0"}},
    {"much loss", {"loss left 30"}, {"loss left 0"}},
    {"doubles", {"double both 2"}, {"double both 0"}},
    {"swaps", {"swap both 2"}, {"swap both 0"}},
    {"left away", {"leave left"}, {"back left"}, notEnough},
    {"right away", {"leave right"}, {"back right"}, notEnough, true},
    {"left silent", {"silent left"}, {"back left"}, notEnough},
    {"both hidden", {"hide both"}, {"show both"}, notEnough},
    {"left refuses", {"refuse left on"}, {"refuse left off"}, timedOut},
    {"other name", {"name left Lamp"}, {"name left KVXGL00017"}, notEnough},
    {"unplugged", {"unplug"}, {"plug"}, noDongle},
    {"mute", {"mute on"}, {"mute off"}, notEnough},
    {"slow reset", {"restart-time 4"}, {"restart-time 0.3", "unplug", "plug"}, noDongle},
    {"stays away", {"stay-away on"}, {"stay-away off", "unplug", "plug"}, noDongle},
    {"crowd", {"neighbours 12"}, {"neighbours 0"}},
    {Fault::oldFirmware, {"firmware 1.4.2.129"}, {"firmware 1.4.2.130"}, outOfDate},
    {Fault::badSensor, {"sensor left thumb 249"}, {"sensor left thumb 0"}, faulty},
    {"port in use", {"fail open on"}, {"fail open off"}, inUse},
    {"reads fail", {"fail read 5"}, {"fail read off"}},
    {"writes fail", {"fail write 5"}, {"fail write off"}},
    {"purges fail", {"fail purge 5"}, {"fail purge off"}, inUse},
    {"timeouts can't be read", {"fail get-timeouts 5"}, {"fail get-timeouts off"}},
    {"timeouts can't be set", {"fail set-timeouts 87"}, {"fail set-timeouts off"}, inUse},
    {"short reads", {"chunks 3"}, {"chunks off"}},
    {"short frames", {"packets left 2"}, {"packets left AGAIN"}},
    {"other rate", {"rate left 25"}, {"rate left AGAIN"}},
};

std::vector<simulator::GloveConfig> configurations(const Surroundings& surroundings)
{
  auto gloves = VirtualGloves::leftAndRight();
  gloves.resize(surroundings.gloves);
  for (simulator::GloveConfig& glove : gloves) {
    glove.packetsPerFrame = static_cast<std::uint8_t>(surroundings.packets);
    glove.framesPerSecond = surroundings.rate;
    glove.firstClock = surroundings.gloveClock;
    glove.clockError = surroundings.clockError;
    if (surroundings.isOld) glove.revision = 4;
    if (surroundings.isAtRest) {
      glove.movement = [](std::size_t element, std::uint64_t) {
        return static_cast<std::uint16_t>(300 + element);
      };
    }
  }
  return gloves;
}

}  // namespace

std::span<const Fault> faults()
{
  return table;
}

World::World(const Surroundings& surroundings)
    : gloves_(surroundings.gloves, surroundings.elements(), surroundings.seed), surroundings_(surroundings)
{
  const auto hands = configurations(surroundings);
  if (surroundings.rightIsFirst) hands_.push_back(&gloves_.add("right", hands[1]));
  left_ = &gloves_.add("left", hands[0]);
  hands_.push_back(left_);
  if (hands_.size() < hands.size()) hands_.push_back(&gloves_.add("right", hands[1]));
  platform().operationTime = std::chrono::microseconds(surroundings.operationUs);
}

void World::at(double seconds, std::function<void()> action)
{
  if (seconds <= 0) return action();
  platform().clock.after(virtualSeconds(seconds),
                         [life = std::weak_ptr<const bool>(plans_), action = std::move(action)] {
                           if (!life.expired()) action();
                         });
}

void World::schedule(double seconds, const std::string& command)
{
  at(seconds, [this, command] {
    execute(command);
    disturb();
  });
}

void World::begin(double seconds, const Fault& fault)
{
  at(seconds, [this, &fault] {
    if (!active_.emplace(&fault, now()).second) return;
    for (const std::string& command : fault.begin) {
      execute(command);
    }
  });
}

void World::end(double seconds, const Fault& fault)
{
  at(seconds, [this, &fault] {
    if (active_.erase(&fault) == 0) return;
    ended_[&fault] = now();
    for (const std::string& command : fault.end) {
      execute(command);
    }
    disturb();
  });
}

void World::heal()
{
  plans_ = std::make_shared<const bool>(true);
  // A dongle that is about to be unplugged is.
  platform().clock.advance(virtualSeconds(0.001));
  for (const Fault& fault : table) {
    end(0, fault);
  }
  gloves_.cutNext(std::numeric_limits<std::size_t>::max(), false);
  execute("plug");
  mayBeUnplugged_ = false;
  platform().clock.advance(virtualSeconds(settling + 1));
}

const Fault* World::onlyFaultSince(double second) const
{
  if (active_.size() != 1 || !isSettledSince(second)) return nullptr;
  const auto& [fault, beginning] = *active_.begin();
  return beginning < second ? fault : nullptr;
}

bool World::wasActiveSince(double second, std::string_view name) const
{
  const auto is = [&](const auto& entry) { return entry.first->name == name; };
  const auto isLate = [&](const auto& entry) { return is(entry) && entry.second >= second; };
  return std::ranges::any_of(active_, is) || std::ranges::any_of(ended_, isLate);
}

bool World::hasConnection() const
{
  return std::ranges::any_of(hands_, [](const simulator::Glove* glove) { return glove->isConnected(); });
}

std::size_t World::commandsReceived() const
{
  return left_->commands().size();
}

void World::execute(const std::string& command)
{
  const std::size_t space = command.find(' ');
  const std::string word = command.substr(0, space);
  const std::string rest = space == std::string::npos ? "" : command.substr(space + 1);
  auto& port = gloves_.port();
  if (word == "fail") {
    failPort(rest);
  } else if (word == "chunks") {
    port.maxPerRead = rest == "off" ? std::numeric_limits<std::size_t>::max() : std::stoul(rest);
  } else if (word == "repeat") {
    gloves_.repeatFrameAt(now());
  } else if (word == "cut" || word == "snap") {
    gloves_.cutNext(std::stoul(rest), word == "snap");
    mayBeUnplugged_ = mayBeUnplugged_ || word == "snap";
  } else {
    std::string own = command;
    if (const std::size_t again = own.find("AGAIN"); again != std::string::npos) {
      own.resize(again);
      own +=
          word == "rate" ? simulator::toText(surroundings_.rate) : simulator::toText(surroundings_.packets);
    }
    gloves_.execute(own);
  }
}

void World::failPort(const std::string& words)
{
  const std::size_t space = words.find(' ');
  const std::string operation = words.substr(0, space), how = words.substr(space + 1);
  auto& port = gloves_.port();
  if (operation == "open") {
    port.busy = how == "on";
    return;
  }
  const auto error = how == "off" ? std::nullopt : std::optional(static_cast<std::uint32_t>(std::stoul(how)));
  using Port = SimulatedPlatform::Port;
  static const std::map<std::string, std::optional<std::uint32_t> Port::*> operations{
      {"read", &Port::readError},
      {"write", &Port::writeError},
      {"purge", &Port::purgeError},
      {"get-timeouts", &Port::getTimeoutsError},
      {"set-timeouts", &Port::setTimeoutsError}};
  port.*operations.at(operation) = error;
}

// What surrounds the plug-in in a life: port, dongle and gloves in virtual time, and which faults there are.
#pragma once

#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "tests/soak/Script.h"
#include "tests/support/VirtualGloves.h"

// A fault with a beginning and an end.
struct Fault {
  // With rules of their own.
  static constexpr std::string_view oldFirmware = "old firmware", badSensor = "bad sensor";

  std::string_view name;
  std::vector<std::string> begin, end;  // commands
  // How the message of an opening begins that has this fault, and no other, from beginning to end. Null: it
  // may succeed, or fail with any message.
  const wchar_t* openingError = nullptr;
  bool needsTwoGloves = false;
};

std::span<const Fault> faults();

class World {
 public:
  explicit World(const Surroundings& surroundings);

  // Control commands of the simulator, AGAIN for the value of the beginning, and
  //   fail open on|off
  //   fail read|write|purge|get-timeouts|set-timeouts ERROR|off
  //   chunks BYTES|off    a read moves no more than this number of bytes
  //   repeat              the next frame of the glove that advertises first comes twice
  //   cut BYTES           the next message ends after them
  //   snap BYTES          and the dongle is unplugged there
  void schedule(double seconds, const std::string& command);
  void begin(double seconds, const Fault& fault);
  void end(double seconds, const Fault& fault);
  // Ends everything that is still scheduled, too.
  void heal();

  // Nothing wrong from this virtual second on until now, and no trace of what was.
  bool isSoundSince(double second) const { return active_.empty() && isSettledSince(second); }
  // The only fault from this second on until now; null if it is not alone.
  const Fault* onlyFaultSince(double second) const;

  // At any time from this second on until now.
  bool wasActiveSince(double second, std::string_view fault) const;
  // Faulty sensors are not looked at.
  bool hidesSensors() const { return surroundings_.skipsSensorCheck || surroundings_.isOld; }

  bool hasConnection() const;
  std::size_t commandsReceived() const;
  double now() const { return gloves_.now(); }
  VirtualGloves& gloves() { return gloves_; }
  SimulatedPlatform& platform() { return gloves_.platform(); }

 private:
  void execute(const std::string& command);
  void failPort(const std::string& words);
  void disturb() { latestDisturbance_ = now(); }
  bool isSettledSince(double second) const
  {
    return !mayBeUnplugged_ && latestDisturbance_ + settling < second;
  }
  void at(double seconds, std::function<void()> action);

  VirtualGloves gloves_;
  const Surroundings surroundings_;
  std::vector<simulator::Glove*> hands_;
  simulator::Glove* left_ = nullptr;
  std::map<const Fault*, double> active_, ended_;  // with the beginning, and the latest end
  static constexpr double settling = 14;           // seconds: longer than a lost connection lasts
  double latestDisturbance_ = -settling;           // an event, or the end of a fault
  bool mayBeUnplugged_ = false;                    // by an event, until all is healed
  std::shared_ptr<const bool> plans_ = std::make_shared<const bool>(true);  // lifetime of what is scheduled
};

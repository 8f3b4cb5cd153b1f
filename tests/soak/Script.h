// The script of a whole life: what a host does with the plug-in, and what happens to dongle and gloves
// meanwhile. The same seed yields the same script, and each beginning of a script is a script.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

// Of gloves, dongle, clocks and host, from the beginning to the end.
struct Surroundings {
  std::size_t gloves = 2;     // 1: only a left one
  int packets = 14;           // per frame
  double rate = 40;           // frames per second
  bool rightIsFirst = false;  // to advertise
  bool isAtRest = false;      // all frames have the same samples
  bool isOld = false;         // the gloves' revision knows no sensor status
  std::uint16_t gloveClock = 1;
  double clockError = 0;
  std::uint32_t hostClock = 60'000;  // at the beginning, ms
  std::uint32_t operationUs = 0;     // of each operation on the port
  std::int32_t logLevel = 0;
  bool skipsSensorCheck = false;
  bool readsOn = false;  // goes on after a failed read
  std::uint64_t seed = 1;

  // Samples of each glove in a frame.
  std::size_t elements() const;
};

struct Step {
  enum class Kind {
    load,       // the plug-in, as the host starts
    create,     // an object, with which all that follows is done
    configure,  // with a stop request after so many seconds, if there are any
    loseLog,    // the next object, or link, can't make its log file at first
    read,       // for so many seconds
    wait,       // the host does nothing
    ask,        // a text command
    save,       // the settings
    close,
    release,         // the newest object
    releaseEarlier,  // one that was created before it and never configured
    unload,          // what was not released is released by it
    event,           // a control command, or a fault of the port, so many seconds from now
    begin,           // a fault of the table in World.cpp, so many seconds from now
    end,
    heal,  // ends all faults, and waits until no trace of them is left
  };

  Kind kind;
  double seconds = 0;
  std::string text = {};
  double wrapAfter = 0;  // of an opening: when the system's clock wraps, if it does
};

struct Script {
  Surroundings surroundings;
  std::vector<Step> steps;
};

Script makeScript(std::uint64_t seed);
std::string describe(const Surroundings& surroundings);
std::string describe(const Step& step);

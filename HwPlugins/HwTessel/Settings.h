// The settings of the plug-in: their values, and the one table of their keys in the settings file.
//
// All hardware objects of the process share `current`. A key that is missing from a file keeps the value of
// the previous load or save.
// Threads: one at a time.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <variant>
#include <vector>

#include "shared/Parameter.h"

namespace settings {

// Element count and number of sensors before a file sets them; not a usable value.
inline constexpr std::int32_t notConfigured = -1;

struct Values {
  std::wstring fileVersion;  // carried, never compared
  double timeDivisor = 10.0;
  std::int32_t elementCount = notConfigured;
  std::int32_t numSensors = notConfigured;
  std::int32_t auxCount = 0;
  std::int32_t readTimeout = 10000;
  std::int32_t writeTimeout = 500;
  std::int32_t numBleModules = 1;
  std::wstring metaData;
  std::int32_t execDelay = 0;
  std::vector<std::int32_t> serialNumber;
  bool skipSensorStartupCheck = false;
};

using Member = std::variant<std::wstring Values::*, double Values::*, std::int32_t Values::*,
                            std::vector<std::int32_t> Values::*, bool Values::*>;

struct Key {
  const wchar_t* name;
  Member member;
  const char* meaning;  // shown to the user
};

// In the order in which the variables are bound.
inline constexpr std::array keys{
    Key{L"FileVersion", &Values::fileVersion, "Tag of this file's version: a text."},
    Key{L"TesselTimeDivisor", &Values::timeDivisor, "Device clock ticks per millisecond."},
    Key{L"TesselElementCount", &Values::elementCount, "Sensor elements in a record, all gloves together."},
    Key{L"TesselNumSensors", &Values::numSensors, "Gloves in a record: 1 or 2."},
    Key{L"TesselAuxCount", &Values::auxCount, "Elements after them that the host fills."},
    Key{L"TesselReadTimeout", &Values::readTimeout, "Milliseconds without a frame that make a read fail."},
    Key{L"TesselWriteTimeout", &Values::writeTimeout, "Carried along, without effect."},
    Key{L"TesselNumBleModules", &Values::numBleModules, "Gloves to connect to: 1 or 2."},
    Key{L"TesselMetaData", &Values::metaData, "Free text in double quotes."},
    Key{L"TesselExecDelay", &Values::execDelay, "Execution delay reported to the host."},
    Key{L"TesselSerialNumber", &Values::serialNumber,
        "The gloves that may be connected: their number, then a serial number each. 0 is any."},
    Key{L"TesselSkipSensorStartupCheck", &Values::skipSensorStartupCheck,
        "1 leaves out the check of the sensors on connecting."}};

// The variables of the registered satellites.
extern Values current;

// Lets a settings file be read into the caller's own values, which must outlive it.
class Binding {
 public:
  explicit Binding(Values& values);

  const parameter::Registry& registry() const { return registry_; }

 private:
  std::vector<std::unique_ptr<parameter::SateliteInterface>> satelites_;
  parameter::Registry registry_;
};

}  // namespace settings

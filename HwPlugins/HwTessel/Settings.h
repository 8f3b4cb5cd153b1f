// The settings of the plug-in: process-wide variables, each bound to its key in the settings file.
// All hardware objects share them. A key that a file leaves out keeps what the load or save before it left.
// Threads: one at a time.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace settings {

extern std::wstring fileVersion;                // tag of the file's version; carried, never compared
extern double timeDivisor;                      // device clock ticks per millisecond
extern std::int32_t elementCount;               // sensor elements in a record, both gloves together
extern std::int32_t numSensors;                 // 1: frames of one glove make a record; otherwise of two
extern std::int32_t auxCount;                   // auxiliary elements behind the sensor elements in a record
extern std::int32_t readTimeout;                // ms without a frame that make a read fail
extern std::int32_t writeTimeout;               // ms; carried, the port's write time-out is fixed
extern std::int32_t numBleModules;              // modules to connect to
extern std::wstring metaData;                   // free text, carried from file to file
extern std::int32_t execDelay;                  // what the host is told as its delay of execution
extern std::vector<std::int32_t> serialNumber;  // serial numbers of the modules that may be accepted
extern bool skipSensorStartupCheck;             // true leaves out the status request on connecting

}  // namespace settings

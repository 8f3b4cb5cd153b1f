#include "Settings.h"

#include "shared/Parameter.h"

namespace settings {

using parameter::Satelite;

namespace {

// The defaults of elementCount and numSensors: a usable settings file must give the element count.
constexpr std::int32_t notConfigured = -1;

}  // namespace

std::wstring fileVersion;
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

namespace {

Satelite<std::wstring> fileVersionSatelite(L"FileVersion", fileVersion);
Satelite<double> timeDivisorSatelite(L"TesselTimeDivisor", timeDivisor);
Satelite<std::int32_t> elementCountSatelite(L"TesselElementCount", elementCount);
Satelite<std::int32_t> numSensorsSatelite(L"TesselNumSensors", numSensors);
Satelite<std::int32_t> auxCountSatelite(L"TesselAuxCount", auxCount);
Satelite<std::int32_t> readTimeoutSatelite(L"TesselReadTimeout", readTimeout);
Satelite<std::int32_t> writeTimeoutSatelite(L"TesselWriteTimeout", writeTimeout);
Satelite<std::int32_t> numBleModulesSatelite(L"TesselNumBleModules", numBleModules);
Satelite<std::wstring> metaDataSatelite(L"TesselMetaData", metaData);
Satelite<std::int32_t> execDelaySatelite(L"TesselExecDelay", execDelay);
Satelite<std::vector<std::int32_t>> serialNumberSatelite(L"TesselSerialNumber", serialNumber);
Satelite<bool> skipSensorStartupCheckSatelite(L"TesselSkipSensorStartupCheck", skipSensorStartupCheck);

}  // namespace

}  // namespace settings

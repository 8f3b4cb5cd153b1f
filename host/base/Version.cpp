#include "host/base/Version.h"

const char* const programVersion = "tessel " TESSEL_VERSION;

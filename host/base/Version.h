// The program's version, as `tessel --version` prints it and recordings keep it: "tessel 1.2.3".
#pragma once

extern const char* const programVersion;

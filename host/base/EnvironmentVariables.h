// The environment variables that users may set for `tessel`. What they read about them, in the manual and in
// the README, has code in `backticks`.
#pragma once

#include <array>

namespace environment {

struct Variable {
  const char* name;
  const char* meaning;
};

inline constexpr Variable serialPorts{"TESSEL_SERIAL_PORTS",
                                      "replaces the system's list of serial ports on Linux: entries "
                                      "`TEXT=PATH` with `;` between them; an entry whose path "
                                      "does not exist is ignored"};
inline constexpr Variable capture{
    "TESSEL_CAPTURE",
    "a file or pipe to which the plug-in writes all bytes of the dongle's port, also in other host programs"};
inline constexpr Variable temporary{"TMPDIR", "the folder for temporary files on Linux, instead of `/tmp`"};
inline constexpr std::array variables{serialPorts, capture, temporary};

}  // namespace environment

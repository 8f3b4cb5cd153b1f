// Writes the man pages and the bash completion of `tessel` while the project is built.

#include <cstdio>
#include <exception>

#include "host/manual/ManualFiles.h"

int main(int count, char** arguments)
try {
  if (count != 3) {
    std::fputs("Usage: tessel-manual-maker FOLDER COMPLETION-FUNCTION\n", stderr);
    return 2;
  }
  writeManual(arguments[1], arguments[2]);
  return 0;
} catch (const std::exception& error) {
  std::fprintf(stderr, "tessel-manual-maker: %s\n", error.what());
  return 1;
}

// The same numbers for programs in C++.
#include "Layout.c"  // NOLINT(bugprone-suspicious-include)

// The books of the gloves in the interface's statistics.
#pragma once

#include "host/capture/Books.h"
#include "library/include/tessel.h"

namespace library {

void addBooks(const Books& books, tessel_statistics& values);

}  // namespace library

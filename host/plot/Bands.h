// In which order a heat map shows the elements of a glove: by region, where these are known.
#pragma once

#include <vector>

#include "host/recording/Layout.h"

// From top to bottom. One band without a name if no regions are known.
std::vector<Region> bandsOf(const ElementGroup& glove);

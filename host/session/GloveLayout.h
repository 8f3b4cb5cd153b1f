// What the elements of the plug-in's records are.
#pragma once

#include <string>
#include <vector>

#include "HwPlugins/HwTessel/Settings.h"
#include "host/recording/Layout.h"

// As the plug-in divides its records: the gloves' elements among the gloves evenly, the rest and the
// auxiliary elements behind them. `modules` are the names of the gloves found, in the order of the records.
Layout gloveLayout(const settings::Values& settings, const std::vector<std::string>& modules);

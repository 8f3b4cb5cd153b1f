// Describes the elements of the plug-in's records.
#pragma once

#include <string>
#include <vector>

#include "HwPlugins/HwTessel/Settings.h"
#include "host/recording/Layout.h"

// 1 or 2.
std::size_t glovesInRecord(const settings::Values& settings);

// As in the plug-in: the gloves' elements are divided evenly, then come the remainder and the auxiliary
// elements. `modules` are the names of the connected gloves, in the order of the records.
Layout gloveLayout(const settings::Values& settings, const std::vector<std::string>& modules);

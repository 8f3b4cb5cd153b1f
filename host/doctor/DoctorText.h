// The steps as text and as JSON. Threads: any. Throws only std::bad_alloc.
#pragma once

#include <nlohmann/json_fwd.hpp>

#include <string>
#include <vector>

#include "host/doctor/Step.h"

// One line, and one for each line of the fix; foreign text is made printable.
std::string stepText(const Step& step);
nlohmann::ordered_json doctorJson(const std::vector<Step>& steps, const std::string& verdict);

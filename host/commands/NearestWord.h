// What somebody who made a slip of the hand most likely meant. Throws only std::bad_alloc.
#pragma once

#include <string>
#include <string_view>
#include <vector>

// The one of the words that differs the least from the one given, capitals aside, or that it begins; empty if
// none is near.
std::string nearestWord(std::string_view word, const std::vector<std::string>& words);

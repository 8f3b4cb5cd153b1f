// Suggests the word that a user probably meant to type. Throws only std::bad_alloc.
#pragma once

#include <string>
#include <string_view>
#include <vector>

// The most similar of the words, ignoring case, or one that begins with `word`; empty if none is similar.
std::string nearestWord(std::string_view word, const std::vector<std::string>& words);

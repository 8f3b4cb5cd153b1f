// Text on its way into messages and pictures.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

// A path as the user knows it.
std::string utf8(const std::filesystem::path& path);

// The beginning of something that may be anything, fit for a terminal.
std::string excerpt(std::string_view text);

// "5.25 s", "10 min 5 s"
std::string durationText(double seconds);

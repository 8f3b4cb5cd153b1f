// Conversions of text between the plug-in (wide), the user (UTF-8) and pictures.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

// A Failure if it is not valid text.
std::wstring widen(const std::filesystem::path& text);

// As UTF-8. Invalid characters become question marks.
std::string narrow(const std::wstring& text);

// A message of the plug-in, which may contain newlines, as one line.
std::string oneLine(const std::wstring& text);

// A path as the user writes it.
std::string utf8(const std::filesystem::path& path);

// Compares the extension, ".csv", ignoring case.
bool hasExtension(const std::filesystem::path& path, std::string_view extension);

// The printable beginning of a text of any length and content.
std::string excerpt(std::string_view text);

// "5.25 s", "10 min 5 s"
std::string durationText(double seconds);

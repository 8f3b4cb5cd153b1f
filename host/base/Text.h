// Texts on their way between the plug-in, which has wide ones, the person, and pictures.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

// A Failure for bytes that are no text.
std::wstring widen(const std::filesystem::path& text);

// As UTF-8. What is no character comes out as a question mark.
std::string narrow(const std::wstring& text);

// The words of the plug-in, which end in newlines and have some inside, as one line.
std::string oneLine(const std::wstring& text);

// A path as the user knows it.
std::string utf8(const std::filesystem::path& path);

// Whether the name ends in this extension, ".csv", capitalised or not.
bool hasExtension(const std::filesystem::path& path, std::string_view extension);

// The beginning of something that may be anything, printable.
std::string excerpt(std::string_view text);

// "5.25 s", "10 min 5 s"
std::string durationText(double seconds);

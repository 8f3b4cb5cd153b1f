// Texts on their way between the plug-in, which has wide ones, the person, and pictures.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

// For text that came from the command line; std::system_error or the like for bytes that are no text.
inline std::wstring widen(const std::string& text)
{
  return std::filesystem::path(text).wstring();
}

// What can't be said in narrow characters comes out as a question mark.
std::string narrow(const std::wstring& text);

// The words of the plug-in, which end in line ends and have some inside, as one line.
std::string oneLine(const std::wstring& text);

// A path as the user knows it.
std::string utf8(const std::filesystem::path& path);

// The beginning of something that may be anything, fit for a terminal.
std::string excerpt(std::string_view text);

// "5.25 s", "10 min 5 s"
std::string durationText(double seconds);

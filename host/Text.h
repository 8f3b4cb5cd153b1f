// Between the plug-in's wide texts and the program's narrow ones.
#pragma once

#include <filesystem>
#include <string>

// For text that came from the command line; std::system_error or the like for bytes that are no text.
inline std::wstring widen(const std::string& text)
{
  return std::filesystem::path(text).wstring();
}

// What can't be said in narrow characters comes out as a question mark.
std::string narrow(const std::wstring& text);

// The words of the plug-in, which end in line ends and have some inside, as one line.
std::string oneLine(const std::wstring& text);

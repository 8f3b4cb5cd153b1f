// The files of the manual of `tessel`.
#pragma once

#include <filesystem>

// Writes a page man1/NAME.1 for the program and for each command, and the completion, called tessel, with the
// function that is in the file. Throws std::exception.
void writeManual(const std::filesystem::path& folder, const std::filesystem::path& completionFunction);

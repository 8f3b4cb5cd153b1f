// Errors name the options of the program `tessel`, whose code the library shares; its users know other names.
// Threads: any. Throws only std::bad_alloc.
#pragma once

#include <string>

namespace library {

// The text with the names of the library's options.
std::string withOptionNames(std::string text);

}  // namespace library

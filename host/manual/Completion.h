// The bash completion of a program: a table made of its commands and options, for the function in
// completion.bash. Throws only std::bad_alloc.
#pragma once

#include <string>

namespace CLI {
class App;
}

std::string completionTable(const CLI::App& program);

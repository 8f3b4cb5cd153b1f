// The man page of a command, or of the program itself, whose page also lists its commands, all exit codes and
// the environment variables. Throws only std::bad_alloc.
#pragma once

#include <string>
#include <string_view>

namespace CLI {
class App;
}

// "tessel-record", as the page of `tessel record` is called.
std::string manualPageName(const CLI::App& command);

// `version` is "tessel 1.2.3". There is no date: the same version makes the same page.
std::string manualPage(const CLI::App& command, std::string_view version);

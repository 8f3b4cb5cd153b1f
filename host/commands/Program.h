// The command line of `tessel` as one tree of commands and options. Its help, its man pages and its
// completion are made from this tree. Errors: a Failure.
#pragma once

#include <memory>

#include "host/base/ExitCode.h"

namespace CLI {
class App;
}

// `exitCode` receives the exit code of the command that is run, and must outlive the command line.
std::unique_ptr<CLI::App> commandLine(ExitCode& exitCode);

// Runs the command that the arguments name, or prints help or version.
ExitCode runCommandLine(int count, const char* const* arguments);

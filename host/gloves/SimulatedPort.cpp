#include "host/gloves/SimulatedPort.h"

#include <fmt/core.h>

#include <system_error>

#include "host/base/Characters.h"
#include "host/base/Failure.h"
#include "host/base/Text.h"

namespace {

namespace fs = std::filesystem;

// Only the port of an earlier simulation may be replaced.
void checkPort(const fs::path& path)
{
  // Users copy the path from the terminal.
  const std::string text = utf8(path);
  if (text.find_first_of(";'") != std::string::npos || printable(text) != text) {
    throw Failure(ExitCode::output,
                  fmt::format("{} can't name a port: it contains ; or ' or an unprintable character.", text),
                  "Choose another path with --port.");
  }
  std::error_code ignored;
  const fs::file_status status = fs::symlink_status(path, ignored);
  if (!fs::exists(status)) return;
  if (fs::is_symlink(status) && fs::read_symlink(path, ignored).parent_path() == "/dev/pts") {
    if (!simulator::PtyPort::isServed(path)) return;
    throw Failure(ExitCode::output, fmt::format("{} is in use by another simulation.", utf8(path)),
                  "End that simulation, or choose another path with --port.");
  }
  throw Failure(ExitCode::output, fmt::format("{} already exists and is no simulated port.", utf8(path)),
                "Choose a path with --port that does not exist; nothing is overwritten.");
}

}  // namespace

SimulatedPort::SimulatedPort(VirtualClock& clock, simulator::SerialDevice& device, const fs::path& wanted)
{
  try {
    path_ = wanted.empty() ? folder_.emplace().path() / "dongle" : fs::absolute(wanted).lexically_normal();
    checkPort(path_);
    pty_.emplace(clock, device, path_);
  } catch (const std::system_error& error) {
    if (error.code() == std::errc::not_supported) {
      throw Failure(ExitCode::usage,
                    "gloves can be simulated on Linux only, because that needs a pseudo terminal.",
                    "Run it on Linux, or use real gloves.");
    }
    throw Failure(ExitCode::output, fmt::format("the simulated port can't be created: {}.", error.what()),
                  "Choose a path with --port in a folder that you may write to.");
  }
}

std::string SimulatedPort::portsVariable() const
{
  return fmt::format("Bluegiga Bluetooth Low Energy (COM7)={}", utf8(path_));
}

#include "host/gloves/Ports.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <system_error>

#include "host/base/EnvironmentVariables.h"
#include "host/gloves/posix/PortFacts.h"

namespace {

PortState stateFor(int error)
{
  switch (error) {
    case EACCES:
    case EPERM:
      return PortState::noRights;
    case EBUSY:
      return PortState::inUse;
    case ENOENT:
    case ENXIO:
    case ENODEV:
      return PortState::gone;
    case EISDIR:
      return PortState::notSerial;
    case EMFILE:
    case ENFILE:
      return PortState::tooManyFiles;
    default:
      return PortState::failing;
  }
}

void tryToOpen(Port& port)
{
  const SystemTree system("/");
  const auto textOf = [](const std::optional<Process>& process) { return process ? describe(*process) : ""; };
  const int descriptor = ::open(port.path.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
  if (descriptor < 0) {
    const int error = errno;
    port.state = stateFor(error);
    port.detail = port.state == PortState::inUse ? textOf(opener(system, port.path))
                                                 : std::generic_category().message(error);
    return;
  }
  if (::isatty(descriptor) == 0) {
    port.state = PortState::notSerial;
  } else if (::flock(descriptor, LOCK_EX | LOCK_NB) != 0) {
    port.state = PortState::inUse;
    port.detail = textOf(lockHolder(system, port.path));
  }
  ::close(descriptor);
}

}  // namespace

std::optional<std::string> portsVariable()
{
  const char* const text = std::getenv(environment::serialPorts.name);
  return text != nullptr ? std::optional<std::string>(text) : std::nullopt;
}

std::vector<Port> listPorts()
{
  std::vector<Port> ports = presentPorts(SystemTree("/"), portsVariable());
  for (Port& port : ports) {
    if (port.isDongle) tryToOpen(port);
  }
  return ports;
}

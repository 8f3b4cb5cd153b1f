// The far end of a port as the master of a pseudo terminal, in real time.

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <thread>

#include "serial/SerialPort.h"
#include "tests/support/SerialPeer.h"
#include "tests/support/TemporaryFolder.h"

struct SerialPeer::Impl {
  TemporaryFolder folder;
  int master = -1;
  pid_t occupant = -1;
  std::vector<std::jthread> actions;
};

SerialPeer::SerialPeer() : impl_(std::make_unique<Impl>())
{
  const std::string entry = "Bluegiga Bluetooth Low Energy (COM7)=" + (impl_->folder / "dongle").string();
  ::setenv("TESSEL_SERIAL_PORTS", entry.c_str(), 1);
  plugIn();
}

SerialPeer::~SerialPeer()
{
  impl_->actions.clear();
  vacate();
  if (impl_->master >= 0) unplug();
}

void SerialPeer::send(const Bytes& bytes)
{
  std::size_t sent = 0;
  while (sent < bytes.size()) {
    const ssize_t count = ::write(impl_->master, bytes.data() + sent, bytes.size() - sent);
    if (count <= 0) return;
    sent += static_cast<std::size_t>(count);
  }
}

SerialPeer::Bytes SerialPeer::receive(std::size_t count)
{
  Bytes bytes(count);
  std::size_t received = 0;
  pollfd wanted{.fd = impl_->master, .events = POLLIN, .revents = 0};
  while (received < count) {
    if (::poll(&wanted, 1, 5000) <= 0) break;
    const ssize_t got = ::read(impl_->master, bytes.data() + received, count - received);
    if (got <= 0) break;
    received += static_cast<std::size_t>(got);
  }
  bytes.resize(received);
  return bytes;
}

void SerialPeer::after(std::chrono::milliseconds delay, std::function<void()> action)
{
  impl_->actions.emplace_back([delay, action = std::move(action)] {
    std::this_thread::sleep_for(delay);
    action();
  });
}

void SerialPeer::unplug()
{
  std::filesystem::remove(impl_->folder / "dongle");
  ::close(impl_->master);
  impl_->master = -1;
}

void SerialPeer::plugIn()
{
  impl_->master = ::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
  ::grantpt(impl_->master);
  ::unlockpt(impl_->master);
  std::filesystem::create_symlink(::ptsname(impl_->master), impl_->folder / "dongle");
}

bool SerialPeer::occupy()
{
  int report[2] = {-1, -1};
  if (::pipe(report) != 0) return false;
  impl_->occupant = ::fork();
  if (impl_->occupant == 0) {
    platform::PortHandle port = platform::closedPort;
    const char opened = serialOpen("COM7", port) == OpenResult::done ? 1 : 0;
    if (::write(report[1], &opened, 1) != 1) ::_exit(1);
    for (;;) {
      ::pause();
    }
  }
  char opened = 0;
  const bool reported = ::read(report[0], &opened, 1) == 1;
  ::close(report[0]);
  ::close(report[1]);
  return reported && opened == 1;
}

void SerialPeer::vacate()
{
  if (impl_->occupant <= 0) return;
  ::kill(impl_->occupant, SIGKILL);
  ::waitpid(impl_->occupant, nullptr, 0);
  impl_->occupant = -1;
}

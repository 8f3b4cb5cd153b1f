#include "host/session/MarkerInput.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <termios.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <optional>
#include <string_view>
#include <system_error>
#include <thread>
#include <utility>

#include "host/base/System.h"
#include "host/base/posix/Repeated.h"
#include "host/session/posix/MarkerPipe.h"

namespace {

// While the terminal belongs to another program; nothing reports that it is this one's again.
constexpr int lookAgainMs = 1000;

class Descriptor {
 public:
  explicit Descriptor(int value = -1) : value_(value) {}
  ~Descriptor() { close(); }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;

  int get() const { return value_; }
  void close()
  {
    if (value_ >= 0) ::close(value_);
    value_ = -1;
  }

 private:
  int value_;
};

// Standard input's terminal, opened again: reading must never block, and O_NONBLOCK on standard input itself
// would be seen by all processes that share it. -1 unless standard input is the controlling terminal.
int openTerminal()
{
  if (::tcgetpgrp(STDIN_FILENO) < 0) return -1;
  return host::repeated([] { return ::open("/dev/tty", O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC); });
}

enum class Owner { self, other, nobody };

// Who may read the terminal now. In a pipeline, a pager reads the same terminal, but not by lines.
Owner ownerOf(int terminal)
{
  termios settings{};
  const pid_t foreground = ::tcgetpgrp(terminal);
  if (foreground < 0 || ::tcgetattr(terminal, &settings) != 0) return Owner::nobody;
  const bool isByLines = (settings.c_lflag & ICANON) != 0;
  return isByLines && foreground == ::getpgrp() ? Owner::self : Owner::other;
}

}  // namespace

struct MarkerInput::Reader {
  Reader(MarkerQueue& markers, const std::filesystem::path& path, LineTaker typed)
      : fifo(path),
        end(::eventfd(0, EFD_CLOEXEC)),
        fifoLines(markersInto(markers)),
        terminalLines(std::move(typed))
  {
    if (end.get() < 0) throw std::system_error(errno, std::generic_category(), "eventfd");
    if (terminal.get() < 0 && fifo.descriptor() < 0) return;
    thread = host::threadWithoutSignals([this] { run(); });
  }

  ~Reader()
  {
    if (!thread.joinable()) return;
    ::eventfd_write(end.get(), 1);
    thread.join();
  }

  Reader(const Reader&) = delete;
  Reader& operator=(const Reader&) = delete;

 private:
  void run()
  {
    for (bool isOver = false; !isOver;) {
      const Owner owner = terminal.get() < 0 ? Owner::nobody : ownerOf(terminal.get());
      if (owner == Owner::nobody) terminal.close();
      std::array wanted{
          pollfd{.fd = owner == Owner::self ? terminal.get() : -1, .events = POLLIN, .revents = 0},
          pollfd{.fd = fifo.descriptor(), .events = POLLIN, .revents = 0},
          pollfd{.fd = end.get(), .events = POLLIN, .revents = 0},
      };
      ::poll(wanted.data(), wanted.size(), owner == Owner::other ? lookAgainMs : -1);
      const auto now = host::uptime();
      if (wanted[0].revents != 0) readTerminal(now);
      if (wanted[1].revents != 0) fifoLines.add(now, read(fifo.descriptor()).value_or(""));
      isOver = wanted[2].revents != 0;
    }
    fifoLines.finish(host::uptime());
  }

  void readTerminal(std::chrono::nanoseconds now)
  {
    // Since the poll it may have become another program's.
    if (ownerOf(terminal.get()) == Owner::other) return;
    const auto bytes = read(terminal.get());
    if (bytes) terminalLines.add(now, *bytes);
    // Ctrl-D, or a terminal that was closed.
    const bool isAtEnd = bytes ? bytes->empty() : errno != EAGAIN && ownerOf(terminal.get()) != Owner::other;
    if (isAtEnd) terminal.close();
  }

  // Empty at the end; nothing if errno has a reason.
  std::optional<std::string_view> read(int descriptor)
  {
    const ssize_t count = ::read(descriptor, buffer.data(), buffer.size());
    if (count < 0) return std::nullopt;
    return std::string_view(buffer.data(), static_cast<std::size_t>(count));
  }

  MarkerPipe fifo;
  Descriptor end;
  Descriptor terminal{openTerminal()};
  MarkerLines fifoLines;
  MarkerLines terminalLines;
  std::array<char, 65536> buffer{};  // all that a FIFO usually holds
  std::thread thread;
};

MarkerInput::MarkerInput(MarkerQueue& markers, const std::filesystem::path& fifo, LineTaker typed)
    : reader_(std::make_unique<Reader>(markers, fifo, typed ? std::move(typed) : markersInto(markers)))
{
}

MarkerInput::~MarkerInput() = default;

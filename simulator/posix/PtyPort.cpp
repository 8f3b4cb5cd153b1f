#include "simulator/PtyPort.h"

#include <fcntl.h>
#include <poll.h>
#include <stdlib.h>
#include <sys/file.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <ctime>
#include <system_error>
#include <utility>

namespace simulator {

namespace {

using std::chrono::duration_cast;
using std::chrono::steady_clock;

// Beyond this, messages to a host that does not read are lost, as with a real dongle.
constexpr std::size_t maxWaiting = 1'000'000;

// The host's writes and the stop flag are checked at least this often.
constexpr std::chrono::milliseconds maxWait{5};

[[noreturn]] void fail(const char* what)
{
  throw std::system_error(errno, std::generic_category(), what);
}

}  // namespace

PtyPort::PtyPort(VirtualClock& clock, SerialDevice& device, std::filesystem::path path)
    : clock_(clock), device_(device), path_(std::move(path))
{
  device_.onSend = [this](std::span<const std::uint8_t> message) { send(message); };
  device_.onPresence = [this](bool isPresent) { isPresent ? plugIn() : unplug(); };
  plugIn();
}

PtyPort::~PtyPort()
{
  device_.onSend = nullptr;
  device_.onPresence = nullptr;
  unplug();
}

bool PtyPort::isServed(const std::filesystem::path& path)
{
  const int terminal = ::open(path.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
  if (terminal < 0) return false;
  ::close(terminal);
  return true;
}

void PtyPort::plugIn()
{
  master_ = ::posix_openpt(O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
  if (master_ < 0 || ::grantpt(master_) != 0 || ::unlockpt(master_) != 0) fail("no pseudo terminal");
  terminal_ = ::ptsname(master_);
  slave_ = ::open(terminal_.c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC);
  termios settings{};
  if (slave_ < 0 || ::tcgetattr(slave_, &settings) != 0) fail("no pseudo terminal");
  ::cfmakeraw(&settings);
  ::tcsetattr(slave_, TCSANOW, &settings);
  claim();
  // A link of an earlier simulation; a file that somebody put there while it was unplugged stays.
  std::error_code ignored;
  if (std::filesystem::is_symlink(path_, ignored)) std::filesystem::remove(path_, ignored);
  std::filesystem::create_symlink(terminal_, path_);
}

void PtyPort::unplug()
{
  if (master_ < 0) return;
  // Another simulation may have replaced the path.
  std::error_code ignored;
  if (std::filesystem::read_symlink(path_, ignored) == terminal_) std::filesystem::remove(path_, ignored);
  waiting_.clear();
  ::close(slave_);
  ::close(master_);
  slave_ = master_ = -1;
  isClaimed_ = false;
}

void PtyPort::holdPort(bool hold)
{
  isHeld_ = hold;
  if (!hold && std::exchange(isClaimed_, false)) ::flock(slave_, LOCK_UN);
  claim();
}

void PtyPort::claim()
{
  if (isHeld_ && !isClaimed_ && slave_ >= 0) isClaimed_ = ::flock(slave_, LOCK_EX | LOCK_NB) == 0;
}

void PtyPort::send(std::span<const std::uint8_t> message)
{
  if (waiting_.size() + message.size() > maxWaiting) return;
  waiting_.insert(waiting_.end(), message.begin(), message.end());
  flush();
}

void PtyPort::flush()
{
  if (master_ < 0 || waiting_.empty()) return;
  const ssize_t taken = ::write(master_, waiting_.data(), waiting_.size());
  if (taken > 0) waiting_.erase(waiting_.begin(), waiting_.begin() + taken);
}

void PtyPort::receive()
{
  std::array<std::uint8_t, 4096> bytes{};
  while (master_ >= 0) {
    const ssize_t got = ::read(master_, bytes.data(), bytes.size());
    if (got <= 0) return;
    device_.receive(std::span(bytes).first(static_cast<std::size_t>(got)));
  }
}

void PtyPort::wait(std::chrono::nanoseconds limit) const
{
  const auto duration = std::clamp<std::chrono::nanoseconds>(limit, {}, maxWait);
  const timespec timeout{.tv_sec = 0, .tv_nsec = duration.count()};
  pollfd terminal{.fd = master_, .events = POLLIN, .revents = 0};
  ::ppoll(&terminal, 1, &timeout, nullptr);
}

void PtyPort::run(const std::atomic<bool>& stop, double speed)
{
  using Duration = VirtualClock::Duration;
  using Seconds = std::chrono::duration<double>;
  const auto realStart = steady_clock::now();
  const auto start = clock_.now();
  while (!stop) {
    const Seconds real = steady_clock::now() - realStart;
    const auto target = start + duration_cast<Duration>(real * speed);
    clock_.advance(std::max(target - clock_.now(), Duration{0}));
    claim();
    flush();
    receive();
    const auto next = clock_.next();
    wait(next ? duration_cast<std::chrono::nanoseconds>(Seconds(*next - target) / speed) : maxWait);
  }
}

}  // namespace simulator

#include <fcntl.h>
#include <gtest/gtest.h>
#include <pty.h>
#include <signal.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <ctime>
#include <fstream>
#include <functional>
#include <thread>

#include "host/base/Failure.h"
#include "host/base/System.h"
#include "host/session/MarkerInput.h"
#include "tests/support/TemporaryFolder.h"

namespace {

using namespace std::chrono_literals;

// All texts, each followed by a semicolon, once there are as many markers.
std::string wait(MarkerQueue& queue, std::size_t count)
{
  std::string texts;
  const auto limit = host::uptime() + 10s;
  for (std::size_t taken = 0; taken < count && host::uptime() < limit;) {
    for (const Marker& marker : queue.take(100'000)) {
      texts += marker.text + ';';
      ++taken;
    }
    std::this_thread::sleep_for(1ms);
  }
  return texts;
}

void write(int descriptor, const std::string& text)
{
  if (::write(descriptor, text.data(), text.size()) != static_cast<ssize_t>(text.size())) ::_exit(1);
}

std::string read(int descriptor)
{
  std::string text(1000, '\0');
  const ssize_t count = ::read(descriptor, text.data(), text.size());
  return text.substr(0, count > 0 ? static_cast<std::size_t>(count) : 0);
}

// The result of an action in a process whose standard input is its controlling terminal; `master` is its
// other end.
std::string onTerminal(const std::function<std::string(int master)>& action)
{
  int result[2] = {-1, -1};
  if (::pipe(result) != 0) return "no pipe";
  const pid_t child = ::fork();
  if (child == 0) {
    int master = -1;
    int terminal = -1;
    ::signal(SIGHUP, SIG_IGN);
    ::signal(SIGTTOU, SIG_IGN);
    ::setsid();
    if (::openpty(&master, &terminal, nullptr, nullptr, nullptr) != 0) ::_exit(1);
    if (::ioctl(terminal, TIOCSCTTY, 0) != 0) ::_exit(1);
    ::dup2(terminal, STDIN_FILENO);
    ::close(terminal);
    write(result[1], action(master));
    ::_exit(0);
  }
  ::close(result[1]);
  std::string text = read(result[0]);
  ::close(result[0]);
  ::waitpid(child, nullptr, 0);
  return text;
}

std::chrono::milliseconds cpuTime()
{
  return std::chrono::milliseconds(std::clock() * 1000 / CLOCKS_PER_SEC);
}

TEST(MarkerInput, ReadsItsTerminalOnlyInTheForegroundAndByLines)
{
  EXPECT_EQ(onTerminal([](int master) {
              MarkerQueue queue;
              const MarkerInput input(queue, "");
              write(master, "grasp\n\n");
              std::string texts = wait(queue, 2);
              // A pager takes keys.
              termios settings{};
              ::tcgetattr(STDIN_FILENO, &settings);
              const termios byLines = settings;
              settings.c_lflag &= ~static_cast<tcflag_t>(ICANON);
              ::tcsetattr(STDIN_FILENO, TCSANOW, &settings);
              write(master, "key\n");
              std::this_thread::sleep_for(50ms);
              texts += "pager: " + read(STDIN_FILENO);
              ::tcsetattr(STDIN_FILENO, TCSANOW, &byLines);
              // In the background, then in the foreground again.
              const pid_t other = ::fork();
              if (other == 0) {
                for (;;)
                  ::pause();
              }
              ::setpgid(other, other);
              ::tcsetpgrp(STDIN_FILENO, other);
              write(master, "back\n");
              std::this_thread::sleep_for(1100ms);
              texts += "background: " + wait(queue, 0) + (queue.take(100'000).empty() ? "none" : "read");
              ::tcsetpgrp(STDIN_FILENO, ::getpgrp());
              texts += " foreground: " + wait(queue, 1);
              ::kill(other, SIGKILL);
              // Ctrl-D ends the input.
              write(master, "\x04");
              std::this_thread::sleep_for(50ms);
              write(master, "rest\n");
              return texts + " rest: " + read(STDIN_FILENO);
            }),
            "grasp;marker 2;pager: key\nbackground: none foreground: back; rest: rest\n");
}

TEST(MarkerInput, PassesTypedLinesToWhoWantsThemInsteadOfMarkers)
{
  EXPECT_EQ(onTerminal([](int master) {
              MarkerQueue queue;
              MarkerQueue typed;
              const MarkerInput input(queue, "", markersInto(typed));
              write(master, "drop left\n");
              return wait(typed, 1) + (queue.take(1).empty() ? "no marker" : "a marker");
            }),
            "drop left;no marker");
}

TEST(MarkerInput, NeedsNoTimeWhileItWaitsOrWhenItsTerminalWasClosed)
{
  EXPECT_EQ(onTerminal([](int master) {
              MarkerQueue queue;
              const auto before = cpuTime();
              {
                const MarkerInput input(queue, "");
                std::this_thread::sleep_for(100ms);
                ::close(master);
                std::this_thread::sleep_for(100ms);
              }
              return cpuTime() - before < 20ms ? "idle" : "busy";
            }),
            "idle");
}

TEST(MarkerInput, LeavesAStandardInputThatIsNoTerminal)
{
  EXPECT_EQ(onTerminal([](int) {
              int ends[2] = {-1, -1};
              if (::pipe(ends) != 0) return std::string("no pipe");
              write(ends[1], "data\n");
              ::dup2(ends[0], STDIN_FILENO);
              MarkerQueue queue;
              const MarkerInput input(queue, "");
              std::this_thread::sleep_for(50ms);
              return read(STDIN_FILENO);
            }),
            "data\n");
}

TEST(MarkerInput, ReadsAFifoOfManyWritersAndRemovesIt)
{
  const TemporaryFolder folder;
  const auto path = folder / "markers";
  // Of a killed run.
  ASSERT_EQ(::mkfifo(path.c_str(), 0600), 0);
  MarkerQueue queue;
  {
    const MarkerInput input(queue, path);
    std::ofstream(path) << "first\n";
    EXPECT_EQ(wait(queue, 1), "first;");
    std::ofstream(path) << "second\n" << std::string(1'000'000, '\xFF') << "\nthird\n";
    EXPECT_EQ(wait(queue, 3).size(), sizeof "second;" - 1 + 1000 + sizeof ";third;" - 1);
    EXPECT_THROW(MarkerInput(queue, path), Failure) << "of another run";
    std::ofstream(path) << "last";
  }
  EXPECT_EQ(wait(queue, 1), "last;");
  EXPECT_EQ(folder.list(), "");
  const MarkerInput input(queue, path);
  struct stat status {};
  ::stat(path.c_str(), &status);
  EXPECT_EQ(status.st_mode & 0777U, 0600U);
}

}  // namespace

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <functional>
#include <thread>

#include "host/base/System.h"
#include "library/Process.h"
#include "library/include/tessel.h"

namespace {

namespace process = library::process;

// The exit code of a child that does this.
int exitCodeOf(const std::function<int()>& child)
{
  const pid_t id = ::fork();
  if (id == 0) ::_exit(child());
  int status = 0;
  ::waitpid(id, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

bool isBlocked(int signal)
{
  sigset_t blocked;
  ::pthread_sigmask(SIG_SETMASK, nullptr, &blocked);
  return ::sigismember(&blocked, signal) == 1;
}

TEST(Process, NothingIsDoneInAForkedChild)
{
  EXPECT_FALSE(process::isForked());
  EXPECT_EQ(exitCodeOf([] {
              tessel_recording recording = 0;
              const bool isRefused = tessel_ports(nullptr, 0, nullptr) == TESSEL_ERROR_FORKED &&
                                     tessel_open_recording("/", &recording) == TESSEL_ERROR_FORKED &&
                                     tessel_create(nullptr, &recording) == TESSEL_ERROR_FORKED &&
                                     tessel_close(1) == TESSEL_ERROR_FORKED &&
                                     std::string(tessel_error_text()).find("child") != std::string::npos;
              return isRefused && std::string(tessel_version()) == TESSEL_VERSION ? 3 : 4;
            }),
            3);
  EXPECT_EQ(exitCodeOf([]() -> int {
              process::atExit([] { ::_exit(4); });
              std::exit(3);
            }),
            3);
}

TEST(Process, KnowsItsFolder)
{
  EXPECT_EQ(process::ownFolder(), host::programFolder());
  process::pin();
}

TEST(Process, ThreadsStartedMeanwhileGetNoSignals)
{
  {
    const process::SignalsBlocked blocked;
    std::thread([] {
      for (const int signal : {SIGINT, SIGTERM, SIGCHLD, SIGPROF, SIGUSR1, SIGRTMIN}) {
        EXPECT_TRUE(isBlocked(signal)) << signal;
      }
      for (const int signal : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT}) {
        EXPECT_FALSE(isBlocked(signal)) << signal;
      }
    }).join();
  }
  EXPECT_FALSE(isBlocked(SIGINT));
}

}  // namespace

#include "bench/plugin/Processes.h"

#include <fmt/format.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <memory>
#include <new>
#include <stdexcept>
#include <system_error>

namespace {

constexpr unsigned maxSeconds = 60;  // of a run; enough for the slowest opening and pace
constexpr std::array interrupts{SIGINT, SIGTERM, SIGHUP};
constexpr std::array names{"writer", "reader"};

volatile std::sig_atomic_t isInterrupted = 0;

[[noreturn]] void runChild(const std::function<void()>& work, std::array<char, 400>& failure)
{
  for (const int signal : interrupts) {
    ::signal(signal, SIG_DFL);
  }
  ::prctl(PR_SET_PDEATHSIG, SIGKILL);
  ::alarm(maxSeconds);
  try {
    work();
    ::_exit(0);
  } catch (const std::exception& reason) {
    std::snprintf(failure.data(), failure.size(), "%s", reason.what());
  }
  ::_exit(1);
}

// Kills running children when it is destroyed.
class Children {
 public:
  ~Children()
  {
    for (const pid_t child : pids_) {
      if (child <= 0) continue;
      ::kill(child, SIGKILL);
      while (::waitpid(child, nullptr, 0) < 0 && errno == EINTR) {
      }
    }
  }

  void start(std::size_t index, const std::function<void()>& work, Run& run)
  {
    const pid_t child = ::fork();
    if (child < 0) throw std::system_error(errno, std::generic_category(), "can't start a process");
    if (child == 0) runChild(work, run.failures.at(index));
    pids_.at(index) = child;
  }

  void waitForOne(const Run& run)
  {
    int status = 0;
    const pid_t ended = ::wait(&status);
    if (isInterrupted != 0) throw std::runtime_error("interrupted");
    const auto found = std::find(pids_.begin(), pids_.end(), ended);
    if (ended < 0 || found == pids_.end()) return;
    const auto index = static_cast<std::size_t>(found - pids_.begin());
    *found = 0;
    if (WIFEXITED(status) && WEXITSTATUS(status) == 0) return;
    if (!WIFSIGNALED(status))
      throw std::runtime_error(fmt::format("the {}: {}", names.at(index), run.failures.at(index).data()));
    if (WTERMSIG(status) == SIGALRM)
      throw std::runtime_error(fmt::format("the {} did not end in {} s", names.at(index), maxSeconds));
    throw std::runtime_error(fmt::format("the {} was ended by signal {}", names.at(index), WTERMSIG(status)));
  }

  bool areDone() const
  {
    return std::all_of(pids_.begin(), pids_.end(), [](pid_t child) { return child == 0; });
  }

 private:
  std::array<pid_t, 2> pids_{};
};

}  // namespace

SharedRun::SharedRun()
{
  void* const memory =
      ::mmap(nullptr, sizeof(Run), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  if (memory == MAP_FAILED)
    throw std::system_error(errno, std::generic_category(), "can't create shared memory");
  run_ = new (memory) Run;
}

SharedRun::~SharedRun()
{
  std::destroy_at(run_);
  ::munmap(run_, sizeof(Run));
}

void catchInterrupts()
{
  struct sigaction action {};
  action.sa_handler = [](int) { isInterrupted = 1; };  // without SA_RESTART, so that a wait ends
  for (const int signal : interrupts) {
    ::sigaction(signal, &action, nullptr);
  }
}

void runProcesses(Run& run, const std::function<void()>& writer, const std::function<void()>& reader)
{
  std::fflush(nullptr);  // otherwise the children would print buffered output again
  Children children;
  children.start(0, writer, run);
  children.start(1, reader, run);
  while (!children.areDone()) {
    children.waitForOne(run);
  }
}

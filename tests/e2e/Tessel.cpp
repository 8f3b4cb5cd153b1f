#include "tests/e2e/Tessel.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <thread>

using namespace std::chrono_literals;

Tessel::Tessel(const TemporaryFolder& folder, std::vector<std::string> arguments,
               std::vector<std::string> command)
    : folder_(folder)
{
  command.insert(command.end(), arguments.begin(), arguments.end());
  std::vector<char*> words;
  words.reserve(command.size() + 1);
  for (std::string& word : command) {
    words.push_back(word.data());
  }
  words.push_back(nullptr);
  folder.write("stdout", "");
  folder.write("stderr", "");
  process_ = ::fork();
  if (process_ != 0) return;
  // Ends with the tests, even if they are killed.
  ::prctl(PR_SET_PDEATHSIG, SIGKILL);
  // However the tests were started: a shell lets its background processes ignore SIGINT, and nohup SIGHUP.
  for (const int stopRequest : {SIGINT, SIGTERM, SIGHUP}) {
    ::signal(stopRequest, SIG_DFL);
  }
  if (::chdir(folder.path().c_str()) != 0) ::_exit(126);
  ::dup2(::open("stdout", O_WRONLY | O_APPEND), STDOUT_FILENO);
  ::dup2(::open("stderr", O_WRONLY | O_APPEND), STDERR_FILENO);
  ::execvp(words[0], words.data());
  ::_exit(127);
}

Tessel::~Tessel()
{
  if (hasEnded()) return;
  signal(SIGKILL);
  ::waitpid(process_, &status_, 0);
}

void Tessel::signal(int number) const
{
  ::kill(process_, number);
}

bool Tessel::hasEnded()
{
  if (!ended_) ended_ = ::waitpid(process_, &status_, WNOHANG) == process_;
  return ended_;
}

void Tessel::waitUntil(const std::function<bool()>& condition)
{
  const auto deadline = std::chrono::steady_clock::now() + 60s;
  while (!hasEnded() && !condition()) {
    if (std::chrono::steady_clock::now() > deadline) {
      ADD_FAILURE() << "waited a minute for tessel: " << folder_.read("stderr");
      return;
    }
    std::this_thread::sleep_for(10ms);
  }
}

Tessel::Result Tessel::result()
{
  waitUntil([] { return false; });
  const int code = WIFEXITED(status_) ? WEXITSTATUS(status_) : 128 + WTERMSIG(status_);
  return {code, output(), folder_.read("stderr")};
}

std::vector<std::string> words(const std::string& line)
{
  std::vector<std::string> all;
  for (std::size_t begin = 0; begin <= line.size();) {
    const std::size_t end = std::min(line.find(' ', begin), line.size());
    all.push_back(line.substr(begin, end - begin));
    begin = end + 1;
  }
  return all;
}

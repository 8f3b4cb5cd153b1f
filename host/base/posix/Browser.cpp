#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>

#include <array>
#include <cstdlib>

#include "host/base/System.h"

extern char** environ;

namespace host {

bool openInBrowser(const std::string& url)
{
  // Without a desktop there would at best be a browser for a terminal, which would take this one.
  if (std::getenv("DISPLAY") == nullptr && std::getenv("WAYLAND_DISPLAY") == nullptr &&
      std::getenv("BROWSER") == nullptr) {
    return false;
  }
  // The shell returns at once, and what it started becomes a child of the system.
  std::string shell = "sh";
  std::string option = "-c";
  std::string script =
      "command -v xdg-open || exit 1\n"
      "xdg-open \"$1\" &";
  std::string address = url;
  const std::array<char*, 6> arguments{shell.data(), option.data(),  script.data(),
                                       shell.data(), address.data(), nullptr};

  posix_spawn_file_actions_t files;
  posix_spawnattr_t attributes;
  ::posix_spawn_file_actions_init(&files);
  ::posix_spawnattr_init(&attributes);
  ::posix_spawn_file_actions_addopen(&files, 0, "/dev/null", O_RDWR, 0);
  ::posix_spawn_file_actions_adddup2(&files, 0, 1);
  ::posix_spawn_file_actions_adddup2(&files, 0, 2);
  // Ctrl-C ends this program only, and the browser must not inherit what this program does with signals.
  sigset_t none{};
  sigset_t all{};
  ::sigemptyset(&none);
  ::sigfillset(&all);
  ::posix_spawnattr_setsigmask(&attributes, &none);
  ::posix_spawnattr_setsigdefault(&attributes, &all);
  ::posix_spawnattr_setflags(&attributes,
                             POSIX_SPAWN_SETSID | POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
  pid_t process = 0;
  const bool isStarted = ::posix_spawnp(&process, "sh", &files, &attributes, arguments.data(), environ) == 0;
  ::posix_spawnattr_destroy(&attributes);
  ::posix_spawn_file_actions_destroy(&files);
  int status = 0;
  return isStarted && ::waitpid(process, &status, 0) == process && WIFEXITED(status) &&
         WEXITSTATUS(status) == 0;
}

}  // namespace host

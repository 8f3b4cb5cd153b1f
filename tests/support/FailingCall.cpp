#include "tests/support/FailingCall.h"

#include <fcntl.h>
#include <linux/audit.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <poll.h>
#include <signal.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <filesystem>
#include <optional>
#include <system_error>
#include <thread>
#include <tuple>

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

namespace {

// Where a call has its path: in the descriptor or the text of this argument, in a text that is relative to
// the folder of the argument before, in the first descriptor of a poll, or nowhere.
enum class At { descriptor, text, textInFolder, polled, nowhere };

struct Call {
  int number;
  const char* family;
  At at;
  unsigned argument;
};

constexpr Call calls[] = {
    {SYS_openat, "open", At::textInFolder, 1},
    {SYS_read, "read", At::descriptor, 0},
    {SYS_pread64, "read", At::descriptor, 0},
    {SYS_readv, "read", At::descriptor, 0},
    {SYS_write, "write", At::descriptor, 0},
    {SYS_pwrite64, "write", At::descriptor, 0},
    {SYS_writev, "write", At::descriptor, 0},
    {SYS_close, "close", At::descriptor, 0},
    {SYS_fsync, "fsync", At::descriptor, 0},
    {SYS_fdatasync, "fsync", At::descriptor, 0},
    {SYS_ftruncate, "truncate", At::descriptor, 0},
    {SYS_truncate, "truncate", At::text, 0},
    {SYS_lseek, "seek", At::descriptor, 0},
    {SYS_flock, "flock", At::descriptor, 0},
    {SYS_ioctl, "ioctl", At::descriptor, 0},
    {SYS_getdents64, "list", At::descriptor, 0},
    {SYS_newfstatat, "stat", At::textInFolder, 1},
    {SYS_fstat, "stat", At::descriptor, 0},
    {SYS_statx, "stat", At::textInFolder, 1},
    {SYS_faccessat, "stat", At::textInFolder, 1},
    {SYS_readlinkat, "readlink", At::textInFolder, 1},
    {SYS_renameat, "rename", At::textInFolder, 1},
    {SYS_renameat2, "rename", At::textInFolder, 1},
    {SYS_mkdirat, "mkdir", At::textInFolder, 1},
    {SYS_mknodat, "mkfifo", At::textInFolder, 1},
    {SYS_unlinkat, "unlink", At::textInFolder, 1},
    {SYS_symlinkat, "link", At::textInFolder, 2},
    {SYS_linkat, "link", At::textInFolder, 3},
    {SYS_fchmod, "chmod", At::descriptor, 0},
    {SYS_fchmodat, "chmod", At::textInFolder, 1},
    {SYS_ppoll, "poll", At::polled, 0},
    {SYS_eventfd2, "eventfd", At::nowhere, 0},
    {SYS_pipe2, "pipe", At::nowhere, 0},
    {SYS_exit_group, "exit", At::nowhere, 0},
#ifdef SYS_open  // not of newer processors
    {SYS_open, "open", At::text, 0},
    {SYS_stat, "stat", At::text, 0},
    {SYS_lstat, "stat", At::text, 0},
    {SYS_access, "stat", At::text, 0},
    {SYS_readlink, "readlink", At::text, 0},
    {SYS_rename, "rename", At::text, 0},
    {SYS_mkdir, "mkdir", At::text, 0},
    {SYS_mknod, "mkfifo", At::text, 0},
    {SYS_unlink, "unlink", At::text, 0},
    {SYS_rmdir, "unlink", At::text, 0},
    {SYS_symlink, "link", At::text, 1},
    {SYS_link, "link", At::text, 1},
    {SYS_chmod, "chmod", At::text, 0},
    {SYS_poll, "poll", At::polled, 0},
#endif
};

// From now on the kernel stops these calls of the thread, and of all processes and threads that it starts,
// until the one at the returned descriptor has answered. -1 with errno where it can't.
int stopCalls()
{
  std::vector<sock_filter> filter;
  filter.push_back(BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)));
  for (const Call& call : calls) {
    filter.push_back(BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, static_cast<unsigned>(call.number), 0, 1));
    filter.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_USER_NOTIF));
  }
  filter.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW));
  const sock_fprog program{static_cast<unsigned short>(filter.size()), filter.data()};
  ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);
  // A signal that arrives meanwhile must not repeat a call that has been counted.
  constexpr unsigned flags = SECCOMP_FILTER_FLAG_NEW_LISTENER | SECCOMP_FILTER_FLAG_WAIT_KILLABLE_RECV;
  return static_cast<int>(::syscall(SYS_seccomp, SECCOMP_SET_MODE_FILTER, flags, &program));
}

class Watch {
 public:
  Watch(const CallFault& fault, const PathTest& isOfInterest, pid_t process)
      : fault_(fault), isOfInterest_(isOfInterest), pidfd_(pidfdOf(process))
  {
  }
  ~Watch() { ::close(pidfd_); }
  Watch(const Watch&) = delete;
  Watch& operator=(const Watch&) = delete;

  // The listener as this process's own.
  int listenerAt(int descriptor) const { return descriptorAt(descriptor); }

  // Until what is watched has ended. False when the time is over.
  bool serve(int listener, std::optional<Clock::time_point> deadline)
  {
    for (;;) {
      std::array wanted{pollfd{.fd = listener, .events = POLLIN, .revents = 0},
                        pollfd{.fd = pidfd_, .events = POLLIN, .revents = 0}};
      const auto left =
          deadline ? std::chrono::ceil<std::chrono::milliseconds>(*deadline - Clock::now()).count() : -1;
      if (deadline && left <= 0) return false;
      if (::poll(wanted.data(), wanted.size(), static_cast<int>(left)) <= 0) continue;
      if ((wanted[0].revents & POLLIN) == 0) return true;
      seccomp_notif stopped{};
      if (::ioctl(listener, SECCOMP_IOCTL_NOTIF_RECV, &stopped) != 0) continue;  // it was killed
      seccomp_notif_resp answer{.id = stopped.id, .val = 0, .error = 0, .flags = 0};
      decide(listener, stopped, answer);
      ::ioctl(listener, SECCOMP_IOCTL_NOTIF_SEND, &answer);
    }
  }

  WatchedRun run;

 private:
  static int pidfdOf(pid_t process) { return static_cast<int>(::syscall(SYS_pidfd_open, process, 0)); }
  int descriptorAt(int theirs) const
  {
    return static_cast<int>(::syscall(SYS_pidfd_getfd, pidfd_, theirs, 0));
  }

  void decide(int listener, const seccomp_notif& stopped, seccomp_notif_resp& answer)
  {
    answer.flags = SECCOMP_USER_NOTIF_FLAG_CONTINUE;
    const Call& call = *std::ranges::find(calls, stopped.data.nr, &Call::number);
    if (call.number == SYS_exit_group) return findLeaks(stopped.pid);
    const std::string path = pathOf(call, stopped);
    if (!isOfInterest_(path)) return;
    const bool isIt = ++run.calls[call.family] == fault_.number && fault_.call == call.family;
    if (!isIt) return;
    run.failed = path.empty() ? "-" : path;
    answer.flags = 0;
    answer.error = -fault_.error;
    if (fault_.error == 0) {
      const ssize_t moved = moveHalf(stopped);
      answer.error = moved < 0 ? -errno : 0;
      answer.val = std::max<ssize_t>(moved, 0);
    } else if (call.number == SYS_close) {
      closeTheirs(listener, stopped);
    }
  }

  // Whatever the error is, the kernel closes the file. Something else gets its descriptor, which the program
  // forgets.
  static void closeTheirs(int listener, const seccomp_notif& stopped)
  {
    const int nothing = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
    seccomp_notif_addfd replacement{.id = stopped.id,
                                    .flags = SECCOMP_ADDFD_FLAG_SETFD,
                                    .srcfd = static_cast<unsigned>(nothing),
                                    .newfd = static_cast<unsigned>(stopped.data.args[0]),
                                    .newfd_flags = O_CLOEXEC};
    ::ioctl(listener, SECCOMP_IOCTL_NOTIF_ADDFD, &replacement);
    ::close(nothing);
  }

  // In place of the program.
  ssize_t moveHalf(const seccomp_notif& stopped) const
  {
    const auto& [file, memory, count, offset] =
        std::tie(stopped.data.args[0], stopped.data.args[1], stopped.data.args[2], stopped.data.args[3]);
    std::vector<iovec> theirs{{pointer(memory), count}};
    if (stopped.data.nr == SYS_writev || stopped.data.nr == SYS_readv) {
      theirs.resize(count);
      read(stopped.pid, memory, theirs.data(), count * sizeof(iovec));
    }
    std::size_t whole = 0;
    for (const iovec& piece : theirs) {
      whole += piece.iov_len;
    }
    std::vector<char> bytes((whole + 1) / 2);
    const iovec ours{bytes.data(), bytes.size()};
    const int descriptor = descriptorAt(static_cast<int>(file));
    ssize_t moved = -1;
    if (std::ranges::find(calls, stopped.data.nr, &Call::number)->family == std::string("write")) {
      ::process_vm_readv(task(stopped), &ours, 1, theirs.data(), theirs.size(), 0);
      moved = stopped.data.nr == SYS_pwrite64
                  ? ::pwrite(descriptor, bytes.data(), bytes.size(), static_cast<off_t>(offset))
                  : ::write(descriptor, bytes.data(), bytes.size());
    } else {
      moved = stopped.data.nr == SYS_pread64
                  ? ::pread(descriptor, bytes.data(), bytes.size(), static_cast<off_t>(offset))
                  : ::read(descriptor, bytes.data(), bytes.size());
      const iovec got{bytes.data(), static_cast<std::size_t>(std::max<ssize_t>(moved, 0))};
      ::process_vm_writev(task(stopped), &got, 1, theirs.data(), theirs.size(), 0);
    }
    const int error = errno;
    ::close(descriptor);
    errno = error;
    return moved;
  }

  static void* pointer(std::uint64_t address) { return reinterpret_cast<void*>(address); }  // NOLINT
  static pid_t task(const seccomp_notif& stopped) { return static_cast<pid_t>(stopped.pid); }

  static std::size_t read(std::uint32_t task, std::uint64_t from, void* to, std::size_t count)
  {
    const iovec here{to, count};
    const iovec there{pointer(from), count};
    return static_cast<std::size_t>(
        std::max<ssize_t>(::process_vm_readv(static_cast<pid_t>(task), &here, 1, &there, 1, 0), 0));
  }

  static std::string textAt(std::uint32_t task, std::uint64_t address)
  {
    constexpr std::size_t step = 64;  // never beyond its page
    std::string text;
    for (;;) {
      std::array<char, step> piece{};
      const std::size_t count = read(task, address, piece.data(), step - address % step);
      const auto end = std::find(piece.begin(), piece.begin() + static_cast<std::ptrdiff_t>(count), '\0');
      text.append(piece.begin(), end);
      if (count == 0 || end != piece.begin() + static_cast<std::ptrdiff_t>(count)) return text;
      address += count;
    }
  }

  static fs::path linkOf(std::uint32_t task, const std::string& name)
  {
    std::error_code ignored;
    return fs::read_symlink("/proc/" + std::to_string(task) + "/" + name, ignored);
  }

  static fs::path descriptorPath(std::uint32_t task, std::uint64_t descriptor)
  {
    const int number = static_cast<int>(descriptor);
    return number == AT_FDCWD ? linkOf(task, "cwd") : linkOf(task, "fd/" + std::to_string(number));
  }

  static std::string pathOf(const Call& call, const seccomp_notif& stopped)
  {
    const auto& arguments = stopped.data.args;
    const std::uint64_t own = arguments[call.argument];
    switch (call.at) {
      case At::descriptor:
        return descriptorPath(stopped.pid, own);
      case At::text:
        return linkOf(stopped.pid, "cwd") / textAt(stopped.pid, own);
      case At::textInFolder: {
        const fs::path folder = descriptorPath(stopped.pid, arguments[call.argument - 1]);
        const std::string text = textAt(stopped.pid, own);
        return text.empty() ? folder : folder / text;
      }
      case At::polled: {
        pollfd first{};
        if (arguments[1] > 0) read(stopped.pid, own, &first, sizeof first);
        return arguments[1] > 0 ? descriptorPath(stopped.pid, static_cast<std::uint64_t>(first.fd))
                                : fs::path();
      }
      case At::nowhere:
        break;
    }
    return {};
  }

  void findLeaks(std::uint32_t task)
  {
    for (const auto& entry : fs::directory_iterator("/proc/" + std::to_string(task) + "/fd")) {
      const bool isStream = entry.path().filename().string().size() == 1 && entry.path().filename() < "3";
      const std::string path = linkOf(task, "fd/" + entry.path().filename().string());
      if (!isStream && isOfInterest_(path)) run.leaks.push_back(path);
    }
  }

  const CallFault& fault_;
  const PathTest& isOfInterest_;
  const int pidfd_;
};

[[noreturn]] void failToWatch(int error)
{
  throw std::system_error(error, std::generic_category(), "system calls can't be watched here");
}

}  // namespace

WatchedRun watchProgram(const std::vector<std::string>& command, const CallFault& fault,
                        const PathTest& isOfInterest, const std::function<void()>& prepare,
                        std::chrono::seconds limit)
{
  std::vector<char*> words;
  for (const std::string& word : command) {
    words.push_back(const_cast<char*>(word.c_str()));
  }
  words.push_back(nullptr);
  // The child can't report its listener by a call: it would be stopped.
  void* const memory =
      ::mmap(nullptr, sizeof(int), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  auto& theirs = *new (memory) std::atomic<int>(0);
  const pid_t child = ::fork();
  if (child == 0) {
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    prepare();
    const int listener = stopCalls();
    theirs = listener < 0 ? -errno : listener;
    // The new program has it no more.
    while (theirs != 0)
      std::this_thread::yield();
    ::execv(words[0], words.data());
    ::_exit(127);
  }
  while (theirs == 0)
    std::this_thread::yield();
  Watch watch(fault, isOfInterest, child);
  const int listener = theirs > 0 ? watch.listenerAt(theirs) : -1;
  const int error = theirs < 0 ? -theirs : errno;
  theirs = 0;
  ::munmap(memory, sizeof(int));
  watch.run.hasHung = listener >= 0 && !watch.serve(listener, Clock::now() + limit);
  if (watch.run.hasHung || listener < 0) ::kill(child, SIGKILL);
  ::waitpid(child, &watch.run.status, 0);
  if (listener < 0) failToWatch(error);
  ::close(listener);
  return watch.run;
}

WatchedRun watchFunction(const std::function<void()>& function, const CallFault& fault,
                         const PathTest& isOfInterest)
{
  Watch watch(fault, isOfInterest, ::getpid());
  std::atomic<int> listener = 0;
  std::jthread thread([&] {
    const int own = stopCalls();
    listener = own < 0 ? -errno : own;
    listener.notify_one();
    if (own >= 0) function();
  });
  listener.wait(0);
  if (listener < 0) failToWatch(-listener);
  watch.serve(listener, std::nullopt);
  thread.join();
  ::close(listener);
  return watch.run;
}

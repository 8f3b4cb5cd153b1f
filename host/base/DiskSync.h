// Forces files that grow to the disk again and again, on a thread of its own: whoever writes them never waits
// for it, and shares no lock with it while the disk works. The system's own writes may be slower meanwhile.
//
// Threads: one; the actions and the disk are used on the thread of its own. Errors: the first error of the
// disk stays, since a later success does not prove that the disk has what failed before. std::system_error if
// there can be no thread.
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <filesystem>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <system_error>
#include <thread>
#include <vector>

#include "host/base/Disk.h"
#include "host/base/Failure.h"

inline constexpr std::chrono::seconds defaultSyncInterval{1};

struct SyncRules {
  std::chrono::nanoseconds interval{0};  // 0: only what is complete is forced to the disk
  Disk* disk = &Disk::ofSystem();
};

class DiskSync {
 public:
  using Time = std::chrono::nanoseconds;  // of host::uptime()

  // The files must be there. The folders get their names and are forced to the disk once.
  DiskSync(const std::vector<std::filesystem::path>& files, const std::vector<std::filesystem::path>& folders,
           const SyncRules& rules);
  // Waits for the disk, if it is at work.
  ~DiskSync();
  DiskSync(const DiskSync&) = delete;
  DiskSync& operator=(const DiskSync&) = delete;

  // With the first call, then each time the interval has passed, has the disk store the files. With an action
  // at once, after calling that on the thread; one that has not begun is replaced. Never waits.
  void keepUp(Time now, std::function<void()> action = {});

  // The first error; empty if there was none. Never waits.
  std::optional<Failure> failure() const;
  // Ends the thread, waiting for the disk if it is at work, and closes the files. Nothing follows.
  void end();

 private:
  struct File {
    std::filesystem::path path;
    std::unique_ptr<Disk::Handle> handle;
  };

  void run();
  void sync(std::vector<File>& files);

  const std::chrono::nanoseconds interval_;
  std::optional<Time> next_;
  // Used by the thread until it has ended.
  std::vector<File> files_;
  std::vector<File> newFolders_;
  std::atomic<bool> isOver_{false};
  std::atomic<bool> hasFailed_{false};

  mutable std::mutex mutex_;  // of what follows; never held while the disk works
  std::condition_variable wake_;
  bool isRequested_ = false;
  std::function<void()> action_;
  std::error_code error_;
  std::filesystem::path failed_;
  std::thread thread_;
};
